// Install and uninstall on real UXP folder trees: PS.json surgery, which folders go and which stay,
// what stops either before PS.json is written, and what a killed run leaves for the next one.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>

#include "plugin_export/folder_copy.h"
#include "plugin_export/install_core.h"
#include "plugin_export/plugin_folders.h"
#include "tests/plugin_export/uxp_fixture.h"

namespace velko::plugin_export::test {
namespace {

const json kNewEntry = json::parse(R"({"hostMinVersion": "24.2.0", "name": "Sample Plugin",
    "path": "$localPlugins/External/com.velko.demo_2.0", "pluginId": "com.velko.demo",
    "status": "enabled", "type": "uxp", "versionString": "2.0"})");
const json kOther = {{"pluginId", "com.other"}, {"path", kPrefix + "com.other_1"}, {"x", {1, "ü"}}};

std::string v(const std::string& suffix) {
  return kId + "_" + suffix;
}
json at(const std::string& path) {
  return json{{"pluginId", kId}, {"path", path}};
}

// The registry's text form, pinned byte for byte: keys sorted, indent 2, UTF-8 unescaped,
// Photoshop's own keys and other plug-ins kept, our entry replaced where it stood, one final line
// feed.
TEST_F(UxpTest, UpdateReplacesOwnEntryInPlaceAndWritesExactBytes) {
  prepare(json{kOther, oldEntry("1.0"), 42}, {{kId + "_1.0", kId}});
  const InstallResult r = installIntoPhotoshop(package("2.0"), options());
  EXPECT_TRUE(r.ok && r.warnings.empty()) << r.error;
  EXPECT_EQ(r.removedFolders, std::vector<std::string>{kId + "_1.0"});
  EXPECT_EQ(readFile(registry), R"({
  "aTop": "€",
  "plugins": [
    {
      "path": "$localPlugins/External/com.other_1",
      "pluginId": "com.other",
      "x": [
        1,
        "ü"
      ]
    },
    {
      "hostMinVersion": "24.2.0",
      "name": "Sample Plugin",
      "path": "$localPlugins/External/com.velko.demo_2.0",
      "pluginId": "com.velko.demo",
      "status": "enabled",
      "type": "uxp",
      "versionString": "2.0"
    },
    42
  ],
  "zTop": {
    "nested": [
      3,
      "ü"
    ]
  }
}
)");
  expectOnlyRegistryAndBackups(1);
  EXPECT_EQ(readFile(r.backupPath), registryText(json{kOther, oldEntry("1.0"), 42}));
}

TEST_F(UxpTest, FreshInstallCreatesRegistryWithOneEntryAndNoBackup) {
  const InstallResult r = installIntoPhotoshop(package("2.0"), options());
  EXPECT_TRUE(r.ok && r.removedFolders.empty() && r.backupPath.empty()) << r.error;
  EXPECT_EQ(json::parse(readFile(registry).value()), json({{"plugins", {kNewEntry}}}));
  expectOnlyRegistryAndBackups(0);
}

// Entries that are no entry of ours (unknown keys, non-objects, an id that is no string, an id
// that merely begins with ours) keep their values and places.
TEST_F(UxpTest, ElementsThatAreNotOursSurviveInPlace) {
  json others = json::parse(R"([{"pluginId": "com.zeta", "zUnknown": {"b": 1, "a": [true, null]},
      "name": "Zëta"}, 42, "text", null, [1, 2], {"noId": true}, {"pluginId": 7}])");
  others.push_back(oldEntry("1.0"));
  others.push_back(oldEntry("1", kId + "x"));
  prepare(others, {{kId + "_1.0", kId}});
  ASSERT_TRUE(installIntoPhotoshop(package("2.0"), options()).ok);
  others.at(7) = kNewEntry;
  EXPECT_EQ(json::parse(readFile(registry).value()), json::parse(registryText(others)));
}

