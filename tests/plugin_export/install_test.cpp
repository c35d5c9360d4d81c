// Installing a plug-in version into a real UXP folder tree: folders, registry entries, old
// versions.
#include <gtest/gtest.h>

#include <optional>
#include <regex>

#include "plugin_export/folder_copy.h"
#include "plugin_export/install_core.h"
#include "plugin_export/plugin_install.h"
#include "plugin_export/plugin_uninstall.h"
#include "tests/plugin_export/uxp_fixture.h"

namespace velko::plugin_export::test {
namespace {

const std::string kNew = kId + "_2.0";
const json kNewEntry = {{"hostMinVersion", "24.2.0"}, {"name", "Sample Plugin"},
                        {"path", kPrefix + kNew},     {"pluginId", kId},
                        {"status", "enabled"},        {"type", "uxp"},
                        {"versionString", "2.0"}};
const json kOther = oldEntry("1", "com.other");

struct Scenario {
  std::string name;
  std::optional<json> before;                                // plugins of PS.json; none: no file
  std::vector<std::pair<std::string, std::string>> folders;  // name below External, marker id
  json after;
  std::vector<std::string> removed, warnings;
  std::vector<std::string> kept;  // folders with kId's marker that must survive
};

TEST_F(UxpTest, InstallScenarios) {
  const std::string staging = kId + "_1.0.velko-staging-1", trash = kId + "_0.9.velko-trash-2";
  const auto entryWithPath = [](const std::string& path) {
    return json{{"pluginId", kId}, {"path", path}};
  };
  // clang-format off
  const Scenario scenarios[] = {
      {"fresh machine", std::nullopt, {}, {kNewEntry}, {}, {}, {}},
      {"older version at position 2 of 3", json{kOther, oldEntry("1.0"), 5},
       {{kId + "_1.0", kId}}, {kOther, kNewEntry, 5}, {kId + "_1.0"}, {}, {}},
      {"two entries with the id", json{oldEntry("1.0"), kOther, oldEntry("0.9")},
       {{kId + "_1.0", kId}, {kId + "_0.9", kId}}, {kNewEntry, kOther}, {kId + "_1.0", kId + "_0.9"}, {}, {}},
      {"hostile registry paths", json{entryWithPath("/somewhere/else"), entryWithPath(kPrefix + "../../x"),
                                      entryWithPath(kPrefix + "../../y"), json{{"pluginId", kId}}},
       {{"../../x", kId}, {"../../y", ""}}, {kNewEntry}, {"../../x"},
       {"Skipped old registry entry with unexpected path: /somewhere/else"}, {}},
      {"siblings and leftovers of killed runs", json{kOther},
       {{kId + "_0.5", kId}, {kId + "_0.6", ""}, {kId + "x_1.0", kId}, {kId + "_extra_2.0", kId + "_extra"},
        {staging, kId}, {trash, kId}, {kId + "_2.0.velko-staging-3", ""}},
       {kOther, kNewEntry}, {kId + "_0.5", trash, staging}, {}, {kId + "x_1.0"}},
  };
  // clang-format on
  const fs::path source = package("2.0");
  for (const Scenario& s : scenarios) {
    SCOPED_TRACE(s.name);
    fs::remove_all(base);
    if (s.before) writeRegistry(*s.before);
    for (const auto& [name, marker] : s.folders)
      folder(name, marker);
    const auto foreign = unmarkedFolders();

    const InstallResult r = installIntoPhotoshop(source, options());

    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(plugins(), s.after);
    EXPECT_EQ(r.removedFolders, s.removed);
    EXPECT_EQ(r.warnings, s.warnings);
    EXPECT_EQ(r.pluginFolder, (external / kNew).string());
    EXPECT_EQ(r.registryPath, registry.string());
    EXPECT_EQ(r.backupPath.empty(), !s.before);
    EXPECT_EQ(backups(), s.before ? 1u : 0u);
    for (const auto& name : s.removed)
      EXPECT_FALSE(fs::exists(external / name)) << name;
    for (const auto& name : s.kept)
      EXPECT_TRUE(fs::exists(external / name / "manifest.json"));
    expectAllExist(foreign);
    for (const char* file : {"manifest.json", "index.html", "main.js", "icons/icon.png"}) {
      EXPECT_EQ(readFile(external / kNew / file), readFile(source / file)) << file;
    }
    // Staging and trash folders of this run (named with today's milliseconds) are all gone.
    const std::regex ownLeftover(R"(.*\.velko-(staging|trash)-[0-9]{10,})");
    for (const auto& e : fs::directory_iterator(external)) {
      EXPECT_FALSE(std::regex_match(e.path().filename().string(), ownLeftover)) << e.path();
    }
  }
}

TEST_F(UxpTest, ExistingTargetFolder) {
  const std::string foreign = "Target folder already exists and has no matching manifest.json: ";
  struct Case {
    std::string marker;
    bool replace;
    std::string error;  // empty: replaced
  };
  const Case cases[] = {{kId, true, ""},
                        {kId, false, "Plugin is already installed in this version: "},
                        {"", true, foreign},
                        {"", false, foreign},
                        {"com.other", true, foreign},
                        {kId + "x", true, foreign}};
  const fs::path source = package("2.0");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.marker + (c.replace ? " replace" : " keep"));
    fs::remove_all(base);
    folder(kNew, c.marker);
    writeRegistry({kOther, oldEntry("2.0"), "x"});
    const auto registryBefore = readFile(registry);

    const InstallResult r = installIntoPhotoshop(source, options(c.replace));

