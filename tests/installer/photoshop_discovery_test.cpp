// Finding Photoshop bundles in fake application folders: names, Info.plist versions, order.
#include <gtest/gtest.h>

#include <algorithm>

#include "installer/photoshop_discovery.h"
#include "tests/platform/plist_fixture.h"
#include "tests/support/test_support.h"

namespace velko::installer {
namespace {
namespace fs = std::filesystem;

enum class PlistForm { Xml, Binary };

void makeBundle(const fs::path& bundle, const std::string& version,
                PlistForm form = PlistForm::Xml) {
  const std::string xml = test::xmlPlist(test::versionDict(version));
  test::writeFile(bundle / "Contents" / "Info.plist",
                  form == PlistForm::Xml ? xml : test::binaryPlist(xml));
  test::writeFile(bundle / "Contents" / "MacOS" / "Adobe Photoshop", "");
}

std::vector<std::string> relativePaths(const std::vector<PhotoshopInstall>& installs,
                                       const fs::path& root) {
  std::vector<std::string> paths;
  for (const PhotoshopInstall& install : installs) {
    paths.push_back(install.path.lexically_relative(root).string());
  }
  return paths;
}

const PhotoshopInstall* byName(const std::vector<PhotoshopInstall>& installs,
                               const std::string& name) {
  for (const PhotoshopInstall& install : installs) {
    if (install.name == name) return &install;
  }
  return nullptr;
}

TEST(DefaultPhotoshopSearchRoots, UserApplicationsOnlyWithHome) {
  const struct {
    std::optional<std::string> home;
    std::vector<fs::path> roots;
  } cases[] = {
      {"/Users/someone", {"/Applications", "/Users/someone/Applications"}},
      {"/Users/someone/", {"/Applications", "/Users/someone/Applications"}},
      {"", {"/Applications"}},
      {std::nullopt, {"/Applications"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.home.value_or("(unset)"));
    test::ScopedEnv env(std::map<std::string, std::optional<std::string>>{{"HOME", c.home}});
    EXPECT_EQ(defaultPhotoshopSearchRoots(), c.roots);
  }
}

TEST(FindPhotoshopInstalls, MissingRootsGiveNothing) {
  test::TempDir dir;
  EXPECT_TRUE(findPhotoshopInstalls({dir / "absent", dir / "also absent"}, "24.2.0").empty());
  EXPECT_TRUE(findPhotoshopInstalls({}, "24.2.0").empty());
  // A root that is a file is unreadable as a folder, not an error.
  test::writeFile(dir / "Adobe Photoshop file", "");
  EXPECT_TRUE(findPhotoshopInstalls({dir / "Adobe Photoshop file"}, "").empty());
}

TEST(FindPhotoshopInstalls, NameRulesAndDepth) {
  test::TempDir dir;
  const fs::path root = dir / "Applications";
  const char* bundles[] = {
      "Adobe Photoshop 2023.app",
      "Adobe Photoshop 2024/Adobe Photoshop 2024.app",
      "Adobe Photoshop 2024/Photoshop.app",
      "Adobe Photoshop 2024/Adobe Photoshop Uninstaller",
      "adobe photoshop 2022.app",
      "Adobe Photoshop Elements 2024.app",
      "Adobe Photoshop 2021.APP/Adobe Photoshop 2021.app",
      "Adobe Photoshop 2020.app/Adobe Photoshop 2020 Inner.app",
      "Adobe Photoshop Beta/Tools/Adobe Photoshop Deep.app",
      "Photoshop 2025.app",
      "Adobe Illustrator 2024/Adobe Photoshop Hidden.app",
      "Elsewhere/Adobe Photoshop Linked.app",
  };
  for (const char* bundle : bundles)
    fs::create_directories(root / bundle);
  // A plain file named like a bundle counts: only the name is judged.
  test::writeFile(root / "Adobe Photoshop File.app", "");
  test::writeFile(root / "Adobe Photoshop 2019", "not a folder");
  fs::create_directory_symlink(root / "Elsewhere", root / "Adobe Photoshop Link");

  std::vector<std::string> found = relativePaths(findPhotoshopInstalls({root}, "24.2.0"), root);
  std::sort(found.begin(), found.end());
  EXPECT_EQ(found, (std::vector<std::string>{
                       "Adobe Photoshop 2020.app",
                       "Adobe Photoshop 2021.APP/Adobe Photoshop 2021.app",
                       "Adobe Photoshop 2023.app",
                       "Adobe Photoshop 2024/Adobe Photoshop 2024.app",
                       "Adobe Photoshop Elements 2024.app",
                       "Adobe Photoshop File.app",
                       "Adobe Photoshop Link/Adobe Photoshop Linked.app",
                   }));
}

TEST(FindPhotoshopInstalls, VersionFromInfoPlist) {
  test::TempDir dir;
  const fs::path root = dir.path();
  makeBundle(root / "Adobe Photoshop Xml.app", "25.1.0", PlistForm::Xml);
  makeBundle(root / "Adobe Photoshop Nested/Adobe Photoshop Binary.app", "26.0", PlistForm::Binary);
  makeBundle(root / "Adobe Photoshop Suffix.app", "25.0.0 beta");
  makeBundle(root / "Adobe Photoshop Long.app", std::string(128, '9'));
  fs::create_directories(root / "Adobe Photoshop NoPlist.app" / "Contents");
  fs::create_directories(root / "Adobe Photoshop PlistFolder.app/Contents/Info.plist");
  test::writeFile(root / "Adobe Photoshop Number.app/Contents/Info.plist",
                  test::xmlPlist("<dict><key>CFBundleShortVersionString</key>"
                                 "<real>25.1</real></dict>"));

  const std::vector<PhotoshopInstall> installs = findPhotoshopInstalls({root}, "24.2.0");
  const struct {
    const char* name;
    std::string version;
    bool compatible;
  } cases[] = {
      {"Adobe Photoshop Xml", "25.1.0", true},         {"Adobe Photoshop Binary", "26.0", true},
      {"Adobe Photoshop Suffix", "25.0.0 beta", true}, {"Adobe Photoshop Long", "", false},
      {"Adobe Photoshop NoPlist", "", false},          {"Adobe Photoshop PlistFolder", "", false},
      {"Adobe Photoshop Number", "", false},
  };
  EXPECT_EQ(installs.size(), std::size(cases));
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const PhotoshopInstall* install = byName(installs, c.name);
    ASSERT_NE(install, nullptr);
    EXPECT_EQ(install->version, c.version);
    EXPECT_EQ(install->compatible, c.compatible);
  }
  const PhotoshopInstall* nested = byName(installs, "Adobe Photoshop Binary");
  ASSERT_NE(nested, nullptr);
  EXPECT_EQ(nested->path, root / "Adobe Photoshop Nested" / "Adobe Photoshop Binary.app");
}

TEST(FindPhotoshopInstalls, HighestVersionFirstAndCompatibility) {
  test::TempDir dir;
  makeBundle(dir / "Adobe Photoshop A.app", "24.7.1");
  makeBundle(dir / "Adobe Photoshop B.app", "24.1.9");
  fs::create_directories(dir / "Adobe Photoshop C.app");
  makeBundle(dir / "Adobe Photoshop D.app", "25.0.0", PlistForm::Binary);
  makeBundle(dir / "Adobe Photoshop E.app", "24.2");

  const std::vector<PhotoshopInstall> installs = findPhotoshopInstalls({dir.path()}, "24.2.0");
  std::vector<std::string> order;
  std::vector<bool> compatible;
  for (const PhotoshopInstall& install : installs) {
    order.push_back(install.name + " " + install.version);
    compatible.push_back(install.compatible);
  }
  EXPECT_EQ(order, (std::vector<std::string>{"Adobe Photoshop D 25.0.0", "Adobe Photoshop A 24.7.1",
                                             "Adobe Photoshop E 24.2", "Adobe Photoshop B 24.1.9",
                                             "Adobe Photoshop C "}));
  EXPECT_EQ(compatible, (std::vector<bool>{true, true, true, false, false}));
}

TEST(FindPhotoshopInstalls, EqualVersionsKeepRootOrderAndDoublesStay) {
  test::TempDir dir;
  const fs::path system = dir / "Applications";
  const fs::path user = dir / "home" / "Applications";
  makeBundle(system / "Adobe Photoshop 2025.app", "26.1");
  makeBundle(user / "Adobe Photoshop 2025.app", "26.1");
  makeBundle(user / "Adobe Photoshop 2026.app", "27.0");

  for (const auto& roots : {std::vector<fs::path>{system, user}, {user, system}}) {
    const std::vector<PhotoshopInstall> installs = findPhotoshopInstalls(roots, "24.2.0");
    ASSERT_EQ(installs.size(), 3u);
    EXPECT_EQ(installs[0].path, user / "Adobe Photoshop 2026.app");
    EXPECT_EQ(installs[1].path, roots[0] / "Adobe Photoshop 2025.app");
    EXPECT_EQ(installs[2].path, roots[1] / "Adobe Photoshop 2025.app");
  }
  // The same root twice lists every bundle twice.
  EXPECT_EQ(findPhotoshopInstalls({user, user}, "").size(), 4u);
}

TEST(FindPhotoshopInstalls, CompatibilityNeedsAKnownVersion) {
  test::TempDir dir;
  makeBundle(dir / "Adobe Photoshop Old.app", "1");
  makeBundle(dir / "Adobe Photoshop Empty.app", "");
  fs::create_directories(dir / "Adobe Photoshop Bare.app");
  const struct {
    std::string minimum;
    bool oldCompatible;
  } cases[] = {{"", true}, {"0", true}, {"1.0.0", true}, {"1.0.1", false}, {"v9", true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.minimum);
    const std::vector<PhotoshopInstall> installs = findPhotoshopInstalls({dir.path()}, c.minimum);
    ASSERT_EQ(installs.size(), 3u);
    EXPECT_EQ(byName(installs, "Adobe Photoshop Old")->compatible, c.oldCompatible);
    EXPECT_FALSE(byName(installs, "Adobe Photoshop Empty")->compatible);
    EXPECT_FALSE(byName(installs, "Adobe Photoshop Bare")->compatible);
  }
}

}  // namespace
}  // namespace velko::installer