// Whatever the registry names, only folders that carry kId's marker may go; leftovers of killed
// runs that still carry it go too.
TEST_F(UxpTest, HostileRegistryPathsDeleteOnlyMarkedFolders) {
  const std::string staging = v("1.0.velko-staging-1"), trash = v("0.9.velko-trash-2");
  prepare(json{kOther,
               at("/else"),
               at(kPrefix + "../../x"),
               at(kPrefix + "../../y"),
               {{"pluginId", kId}}},
          {{"../../x", kId},
           {"../../y", ""},
           {v("0.5"), kId},
           {staging, kId},
           {trash, kId},
           {v("0.6"), ""},
           {v("x_2"), kId + "_x"},
           {kId + "x_1", kId}});
  const InstallResult r = installIntoPhotoshop(package("2.0"), options());
  EXPECT_TRUE(r.ok) << r.error;
  EXPECT_EQ(r.warnings,
            std::vector<std::string>{"Skipped old registry entry with unexpected path: /else"});
  EXPECT_EQ(r.removedFolders, (std::vector<std::string>{"../../x", v("0.5"), trash, staging}));
  EXPECT_EQ(json::parse(readFile(registry).value())["plugins"], json({kOther, kNewEntry}));
  for (const std::string& kept : {std::string("../../y"), v("0.6"), v("x_2"), kId + "x_1", kNew}) {
    EXPECT_TRUE(fs::exists(external / kept)) << kept;
  }
  expectNoOwnLeftovers();
}

TEST_F(UxpTest, UninstallDropsEveryEntryOfTheIdAndOnlyMarkedFolders) {
  const std::string trash = v("0.9.velko-trash-2");
  prepare(json{kOther, oldEntry("1.0"), 3, at("/else"), at(kPrefix + "../../x"), oldEntry("0.7")},
          {{v("1.0"), kId},
           {v("0.7"), "com.other"},
           {v("0.8"), ""},
           {"../../x", ""},
           {kId + "x_1", kId},
           {trash, kId}});
  const UninstallResult r = uninstallFromPhotoshop(kId, options());
  EXPECT_TRUE(r.ok && r.removed) << r.error;
  EXPECT_EQ(r.warnings,
            std::vector<std::string>{"Skipped registry entry with unexpected path: /else"});
  EXPECT_EQ(json::parse(readFile(registry).value())["plugins"], json({kOther, 3}));
  EXPECT_FALSE(fs::exists(external / v("1.0")));
  EXPECT_FALSE(fs::exists(external / trash));
  for (const std::string& kept : {v("0.7"), v("0.8"), std::string("../../x"), kId + "x_1"}) {
    EXPECT_TRUE(fs::exists(external / kept)) << kept;
  }
  expectOnlyRegistryAndBackups(1);
  expectNoOwnLeftovers();
}

// An old entry that names the new version's folder in another spelling is that folder: it must
// not be deleted right after it was written.
TEST_F(UxpTest, OtherSpellingsOfTheNewFolderKeepIt) {
  const std::string spellings[] = {kPrefix + kNew + "/", kPrefix + "./" + kNew,
                                   "$localPlugins/External//" + kNew,
                                   kPrefix + "../External/" + kNew, kPrefix + kNew + "/."};
  for (const auto& spelling : spellings) {
    SCOPED_TRACE(spelling);
    prepare(json{kOther, at(spelling)}, {});
    const InstallResult r = installIntoPhotoshop(package("2.0"), options());
    EXPECT_TRUE(r.ok && r.removedFolders.empty()) << r.error;
    EXPECT_EQ(readFile(external / kNew / "main.js"), readFile(tmp / "src" / "2.0" / "main.js"));
    EXPECT_EQ(json::parse(readFile(registry).value())["plugins"], json({kOther, kNewEntry}));
  }
}

