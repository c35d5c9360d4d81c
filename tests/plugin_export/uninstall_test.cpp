// Uninstalling by id from a real UXP folder tree: entries, marked folders, and what stays.
#include <gtest/gtest.h>

#include <optional>

#include "plugin_export/plugin_uninstall.h"
#include "tests/plugin_export/uxp_fixture.h"

namespace velko::plugin_export::test {
namespace {

const json kOther = {{"pluginId", "com.other"}, {"path", kPrefix + "com.other_1"}, {"x", {1, "ü"}}};

struct Scenario {
  std::string name;
  std::optional<json> before;                                // plugins of PS.json; none: no file
  std::vector<std::pair<std::string, std::string>> folders;  // name below External, marker id
  std::optional<json> after;  // none: PS.json exactly as before (or still absent)
  bool removed;
  std::vector<std::string> warnings, gone, kept;  // kept: folders with kId's marker
};

TEST_F(UxpTest, UninstallScenarios) {
  const json unexpected = {{"pluginId", kId}, {"path", "/else"}};
  const json climbing = {{"pluginId", kId}, {"path", kPrefix + "../../x"}};
  // clang-format off
  const Scenario scenarios[] = {
      {"nothing at all", std::nullopt, {}, std::nullopt, false, {}, {}, {}},
      {"registry without the id", json{kOther}, {}, std::nullopt, false, {}, {}, {}},
      {"unregistered marked folders", json{kOther}, {{kId + "_1.0", kId}, {kId + "_1.1.velko-trash-9", kId}},
       std::nullopt, true, {}, {kId + "_1.0", kId + "_1.1.velko-trash-9"}, {}},
      {"entry but no Plugins/External", json{kOther, oldEntry("1.0")}, {}, json{kOther}, true, {}, {}, {}},
      {"entries among others, foreign and hostile folders",
       json{kOther, oldEntry("1.0"), 3, unexpected, climbing, oldEntry("0.7")},
       {{kId + "_1.0", kId}, {kId + "_0.7", "com.other"}, {kId + "_0.8", ""}, {"../../x", ""}, {kId + "x_1", kId}},
       json{kOther, 3}, true, {"Skipped registry entry with unexpected path: /else"}, {kId + "_1.0"}, {kId + "x_1"}},
      {"only our entry", json{oldEntry("1.0")}, {{kId + "_1.0", kId}}, json::array(), true, {}, {kId + "_1.0"}, {}},
  };
  // clang-format on
  for (const Scenario& s : scenarios) {
    SCOPED_TRACE(s.name);
    fs::remove_all(base);
    if (s.before) writeRegistry(*s.before);
    for (const auto& [name, marker] : s.folders)
      folder(name, marker);
    const auto registryBefore = readFile(registry);
    const auto foreign = unmarkedFolders();

    const UninstallResult r = uninstallFromPhotoshop(kId, options());

    EXPECT_TRUE(r.ok) << r.error;
    EXPECT_EQ(r.removed, s.removed);
    EXPECT_EQ(r.warnings, s.warnings);
    EXPECT_EQ(r.registryPath, registry.string());
    EXPECT_TRUE(fs::is_directory(registry.parent_path()));
    EXPECT_EQ(backups(), s.before ? 1u : 0u);
    EXPECT_EQ(r.backupPath.empty(), !s.before);
    if (s.after) {
      EXPECT_EQ(json::parse(readFile(registry).value()),
                json({{"plugins", *s.after}, {"photoshopKey", 7}}));
    } else {
      EXPECT_EQ(readFile(registry), registryBefore);
    }
    for (const auto& name : s.gone)
      EXPECT_FALSE(fs::exists(external / name)) << name;
    for (const auto& name : s.kept)
      EXPECT_TRUE(fs::exists(external / name / "manifest.json"));
    expectAllExist(foreign);
  }
}

TEST_F(UxpTest, DamagedRegistryStopsUninstallBeforeAnyFolder) {
  writeFile(registry, "{\"plugins\": [");
  folder(kId + "_1.0", kId);
  const UninstallResult r = uninstallFromPhotoshop(kId, options());
  EXPECT_FALSE(r.ok || r.removed);
  EXPECT_EQ(r.error.rfind("PS.json is not valid JSON: ", 0), 0u) << r.error;
  EXPECT_TRUE(fs::exists(external / (kId + "_1.0") / "sub" / "data.bin"));
  EXPECT_EQ(readFile(registry), "{\"plugins\": [");
}

}  // namespace
}  // namespace velko::plugin_export::test
