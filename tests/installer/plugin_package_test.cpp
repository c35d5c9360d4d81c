// Reading manifest.json into a package and finding the package beside or inside the application.
#include <gtest/gtest.h>

#include "installer/plugin_package.h"
#include "tests/support/test_support.h"

namespace velko::installer {
namespace {
namespace fs = std::filesystem;

std::string manifestWith(const std::string& host) {
  return R"({"id": "com.velko.plugin", "name": "Velko", "version": "1.4.0", "host": )" + host + "}";
}

TEST(ReadPluginPackage, ManifestRules) {
  const struct {
    const char* label;
    std::string manifest;
    bool valid;
    std::string minHost;  // when valid
  } cases[] = {
      {"empty name is fine", R"({"id": "a", "name": "", "version": "1"})", true, "24.2.0"},
      {"extra keys ignored", R"({"id": "a", "name": "A", "version": "1", "main": "x", "n": [1]})",
       true, "24.2.0"},
      {"host object", manifestWith(R"({"app": "PS", "minVersion": "25.1"})"), true, "25.1"},
      {"host array: first counts",
       manifestWith(R"([{"app": "PS", "minVersion": "23.0"}, {"app": "PS", "minVersion": "26"}])"),
       true, "23.0"},
      {"host array: first without minVersion",
       manifestWith(R"([{"app": "PS"}, {"minVersion": "26"}])"), true, "24.2.0"},
      {"host array empty", manifestWith("[]"), true, "24.2.0"},
      {"host string", manifestWith(R"("PS")"), true, "24.2.0"},
      {"host array of numbers", manifestWith(R"([25, {"minVersion": "26"}])"), true, "24.2.0"},
      {"minVersion number", manifestWith(R"({"minVersion": 25})"), true, "24.2.0"},
      {"minVersion empty string", manifestWith(R"({"minVersion": ""})"), true, ""},
      {"empty id", R"({"id": "", "name": "A", "version": "1"})", false, ""},
      {"empty version", R"({"id": "a", "name": "A", "version": ""})", false, ""},
      {"name missing", R"({"id": "a", "version": "1"})", false, ""},
      {"version a number", R"({"id": "a", "name": "A", "version": 1})", false, ""},
      {"root an array", R"([{"id": "a", "name": "A", "version": "1"}])", false, ""},
      {"leading comment", "// Velko\n{\"id\": \"a\", \"name\": \"A\", \"version\": \"1\"}", false,
       ""},
      {"empty file", "", false, ""},
  };
  test::TempDir dir;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    test::writeFile(dir / "manifest.json", c.manifest);
    const std::optional<PluginPackage> package = readPluginPackage(dir.path());
    ASSERT_EQ(package.has_value(), c.valid);
    if (c.valid) {
      EXPECT_EQ(package->minHost, c.minHost);
    }
  }
}

TEST(ReadPluginPackage, FillsEveryFieldAndKeepsTheFolderAsGiven) {
  test::TempDir dir;
  test::writeFile(dir / "pkg" / "manifest.json",
                  R"({"version": "2.0.1", "name": "Velko \u00dcbersicht", "id": "com.velko.x",)"
                  R"( "host": {"minVersion": "25.0"}})");
  // A relative path with a dot component must come back exactly so, not made canonical.
  const fs::path given = dir.path() / "pkg" / "." / "";
  const std::optional<PluginPackage> package = readPluginPackage(given);
  ASSERT_TRUE(package.has_value());
  EXPECT_EQ(package->dir, given);
  EXPECT_EQ(package->id, "com.velko.x");
  EXPECT_EQ(package->name,
            "Velko \xC3\x9C"
            "bersicht");
  EXPECT_EQ(package->version, "2.0.1");
  EXPECT_EQ(package->minHost, "25.0");
}

TEST(ReadPluginPackage, MissingFolderOrManifestGivesNothing) {
  test::TempDir dir;
  EXPECT_FALSE(readPluginPackage(dir / "absent").has_value());
  EXPECT_FALSE(readPluginPackage(dir.path()).has_value());
  // A folder where the manifest should be is no manifest either.
  fs::create_directories(dir / "manifest.json");
  EXPECT_FALSE(readPluginPackage(dir.path()).has_value());
}

TEST(ReadTextFile, GivesBytesUnchangedAndTellsEmptyFromMissing) {
  test::TempDir dir;
  const std::string bytes("a\r\nb\0c\xff\n", 8);
  test::writeFile(dir / "bytes", bytes);
  test::writeFile(dir / "empty", "");
  EXPECT_EQ(readTextFile(dir / "bytes"), bytes);
  EXPECT_EQ(readTextFile(dir / "empty"), std::string());
  EXPECT_EQ(readTextFile(dir / "missing"), std::nullopt);
  // A folder opens but yields no bytes; it must not throw out of the read.
  fs::create_directories(dir / "folder");
  EXPECT_EQ(readTextFile(dir / "folder"), std::string());
}

TEST(FindPluginPackage, CandidateOrder) {
  enum Layout { None, Good, Broken };
  const struct {
    const char* label;
    Layout inside, hidden, plain;
    const char* winner;  // folder whose package is found, relative to the temp folder
  } cases[] = {
      {"inside only", Good, None, None, "Velko.app/Contents/Resources/Plugin"},
      {"inside before hidden", Good, Good, Good, "Velko.app/Contents/Resources/Plugin"},
      {"broken inside, hidden wins", Broken, Good, Good, ".Plugin"},
      {"hidden before plain", None, Good, Good, ".Plugin"},
      {"broken hidden, plain wins", None, Broken, Good, "Plugin"},
      {"plain only", None, None, Good, "Plugin"},
      {"all broken", Broken, Broken, Broken, nullptr},
      {"nothing", None, None, None, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    test::TempDir dir;
    const fs::path bundle = dir / "Velko.app";
    fs::create_directories(bundle / "Contents" / "MacOS");
    const std::pair<Layout, fs::path> candidates[] = {
        {c.inside, bundle / "Contents" / "Resources" / "Plugin"},
        {c.hidden, dir / ".Plugin"},
        {c.plain, dir / "Plugin"},
    };
    for (const auto& [layout, folder] : candidates) {
      // Each candidate's version is its own folder name, so the winner can be told apart.
      if (layout == Good)
        test::writeSamplePlugin(folder, "com.velko.plugin", folder.filename().string());
      if (layout == Broken)
        test::writeFile(folder / "manifest.json", "{\"id\": \"com.velko.plugin\"");
    }
    const std::optional<PluginPackage> package = findPluginPackage(bundle);
    if (c.winner == nullptr) {
      EXPECT_FALSE(package.has_value());
      continue;
    }
    ASSERT_TRUE(package.has_value());
    EXPECT_EQ(package->dir, dir / c.winner);
    EXPECT_EQ(package->version, fs::path(c.winner).filename().string());
  }
}

}  // namespace
}  // namespace velko::installer
