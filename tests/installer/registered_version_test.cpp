// Which version PS.json names for the plug-in, read without side effects.
#include <gtest/gtest.h>

#include <iterator>

#include "installer/registered_version.h"
#include "tests/support/test_support.h"

namespace velko::installer {
namespace {
namespace fs = std::filesystem;

const std::string kId = "com.velko.plugin";

fs::path registryFile(const fs::path& base) {
  return base / "PluginsInfo" / "v1" / "PS.json";
}

TEST(InstalledVersion, RegistryContents) {
  const struct {
    const char* label;
    std::optional<std::string> registry;  // nothing: no PS.json at all
    std::optional<std::string> expected;
  } cases[] = {
      {"no file", std::nullopt, std::nullopt},
      {"empty file", "", std::nullopt},
      {"not json", "plugins: velko", std::nullopt},
      {"root array", "[{\"pluginId\": \"" + kId + "\", \"versionString\": \"1\"}]", std::nullopt},
      {"no plugins key", R"({"other": []})", std::nullopt},
      {"plugins an object", R"({"plugins": {"pluginId": "com.velko.plugin"}})", std::nullopt},
      {"plugins empty", R"({"plugins": []})", std::nullopt},
      {"match", R"({"plugins": [{"pluginId": "com.velko.plugin", "versionString": "1.2.0"}]})",
       "1.2.0"},
      {"other plug-ins only", R"({"plugins": [{"pluginId": "com.other", "versionString": "3.0"}]})",
       std::nullopt},
      {"first of two wins",
       R"({"plugins": [{"pluginId": "com.velko.plugin", "versionString": "1.0"},)"
       R"( {"pluginId": "com.velko.plugin", "versionString": "2.0"}]})",
       "1.0"},
      {"odd elements passed over",
       R"({"plugins": [1, "com.velko.plugin", null, [], {"versionString": "9"},)"
       R"( {"pluginId": "com.velko.plugin", "versionString": "1.5"}]})",
       "1.5"},
      {"numeric pluginId before the match",
       R"({"plugins": [{"pluginId": 5}, {"pluginId": "com.velko.plugin", "versionString": "1"}]})",
       std::nullopt},
      {"numeric pluginId after the match",
       R"({"plugins": [{"pluginId": "com.velko.plugin", "versionString": "1"}, {"pluginId": 5}]})",
       "1"},
      {"versionString missing", R"({"plugins": [{"pluginId": "com.velko.plugin"}]})", ""},
      {"versionString a number",
       R"({"plugins": [{"pluginId": "com.velko.plugin", "versionString": 1.2}]})", std::nullopt},
      {"later entries unread",
       R"({"plugins": [{"pluginId": "com.velko.plugin", "versionString": "2"},)"
       R"( {"pluginId": "com.velko.plugin", "versionString": 7}]})",
       "2"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    test::TempDir base;
    if (c.registry) test::writeFile(registryFile(base.path()), *c.registry);
    EXPECT_EQ(installedVersion(kId, base.path()), c.expected);
  }
}

TEST(InstalledVersion, RegistryThatIsAFolderGivesNothing) {
  test::TempDir base;
  fs::create_directories(registryFile(base.path()));
  EXPECT_EQ(installedVersion(kId, base.path()), std::nullopt);
}

TEST(InstalledVersion, EmptyBaseMeansTheDefaultFolder) {
  test::TempDir home;
  test::IsolatedHome isolated(home.path());
  const std::string registry =
      R"({"plugins": [{"pluginId": "com.velko.plugin", "versionString": "4.0"}]})";
  test::writeFile(registryFile(home / "Library" / "Application Support" / "Adobe" / "UXP"),
                  registry);
  EXPECT_EQ(installedVersion(kId, ""), "4.0");

  test::ScopedEnv override({{"VELKO_UXP_BASE_DIR", (home / "uxp").string()}});
  EXPECT_EQ(installedVersion(kId, ""), std::nullopt);
  test::writeFile(registryFile(home / "uxp"),
                  R"({"plugins": [{"pluginId": "com.velko.plugin", "versionString": "5.0"}]})");
  EXPECT_EQ(installedVersion(kId, ""), "5.0");
}

TEST(InstalledVersion, LeavesTheDiskAsItWas) {
  test::TempDir base;
  EXPECT_EQ(installedVersion(kId, base / "uxp"), std::nullopt);
  EXPECT_FALSE(fs::exists(base / "uxp"));

  const std::string registry =
      R"({"plugins": [{"pluginId": "com.velko.plugin", "versionString": "1"}]})";
  test::writeFile(registryFile(base.path()), registry);
  EXPECT_EQ(installedVersion(kId, base.path()), "1");
  // No backup or temporary file appears beside the registry.
  const fs::path folder = registryFile(base.path()).parent_path();
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
  EXPECT_EQ(test::readFile(registryFile(base.path())), registry);
}

}  // namespace
}  // namespace velko::installer
