// Finding Photoshop bundles in fake application folders: names, Info.plist versions, order.
#include <gtest/gtest.h>

#include "installer/photoshop_discovery.h"
#include "tests/platform/plist_fixture.h"
#include "tests/support/test_support.h"

namespace velko::installer {
namespace {
namespace fs = std::filesystem;

TEST(FindPhotoshopInstalls, NamesNestingVersionsAndOrder) {
  enum Plist { None, Xml, Binary };
  const struct {
    const char* bundle;
    Plist plist;
    const char* version;
  } bundles[] = {
      {"sys/Adobe Photoshop 2025.app", Binary, "26.1"},
      {"user/Adobe Photoshop 2025.app", Xml, "26.1"},
      {"sys/Adobe Photoshop 2024/Adobe Photoshop 2024.app", Binary, "25.0"},
      {"user/Adobe Photoshop E.app", Xml, "24.2"},
      {"sys/Adobe Photoshop 2020.app", Xml, "20.0"},
      {"sys/Adobe Photoshop Bare.app", None, ""},
      // Not found: wrong name or case, too deep, inside a bundle or a foreign folder.
      {"sys/Adobe Photoshop 2020.app/Adobe Photoshop Inner.app", Xml, "30"},
      {"sys/Adobe Photoshop 2024/Photoshop.app", Xml, "30"},
      {"sys/adobe photoshop 2022.app", Xml, "30"},
      {"sys/Adobe Photoshop Suite/Tools/Adobe Photoshop Deep.app", Xml, "30"},
      {"sys/Adobe Illustrator 2024/Adobe Photoshop Hidden.app", Xml, "30"},
  };
  test::TempDir dir;
  for (const auto& b : bundles) {
    const std::string xml = test::xmlPlist("<dict><key>CFBundleShortVersionString</key><string>" +
                                           std::string(b.version) + "</string></dict>");
    fs::create_directories(dir / b.bundle / "Contents");
    if (b.plist != None)
      test::writeFile(dir / b.bundle / "Contents" / "Info.plist",
                      b.plist == Xml ? xml : test::binaryPlist(xml));
  }
  // Only the name is judged: a file named like a bundle counts.
  test::writeFile(dir / "user" / "Adobe Photoshop Bare.app", "");
  const auto describe = [&](const std::vector<PhotoshopInstall>& installs) {
    std::vector<std::string> lines;
    for (const PhotoshopInstall& i : installs) {
      lines.push_back(i.path.lexically_relative(dir.path()).string() + " " + i.version +
                      (i.compatible ? " ok" : " old"));
    }
    return lines;
  };

  for (const auto& [a, b] : {std::pair<std::string, std::string>{"sys", "user"}, {"user", "sys"}}) {
    EXPECT_EQ(describe(findPhotoshopInstalls({dir / a, dir / "absent", dir / b}, "24.2.0")),
              (std::vector<std::string>{
                  a + "/Adobe Photoshop 2025.app 26.1 ok",
                  b + "/Adobe Photoshop 2025.app 26.1 ok",
                  "sys/Adobe Photoshop 2024/Adobe Photoshop 2024.app 25.0 ok",
                  "user/Adobe Photoshop E.app 24.2 ok",
                  "sys/Adobe Photoshop 2020.app 20.0 old",
                  a + "/Adobe Photoshop Bare.app  old",
                  b + "/Adobe Photoshop Bare.app  old",
              }));
  }
  // A version that cannot be read is never compatible, whatever the minimum.
  EXPECT_EQ(describe(findPhotoshopInstalls({dir / "sys"}, "")).back(),
            "sys/Adobe Photoshop Bare.app  old");
}

TEST(DefaultPhotoshopSearchRoots, UserFolderOnlyWithAHome) {
  using Roots = std::vector<fs::path>;
  const test::ScopedEnv unset({{"HOME", std::nullopt}});
  EXPECT_EQ(defaultPhotoshopSearchRoots(), Roots{"/Applications"});
  const test::ScopedEnv empty({{"HOME", std::string()}});
  EXPECT_EQ(defaultPhotoshopSearchRoots(), Roots{"/Applications"});
  const test::ScopedEnv set({{"HOME", std::string("/Users/a")}});
  EXPECT_EQ(defaultPhotoshopSearchRoots(), (Roots{"/Applications", "/Users/a/Applications"}));
}

}  // namespace
}  // namespace velko::installer