    EXPECT_EQ(r.ok, c.error.empty()) << r.error;
    EXPECT_EQ(r.replacedExisting, c.error.empty());
    EXPECT_TRUE(r.removedFolders.empty());
    EXPECT_EQ(fs::exists(external / kNew / "sub"), !c.error.empty());
    if (c.error.empty()) {
      EXPECT_EQ(plugins(), json({kOther, kNewEntry, "x"}));
      EXPECT_TRUE(fs::exists(external / kNew / "main.js"));
    } else {
      EXPECT_EQ(r.error, c.error + (external / kNew).string());
      EXPECT_EQ(readFile(registry), registryBefore);
      EXPECT_EQ(backups(), 0u);
    }
  }
}

TEST_F(UxpTest, HostMinVersionDefaultsOnlyWhenBlank) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "24.2.0"}, {"   ", "24.2.0"}, {"\t\n", "24.2.0"}, {" 25.0 ", " 25.0 "}, {"26", "26"}};
  const fs::path source = package("2.0");
  for (const auto& [given, written] : cases) {
    InstallOptions o = options();
    o.hostMinVersion = given;
    ASSERT_TRUE(installIntoPhotoshop(source, o).ok);
    EXPECT_EQ(plugins().at(0).at("hostMinVersion"), written) << "'" << given << "'";
  }
}

TEST_F(UxpTest, UnusableSourceFolderChangesNothing) {
  writeFile(tmp / "plain", "x");
  writeFile(tmp / "empty" / "other.txt", "x");
  writeFile(tmp / "broken" / "manifest.json", R"({"id": "a", "name": "n", "version": ""})");
  const std::string unreadable = "manifest.json could not be read: ";
  const std::pair<fs::path, std::string> cases[] = {
      {tmp / "missing", "Folder does not exist: " + (tmp / "missing").string()},
      {tmp / "empty", unreadable + (tmp / "empty" / "manifest.json").string()},
      {tmp / "plain", unreadable + (tmp / "plain" / "manifest.json").string()},
      {tmp / "broken", unreadable + (tmp / "broken" / "manifest.json").string()},
  };
  for (const auto& [source, message] : cases) {
    EXPECT_EQ(installIntoPhotoshop(source, options()).error, message);
    EXPECT_FALSE(fs::exists(base));
  }
}

TEST_F(UxpTest, EmptyBaseDirMeansDefaultAtEachCall) {
  velko::test::ScopedEnv env({{"VELKO_UXP_BASE_DIR", base.string()}});
  const InstallOptions defaults;
  ASSERT_TRUE(installIntoPhotoshop(package("2.0"), defaults).ok);
  EXPECT_EQ(plugins(), json({kNewEntry}));
  EXPECT_TRUE(uninstallFromPhotoshop(kId, defaults).removed);
  EXPECT_EQ(plugins(), json::array());
}

TEST_F(UxpTest, SymbolicLinksInPackageStayInsideTarget) {
  const fs::path source = package("2.0");
  writeFile(tmp / "outside" / "secret.txt", "outside");
  fs::create_directory_symlink(tmp / "outside", source / "dirlink");
  fs::create_symlink(tmp / "outside" / "secret.txt", source / "filelink");

  ASSERT_TRUE(installIntoPhotoshop(source, options()).ok);
  EXPECT_EQ(readFile(external / kNew / "filelink"), "outside");
  EXPECT_FALSE(fs::is_symlink(external / kNew / "filelink"));
  EXPECT_TRUE(fs::is_directory(external / kNew / "dirlink"));
  EXPECT_TRUE(fs::is_empty(external / kNew / "dirlink"));
  EXPECT_EQ(readFile(tmp / "outside" / "secret.txt"), "outside");
  EXPECT_EQ(std::distance(fs::directory_iterator(tmp / "outside"), fs::directory_iterator()), 1);
}

// Rewriting the marker would truncate it for a moment; a kill then would leave an unmarked folder.
TEST_F(UxpTest, CopyLeavesOnlyTheTopLevelMarkerAlone) {
  const fs::path source = package("2.0");
  writeFile(source / "nested" / "manifest.json", "nested");
  writeFile(tmp / "target" / "manifest.json", "marker");
  EXPECT_EQ(copyPluginFiles(source, tmp / "target"), std::nullopt);
  EXPECT_EQ(readFile(tmp / "target" / "manifest.json"), "marker");
  EXPECT_EQ(readFile(tmp / "target" / "nested" / "manifest.json"), "nested");
  EXPECT_EQ(readFile(tmp / "target" / "icons" / "icon.png"),
            readFile(source / "icons" / "icon.png"));
}

// A copy that stops half-way (as a killed run would) leaves a folder that already carries the
// marker, so the next install replaces it instead of refusing it as foreign.
TEST_F(UxpTest, InterruptedCopyLeavesMarkedFolderThatNextInstallReplaces) {
  const fs::path source = package("2.0");
  const auto broken = [](const fs::path&) { return std::optional<std::string>("copy broke"); };
  const InstallResult failed =
      installCore({kId, "Sample Plugin", "2.0"}, source / "manifest.json", broken, options());
  EXPECT_EQ(failed.error, "copy broke");
  EXPECT_EQ(readFile(external / kNew / "manifest.json"), readFile(source / "manifest.json"));
  EXPECT_FALSE(fs::exists(registry.parent_path()));

  const InstallResult again = installIntoPhotoshop(source, options());
  EXPECT_TRUE(again.ok && again.replacedExisting) << again.error;
  EXPECT_TRUE(fs::exists(external / kNew / "icons" / "icon.png"));
}

}  // namespace
}  // namespace velko::plugin_export::test
