// Kills a real install with SIGKILL at random moments: the registry must always be the old or the
// new document, other plug-ins must keep their entries and folders, and the next install must
// succeed.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/kill_campaign.h"
#include "tests/support/test_support.h"

namespace velko::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr const char* kId = "com.example.crash";

// The folder of version `version` of plug-in `id` in the UXP folder `base`.
fs::path external(const fs::path& base, const std::string& id, const std::string& version) {
  return base / "Plugins" / "External" / (id + "_" + version);
}

// A UXP folder with other plug-ins, foreign data and an older version of ours.
void writeTemplate(const fs::path& base) {
  writeSamplePlugin(external(base, kId, "1.0.0"), kId, "1.0.0", "Crash Probe");
  writeSamplePlugin(external(base, "com.other.tool", "3.1"), "com.other.tool", "3.1", "Other");
  writeFile(external(base, kId, "0.5") / "notes.txt", "no marker here");
  writeFile(base / "PluginsInfo" / "v1" / "PS.json", R"({"plugins": [
  {"pluginId": "com.other.tool", "name": "Werkzeug für Ärzte", "versionString": "3.1",
   "path": "$localPlugins/External/com.other.tool_3.1", "zExtra": {"nested": true}},
  "a string element",
  {"pluginId": "com.example.crash", "name": "Crash Probe", "versionString": "1.0.0",
   "path": "$localPlugins/External/com.example.crash_1.0.0"},
  {"pluginId": "com.third", "versionString": "9"}],
 "unknownTopLevel": [1, "two", null]})");
}

// The registry document in `base`; a discarded value when it is missing or not JSON.
json registryAt(const fs::path& base) {
  return json::parse(readFile(base / "PluginsInfo" / "v1" / "PS.json").value_or(""), nullptr,
                     false);
}

TEST(CrashConsistency, KilledInstallLeavesOldOrNewRegistry) {
  TempDir dir;
  IsolatedHome home(dir.path());
  const fs::path package = dir / "pkg";
  // A package big enough that a kill lands in the copy as often as around the registry write.
  writeSamplePlugin(package, kId, "2.0.0", "Crash Probe");
  writeTree(package / "assets", randomTree(20, 20, 4096, 3));
  CampaignSetup setup{.templ = dir / "template", .runs = VELKO_CRASH_RUNS};
  writeTemplate(setup.templ);
  const json oldDoc = registryAt(setup.templ);
  int sawOld = 0, sawNew = 0;
  setup.command = [&](const fs::path& base) {
    return CampaignCommand{{VELKO_INSTALLER_EXE, "--cli", "install", "--ignore-photoshop",
                            "--plugin", package.string(), "--uxp-base-dir", base.string()}};
  };
  setup.afterKill = [&](const fs::path& base) {
    const json doc = registryAt(base), newDoc = registryAt(setup.reference());
    ASSERT_FALSE(doc.is_discarded()) << "PS.json must stay valid JSON";
    ASSERT_TRUE(doc == oldDoc || doc == newDoc) << doc.dump(2);
    (doc == oldDoc ? sawOld : sawNew)++;
    EXPECT_TRUE(treeAt(external(base, "com.other.tool", "3.1")) ==
                treeAt(external(setup.templ, "com.other.tool", "3.1")));
    EXPECT_TRUE(fs::exists(external(base, kId, "0.5") / "notes.txt"))
        << "a folder without the marker is never deleted";
  };
  setup.atEnd = [&](const fs::path& base) {
    ASSERT_NE(registryAt(base), oldDoc);
    EXPECT_EQ(registryAt(base), registryAt(setup.reference()));
    EXPECT_TRUE(treeAt(external(base, kId, "2.0.0")) == treeAt(package));
    EXPECT_FALSE(fs::exists(external(base, kId, "1.0.0")));
  };
  setup.facts = [&] {
    return "; registry old " + std::to_string(sawOld) + ", new " + std::to_string(sawNew);
  };
  runKillCampaign(setup);
}

}  // namespace
}  // namespace velko::test
