// Install and uninstall on real UXP folder trees: PS.json surgery, which folders go and which stay,
// what stops either before PS.json is written, and what a killed run leaves for the next one.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>
#include <regex>

#include "plugin_export/folder_copy.h"
#include "plugin_export/install_core.h"
#include "plugin_export/plugin_folders.h"
#include "tests/plugin_export/uxp_fixture.h"

namespace velko::plugin_export::test {
namespace {

const json kNewEntry = json::parse(R"({"hostMinVersion": "24.2.0", "name": "Sample Plugin",
    "path": "$localPlugins/External/com.velko.demo_2.0", "pluginId": "com.velko.demo",
    "status": "enabled", "type": "uxp", "versionString": "2.0"})");
const std::regex kOwnLeftover(R"(.*\.velko-(staging|trash)-[0-9]{10,})");
const json kOther = {{"pluginId", "com.other"}, {"path", kPrefix + "com.other_1"}, {"x", {1, "ü"}}};

// Whatever the registry names, only folders that carry kId's marker may go.
TEST_F(UxpTest, Scenarios) {
  const auto v = [](const std::string& suffix) { return kId + "_" + suffix; };
  const auto at = [](const std::string& path) { return json{{"pluginId", kId}, {"path", path}}; };
  const std::string staging = v("1.0.velko-staging-1"), trash = v("0.9.velko-trash-2");
  // Unknown keys, non-ASCII text, elements that are no entry, an id that is no string, a sibling.
  json others = json::parse(R"([{"pluginId": "com.zeta", "zUnknown": {"b": 1, "a": [true, null]},
      "name": "Zëta"}, 42, "text", null, [1, 2], {"noId": true}, {"pluginId": 7}])");
  others.push_back(oldEntry("1.0"));
  others.push_back(oldEntry("1", kId + "x"));
  json othersAfter = others;
  othersAfter.at(7) = kNewEntry;  // our old entry, replaced in its place
  const json hostile = {
      kOther, at("/else"), at(kPrefix + "../../x"), at(kPrefix + "../../y"), {{"pluginId", kId}}};
  const json mixed = {kOther,      oldEntry("1.0"),         3,
                      at("/else"), at(kPrefix + "../../x"), oldEntry("0.7")};
  // Folders the registry climbs to, leftovers of killed runs, siblings and foreign folders.
  const Folders leftovers = {{"../../x", kId},       {"../../y", ""},   {v("0.5"), kId},
                             {staging, kId},         {trash, kId},      {v("0.6"), ""},
                             {v("x_2"), kId + "_x"}, {kId + "x_1", kId}};
  const Folders foreign = {{v("1.0"), kId}, {v("0.7"), "com.other"}, {v("0.8"), ""},
                           {"../../x", ""}, {kId + "x_1", kId},      {trash, kId}};
  const std::string skipped = "registry entry with unexpected path: /else";
  const struct {
    std::string name;
    bool install;
    json before;  // plugins of PS.json; null: no file
    Folders folders;
    json after;
    std::vector<std::string> removed, warnings;
  } scenarios[] = {
      // Spelled out: clang reads a one-element brace list of a json as a copy, gcc as an array.
      {"install, fresh", true, nullptr, {}, json::array({kNewEntry}), {}, {}},
      {"install, not ours", true, others, {{v("1.0"), kId}}, othersAfter, {v("1.0")}, {}},
      {"install, hostile paths and leftovers",
       true,
       hostile,
       leftovers,
       {kOther, kNewEntry},
       {"../../x", v("0.5"), trash, staging},
       {"Skipped old " + skipped}},
      {"uninstall", false, mixed, foreign, {kOther, 3}, {v("1.0"), trash}, {"Skipped " + skipped}},
  };
  const fs::path source = package("2.0");
  for (const auto& s : scenarios) {
    SCOPED_TRACE(s.name);
    prepare(s.before, s.folders);
    const auto before = readFile(registry);
    const auto expectCommon = [&](const auto& r) {
      EXPECT_TRUE(r.ok) << r.error;
      EXPECT_EQ(r.warnings, s.warnings);
      EXPECT_EQ(readFile(r.backupPath), before);
    };
    if (s.install) {
      const InstallResult r = installIntoPhotoshop(source, options());
      expectCommon(r);
      EXPECT_EQ(r.removedFolders, s.removed);
    } else {
      const UninstallResult r = uninstallFromPhotoshop(kId, options());
      expectCommon(r);
      EXPECT_TRUE(r.removed);
    }
    // Indent 2, sorted keys, UTF-8 bytes as they are, exactly one final line feed.
    const json written = before ? json::parse(registryText(s.after)) : json{{"plugins", s.after}};
    EXPECT_EQ(readFile(registry), written.dump(2) + "\n");
    // One backup per load, and no temporary file left beside it.
    EXPECT_EQ(backups(), before ? 1u : 0u);
    EXPECT_EQ(std::distance(fs::directory_iterator(registry.parent_path()), {}),
              backups() + fs::exists(registry));
    for (const auto& [name, marker] : s.folders) {
      const bool gone = std::find(s.removed.begin(), s.removed.end(), name) != s.removed.end();
      EXPECT_EQ(fs::exists(external / name), !gone) << name;
    }
    std::error_code ec;  // no staging or trash folder of this run (named with today's ms) is left
    for (const auto& e : fs::directory_iterator(external, ec))
      EXPECT_FALSE(std::regex_match(e.path().filename().string(), kOwnLeftover)) << e.path();
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
      {"{\"plugins\": [1e999]}", {}, parse},  // a number beyond double's range
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