// Installing from the installed folder, or from a package inside it, would delete the source
// before copying it: refused before anything is deleted, with the installed-version message.
TEST_F(UxpTest, InstallFromTheInstalledFolderIsRefused) {
  const fs::path target = external / kNew;
  const fs::path sources[] = {target, external / ".." / "External" / kNew, target / "nested"};
  for (const auto& source : sources) {
    SCOPED_TRACE(source);
    prepare(nullptr, {});
    ASSERT_TRUE(installIntoPhotoshop(package("2.0"), options()).ok);
    velko::test::writeSamplePlugin(target / "nested", kId, "2.0");
    const auto registryBefore = readFile(registry);
    const InstallResult r = installIntoPhotoshop(source, options());
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error, "Plugin is already installed in this version: " + target.string());
    EXPECT_TRUE(fs::exists(source / "manifest.json"));
    EXPECT_TRUE(fs::exists(target / "main.js"));
    EXPECT_EQ(readFile(registry), registryBefore);
  }
}

// A kill between making a staging folder and giving it its marker leaves it empty. Such empty
// leftovers of our own names go; one with content, or a name of no run of ours, stays.
TEST_F(UxpTest, EmptyLeftoversOfKilledRunsGoOthersStay) {
  prepare(nullptr, {});
  for (const std::string& empty :
       {v("1.0.velko-staging-123"), v("0.9.velko-trash-456"), v("0.7"), v("0.6.velko-trash-x")}) {
    fs::create_directories(external / empty);
  }
  writeFile(external / v("0.8.velko-staging-789") / "file", "content");
  ASSERT_TRUE(installIntoPhotoshop(package("2.0"), options()).ok);
  EXPECT_FALSE(fs::exists(external / v("1.0.velko-staging-123")));
  EXPECT_FALSE(fs::exists(external / v("0.9.velko-trash-456")));
  for (const std::string& kept : {v("0.7"), v("0.6.velko-trash-x"), v("0.8.velko-staging-789")}) {
    EXPECT_TRUE(fs::exists(external / kept)) << kept;
  }
}

// A broken or foreign-format PS.json or a foreign target folder stops an install before PS.json is
// written: it stays as it was, without a backup, and no folder goes. An uninstall stops likewise.
TEST_F(UxpTest, RefusalsLeaveRegistryAndFoldersAlone) {
  const std::string parse = "PS.json is not valid JSON: ", target = (external / kNew).string();
  const std::string format = "PS.json does not have the expected format ('plugins' array missing)";
  const std::string foreign = "Target folder already exists and has no matching manifest.json: ";
  const std::string good = registryText({kOther});
  const fs::path source = package("2.0");
  const struct {
    std::string registry;
    std::optional<std::string> marker;  // of a folder in the new version's place
    std::string error;
  } cases[] = {
      {"{\"plugins\": [", {}, parse},
      {"// note\n{\"plugins\": []}", {}, parse},
      {"{\"plugins\": {}}", {}, format},
      {"{\"Plugins\": []}", {}, format},
      {good, "com.other", foreign + target},
      {good, kId + "x", foreign + target},
      {good, kId, "Plugin is already installed in this version: " + target},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.registry + " " + c.marker.value_or("-"));
    Folders folders = {{kId + "_1.0", kId}};
    if (c.marker) folders.push_back({kNew, *c.marker});
    prepare(nullptr, folders);
    writeFile(registry, c.registry);

    // A folder of our own stops the install only when replacing is off.
    const InstallResult r = installIntoPhotoshop(source, options(c.marker != kId));
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.error.starts_with(c.error)) << r.error;
    if (c.registry != good) {
      EXPECT_TRUE(uninstallFromPhotoshop(kId, options()).error.starts_with(c.error));
    }
    EXPECT_EQ(readFile(registry), c.registry);
    EXPECT_EQ(backups(), 0u);
    EXPECT_TRUE(fs::exists(external / (kId + "_1.0") / "sub"));
    EXPECT_EQ(fs::exists(external / kNew / "sub"), c.marker.has_value());
  }
}

