// Kills a real install with SIGKILL at random moments: the registry must always be the old or the
// new document, other plug-ins must keep their entries and folders, and the next install must
// succeed.
#include <gtest/gtest.h>

#include <iostream>
#include <nlohmann/json.hpp>

#include "tests/support/kill_campaign.h"
#include "tests/support/test_support.h"

namespace velko::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr const char* kId = "com.example.crash";

std::vector<std::string> installArgs(const fs::path& package, const fs::path& base) {
  return {VELKO_INSTALLER_EXE, "--cli",          "install",        "--ignore-photoshop",
          "--plugin",          package.string(), "--uxp-base-dir", base.string()};
}

// A package big enough that a kill lands in the copy as often as around the registry write.
void writeLargePackage(const fs::path& folder) {
  writeSamplePlugin(folder, kId, "2.0.0", "Crash Probe");
  const std::string block(4096, 'v');
  for (int d = 0; d < 20; ++d) {
    for (int f = 0; f < 20; ++f) {
      writeFile(folder / "assets" / ("d" + std::to_string(d)) / ("f" + std::to_string(f) + ".bin"),
                block + std::to_string(d * 100 + f));
    }
  }
}

// A UXP folder with other plug-ins, foreign data and an older version of ours.
void writeTemplate(const fs::path& base) {
  const fs::path external = base / "Plugins" / "External";
  writeSamplePlugin(external / (std::string(kId) + "_1.0.0"), kId, "1.0.0", "Crash Probe");
  writeSamplePlugin(external / "com.other.tool_3.1", "com.other.tool", "3.1", "Other");
  writeFile(external / (std::string(kId) + "_0.5") / "notes.txt", "no marker here");
  const json registry = {{"plugins",
                          {{{"pluginId", "com.other.tool"},
                            {"name", "Werkzeug für Ärzte"},
                            {"path", "$localPlugins/External/com.other.tool_3.1"},
                            {"versionString", "3.1"},
                            {"zExtra", {{"nested", true}}}},
                           "a string element",
                           {{"pluginId", kId},
                            {"name", "Crash Probe"},
                            {"path", std::string("$localPlugins/External/") + kId + "_1.0.0"},
                            {"versionString", "1.0.0"}},
                           {{"pluginId", "com.third"}, {"versionString", "9"}}}},
                         {"unknownTopLevel", {1, "two", nullptr}}};
  writeFile(base / "PluginsInfo" / "v1" / "PS.json", registry.dump(2));
}

std::optional<json> parseRegistry(const fs::path& base) {
  const auto text = readFile(base / "PluginsInfo" / "v1" / "PS.json");
  if (!text) return std::nullopt;
  try {
    return json::parse(*text);
  } catch (const json::exception&) {
    return std::nullopt;
  }
}

TEST(CrashConsistency, KilledInstallLeavesOldOrNewRegistry) {
  TempDir dir;
  IsolatedHome home(dir.path());
  const fs::path package = dir / "pkg";
  writeLargePackage(package);
  const fs::path templ = dir / "template";
  writeTemplate(templ);
  const json oldDoc = *parseRegistry(templ);

  KillCampaign campaign;
  const fs::path reference = dir / "reference";
  fs::copy(templ, reference, fs::copy_options::recursive);
  const ProcessResult ref = campaign.timedRun(installArgs(package, reference));
  ASSERT_EQ(ref.exitCode, 0) << ref.err;
  const json newDoc = *parseRegistry(reference);
  ASSERT_NE(oldDoc, newDoc);

  int killedEarly = 0, sawOld = 0, sawNew = 0;
  for (int run = 0; run < VELKO_CRASH_RUNS; ++run) {
    const fs::path base = dir / ("run" + std::to_string(run));
    fs::copy(templ, base, fs::copy_options::recursive);
    bool killed = false;
    const long waitMicros = campaign.startAndKill(installArgs(package, base), {}, killed);
    SCOPED_TRACE("run " + std::to_string(run) + ", kill after " + std::to_string(waitMicros) +
                 " us");
    if (killed) ++killedEarly;

    const std::optional<json> doc = parseRegistry(base);
    ASSERT_TRUE(doc) << "PS.json must stay valid JSON";
    ASSERT_TRUE(*doc == oldDoc || *doc == newDoc) << doc->dump(2);
    (*doc == oldDoc ? sawOld : sawNew)++;
    EXPECT_EQ(readFile(base / "Plugins" / "External" / "com.other.tool_3.1" / "manifest.json"),
              readFile(templ / "Plugins" / "External" / "com.other.tool_3.1" / "manifest.json"));
    EXPECT_TRUE(
        fs::exists(base / "Plugins" / "External" / (std::string(kId) + "_0.5") / "notes.txt"))
        << "a folder without the marker is never deleted";

    const ProcessResult again = campaign.timedRun(installArgs(package, base));
    ASSERT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(*parseRegistry(base), newDoc);
    const fs::path target = base / "Plugins" / "External" / (std::string(kId) + "_2.0.0");
    EXPECT_EQ(readFile(target / "assets" / "d19" / "f19.bin"),
              readFile(package / "assets" / "d19" / "f19.bin"));
    EXPECT_EQ(readFile(target / "manifest.json"), readFile(package / "manifest.json"));
    EXPECT_FALSE(fs::exists(base / "Plugins" / "External" / (std::string(kId) + "_1.0.0")));
    std::error_code ec;
    fs::remove_all(base, ec);
  }
  std::cout << "[ crash    ] " << VELKO_CRASH_RUNS << " runs, " << killedEarly
            << " killed before they ended; registry old " << sawOld << ", new " << sawNew
            << " (last undisturbed install " << campaign.span() << " us)\n";
}

}  // namespace
}  // namespace velko::test
