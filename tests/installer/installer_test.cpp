// The installer layer on real folders: version rules, manifest.json, outcomes, Photoshop bundles.
#include <gtest/gtest.h>

#include "core/version_compare.h"
#include "installer/photoshop_discovery.h"
#include "installer/plugin_package.h"
#include "installer/version_compare.h"
#include "tests/platform/plist_fixture.h"
#include "tests/support/test_support.h"

namespace velko::installer {
namespace {
namespace fs = std::filesystem;

// The installer stops at the first foreign character; core reads each dotted part's digits.
TEST(CompareVersions, BothRulesOnOnePairTable) {
  const struct {
    std::string a, b;
    int installer, core;
  } cases[] = {
      {"1.2", "1.2.0.0", 0, 0},
      {"", "0.0.1", -1, -1},
      {"1.10", "1.9", 1, 1},
      {"007.0010", "7.10", 0, 0},
      {"1..2.", "1.0.2", 0, 0},
      {"25.0.0 beta", "25", 0, 0},
      {"1.2.3-beta.4", "1.2.3.4", -1, 0},
      {"-1.2", "0.2", -1, 0},
      {"99999999999999999999.1", "9223372036854775807.1", 0, 0},
      {"99999999999999999999", "9223372036854775806", 1, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("\"" + c.a + "\" vs \"" + c.b + "\"");
    EXPECT_EQ(compareVersions(c.a, c.b), c.installer);
    EXPECT_EQ(compareVersions(c.b, c.a), -c.installer);
    EXPECT_EQ(core::compareVersions(c.a, c.b), c.core);
    EXPECT_EQ(core::compareVersions(c.b, c.a), -c.core);
  }
}

std::string withHost(const std::string& host) {
  return R"({"id": "a", "name": "A", "version": "1", "host": )" + host + "}";
}

// name|minHost: only the first host counts, only a string minVersion in it. Strict JSON at most
// 256 levels deep, the manifest the first of them; brackets inside strings do not count.
TEST(ReadPluginPackage, ManifestRules) {
  const std::pair<std::string, std::optional<std::string>> cases[] = {
      {withHost(R"({"app": "PS", "minVersion": "25.1"})"), "A|25.1"},
      {withHost(R"([{"minVersion": "23"}, {"minVersion": "2"}])"), "A|23"},
      {withHost(R"([{"app": "PS"}, {"minVersion": "26"}])"), "A|24.2.0"},
      {withHost(R"({"minVersion": 25})"), "A|24.2.0"},
      {withHost(std::string(254, '[') + "{}" + std::string(254, ']')), "A|24.2.0"},
      {withHost(std::string(255, '[') + "{}" + std::string(255, ']')), std::nullopt},
      {R"({"id": "a", "name": "\")" + std::string(300, '[') + R"(", "version": "1"})",
       "\"" + std::string(300, '[') + "|24.2.0"},
      {R"({"id": "", "name": "A", "version": "1"})", std::nullopt},
      {R"({"id": "a", "name": "A", "version": 1})", std::nullopt},
      {"// x\n" + withHost("{}"), std::nullopt},
      {withHost("1e999"), std::nullopt},
  };
  for (const auto& [manifest, expected] : cases) {
    test::TempDir dir;
    test::writeFile(dir / "manifest.json", manifest);
    const std::optional<PluginPackage> p = readPluginPackage(dir.path());
    EXPECT_EQ(p ? std::optional(p->name + "|" + p->minHost) : std::nullopt, expected)
        << manifest.substr(0, 80);
  }
}

// Bundles in the order the search must give them from the roots sys and user: highest version
// first, ties in the order of the roots; those without a verdict are not found. A version that
// cannot be read is never compatible, whatever the minimum.
TEST(FindPhotoshopInstalls, NamesNestingVersionsAndOrder) {
  const struct {
    const char *bundle, *version, *verdict;  // version "": no Info.plist
  } bundles[] = {
      {"sys/Adobe Photoshop 2025.app", "26.1", "ok"},
      {"user/Adobe Photoshop 2025.app", "26.1", "ok"},
      {"sys/Adobe Photoshop 2024/Adobe Photoshop 2024.app", "25.0", "ok"},
      {"user/Adobe Photoshop E.app", "24.2", "ok"},  // exactly the minimum
      {"sys/Adobe Photoshop 2020.app", "20.0", "old"},
      {"sys/Adobe Photoshop Bare.app", "", "old"},
      {"sys/Adobe Photoshop 2020.app/Adobe Photoshop Inner.app", "30", ""},
      {"sys/Adobe Photoshop 2024/Photoshop.app", "30", ""},
      {"sys/Adobe Illustrator 2024/Adobe Photoshop Hidden.app", "30", ""},
  };
  test::TempDir dir;
  std::vector<std::string> expected, found;
  for (const auto& [bundle, version, verdict] : bundles) {
    fs::create_directories(dir / bundle / "Contents");
    const std::string plist = "<dict><key>CFBundleShortVersionString</key><string>" +
                              std::string(version) + "</string></dict>";
    if (*version) test::writeFile(dir / bundle / "Contents/Info.plist", test::xmlPlist(plist));
    if (*verdict) expected.push_back(std::string(bundle) + " " + version + " " + verdict);
  }
  for (const PhotoshopInstall& i :
       findPhotoshopInstalls({dir / "sys", dir / "absent", dir / "user"}, "24.2.0")) {
    found.push_back(i.path.lexically_relative(dir.path()).string() + " " + i.version + " " +
                    (i.compatible ? "ok" : "old"));
  }
  EXPECT_EQ(found, expected);
  EXPECT_FALSE(findPhotoshopInstalls({dir / "sys"}, "").back().compatible);
}

}  // namespace
}  // namespace velko::installer