// The target appears with the marker already in it, so the next install replaces the half-copied
// folder instead of refusing it as foreign. Copying never rewrites that marker (a kill in the
// middle would leave an unmarked folder); links are copied as what they point to, a linked folder
// as an empty one.
TEST_F(UxpTest, InterruptedCopyLeavesMarkedFolderThatNextRunCompletes) {
  const fs::path source = package("2.0"), target = external / kNew;
  writeFile(tmp / "outside" / "secret.txt", "outside");
  fs::create_directory_symlink(tmp / "outside", source / "dirlink");
  fs::create_symlink(tmp / "outside" / "secret.txt", source / "filelink");
  const auto broken = [](const fs::path&) { return std::optional<std::string>("copy broke"); };
  EXPECT_EQ(installCore({kId, "n", "2.0"}, source / "manifest.json", broken, options()).error,
            "copy broke");
  EXPECT_EQ(readFile(target / "manifest.json"), readFile(source / "manifest.json"));

  const std::string marker = readFile(source / "manifest.json").value() + " ";
  writeFile(target / "manifest.json", marker);
  EXPECT_EQ(copyPluginFiles(source, target), std::nullopt);
  EXPECT_EQ(readFile(target / "manifest.json"), marker);
  EXPECT_EQ(readFile(target / "filelink"), "outside");
  EXPECT_FALSE(fs::is_symlink(target / "filelink"));
  EXPECT_TRUE(fs::is_empty(target / "dirlink"));

  // A minimum host version that is not blank is written as given.
  const InstallResult again = installIntoPhotoshop(source, {base.string(), " 25.0 "});
  EXPECT_TRUE(again.ok && again.replacedExisting) << again.error;
  EXPECT_EQ(json::parse(readFile(registry).value())["plugins"][0]["hostMinVersion"], " 25.0 ");
}

// A delete that stops half-way (here: at a folder the process may not empty) keeps the marker in a
// trash folder whose name begins with "<id>_", so the next run's sibling step finishes the job.
// That run removes a link named like a version folder, never the folder it points to.
TEST_F(UxpTest, InterruptedDeleteKeepsMarkerAndNextRunFinishes) {
  const fs::path version = external / (kId + "_1.0");
  prepare(nullptr, {{kId + "_1.0", kId}});
  writeFile(version / "locked" / "file.txt", "x");
  fs::permissions(version / "locked", fs::perms::owner_read | fs::perms::owner_exec);
  const std::vector<std::string> failed = {"Could not remove old plugin folder: " +
                                           version.string()};
  const auto removeSiblings = [&] {
    std::vector<std::string> warnings;
    return removeSiblingVersionFolders(external, kId, "", warnings).empty() && warnings == failed;
  };
  if (geteuid() != 0) {
    EXPECT_TRUE(removeSiblings());
  } else {  // permissions stop everyone but root: delete as nobody, who owns the folders
    fs::permissions(tmp.path(), fs::perms::all);
    for (const auto& e : fs::recursive_directory_iterator(base))
      ASSERT_EQ(lchown(e.path().c_str(), 65534, 65534), 0);
    const pid_t pid = fork();
    if (pid == 0) _exit(setgid(65534) == 0 && setuid(65534) == 0 && removeSiblings() ? 0 : 1);
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_FALSE(fs::exists(version));
  ASSERT_EQ(std::distance(fs::directory_iterator(external), {}), 1);
  const fs::path trash = fs::directory_iterator(external)->path();
  EXPECT_TRUE(trash.filename().string().starts_with(kId + "_1.0.velko-trash-"));
  EXPECT_TRUE(fs::exists(trash / "manifest.json"));
  EXPECT_FALSE(fs::exists(trash / "sub"));

  fs::permissions(trash / "locked", fs::perms::owner_all);
  writeFile(tmp / "elsewhere" / "manifest.json",
            json{{"id", kId}, {"name", "n"}, {"version", "9.9"}}.dump());
  fs::create_directory_symlink(tmp / "elsewhere", external / (kId + "_9.9"));
  const UninstallResult again = uninstallFromPhotoshop(kId, options());
  EXPECT_TRUE(again.ok && again.removed) << again.error;
  EXPECT_TRUE(fs::is_empty(external));
  EXPECT_TRUE(fs::exists(tmp / "elsewhere" / "manifest.json"));
}

}  // namespace
}  // namespace velko::plugin_export::test
