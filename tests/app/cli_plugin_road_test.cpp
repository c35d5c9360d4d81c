// The real executable on the plug-in road: exact lines, streams and exit codes, in both languages.
#include <gtest/gtest.h>
#include <plist/plist.h>

#include <nlohmann/json.hpp>

#include "tests/app/cli_fixture.h"

namespace velko::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const std::map<std::string, std::optional<std::string>> kGerman = {{"LANG", "de_DE.UTF-8"}};

void writeXmlBundle(const fs::path& app, const std::string& version) {
  writeFile(app / "Contents" / "Info.plist",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
            "  <key>CFBundleShortVersionString</key>\n  <string>" + version +
                "</string>\n</dict>\n</plist>\n");
}

void writeBinaryBundle(const fs::path& app, const std::string& version) {
  plist_t dict = plist_new_dict();
  plist_dict_set_item(dict, "CFBundleShortVersionString", plist_new_string(version.c_str()));
  char* bytes = nullptr;
  uint32_t length = 0;
  plist_to_bin(dict, &bytes, &length);
  writeFile(app / "Contents" / "Info.plist", std::string(bytes, length));
  free(bytes);
  plist_free(dict);
}

using CliStatus = CliTest;

TEST_F(CliStatus, CleanMachinePrintsThreeLinesAndTouchesNothing) {
  const ProcessResult r = runWithPackage({"--cli", "status"});
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_EQ(r.out,
            "plugin: Sample Plugin 1.2.0 (com.example.sample)\n"
            "installed: none\n"
            "photoshop-running: no\n");
  EXPECT_EQ(r.err, "");
  EXPECT_FALSE(fs::exists(dir_ / "Library")) << "status must create no folder";
}

TEST_F(CliStatus, ListsPhotoshopInstallsNewestFirst) {
  const fs::path apps = dir_ / "Applications";
  writeXmlBundle(apps / "Adobe Photoshop 2025.app", "26.0.0");
  writeBinaryBundle(apps / "Adobe Photoshop 2024" / "Adobe Photoshop 2024.app", "24.7.1");
  writeXmlBundle(apps / "Adobe Photoshop 2023.app", "24.1.9");
  fs::create_directories(apps / "Adobe Photoshop 2022.app" / "Contents");
  writeXmlBundle(apps / "Photoshop.app", "27.0");
  const ProcessResult r = runWithPackage({"--cli", "status"});
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_EQ(r.out,
            "plugin: Sample Plugin 1.2.0 (com.example.sample)\n"
            "installed: none\n"
            "photoshop-running: no\n"
            "photoshop: Adobe Photoshop 2025 26.0.0 compatible\n"
            "photoshop: Adobe Photoshop 2024 24.7.1 compatible\n"
            "photoshop: Adobe Photoshop 2023 24.1.9 too-old\n"
            "photoshop: Adobe Photoshop 2022  too-old\n");
}

TEST_F(CliStatus, InstalledLineReadsTheRegistryOnly) {
  struct Case {
    const char* registry;
    const char* line;
  } cases[] = {
      {R"({"plugins":[{"pluginId":"com.example.sample","versionString":"0.9.0"}]})",
       "installed: 0.9.0\n"},
      {R"({"plugins":[{"pluginId":"com.example.sample"}]})", "installed: none\n"},
      {R"({"plugins":[{"pluginId":5},{"pluginId":"com.example.sample","versionString":"1"}]})",
       "installed: none\n"},
      {"not json", "installed: none\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.registry);
    writeFile(registry(), c.registry);
    const ProcessResult r = runWithPackage({"--cli", "status"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_NE(r.out.find(c.line), std::string::npos) << r.out;
    EXPECT_EQ(readFile(registry()), std::optional<std::string>(c.registry));
  }
}

TEST_F(CliStatus, BuildFolderHoldsTheSamplePackage) {
  // Without --plugin the executable finds the package the build laid out beside it.
  const ProcessResult r = run({"--cli", "status"});
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_EQ(r.out.substr(0, r.out.find('\n')), "plugin: Velko 1.0.0 (com.solstice.velko)");
}

using CliActions = CliTest;

TEST_F(CliActions, InstallUpdateReinstallUninstallSequence) {
  const json foreign = {{"pluginId", "com.other.tool"}, {"name", "Ölfilter"}, {"x-extra", {1, 2}}};
  writeFile(registry(), json({{"plugins", json::array({foreign})}, {"psVersion", "26"}}).dump());
  struct Step {
    const char* word;
    const char* version;  // package version before the step
    const char* out;
  } steps[] = {
      {"install", "1.2.0", "installed version=1.2.0\n"},
      {"install", "1.2.0", "reinstalled previous=1.2.0 version=1.2.0\n"},
      {"install", "1.3.0", "updated previous=1.2.0 version=1.3.0\n"},
      {"uninstall", "1.3.0", "uninstalled previous=1.3.0\n"},
      {"uninstall", "1.3.0", "nothing-to-uninstall\n"},
  };
  for (const Step& s : steps) {
    SCOPED_TRACE(std::string(s.word) + " " + s.version);
    writeSamplePlugin(package(), "com.example.sample", s.version);
    const ProcessResult r = runWithPackage({"--cli", s.word, "--ignore-photoshop"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, s.out);
    EXPECT_EQ(r.err, "");
    const json doc = json::parse(*readFile(registry()));
    EXPECT_EQ(doc["plugins"][0], foreign);
    EXPECT_EQ(doc["psVersion"], "26");
  }
  EXPECT_FALSE(fs::exists(external() / "com.example.sample_1.2.0"));
  EXPECT_FALSE(fs::exists(external() / "com.example.sample_1.3.0"));
}

TEST_F(CliActions, InstalledFilesAndEntry) {
  const ProcessResult r = runWithPackage({"--cli", "install"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const fs::path target = external() / "com.example.sample_1.2.0";
  for (const char* file : {"manifest.json", "index.html", "main.js", "icons/icon.png"}) {
    EXPECT_EQ(readFile(target / file), readFile(package() / file)) << file;
  }
  const json entry = json::parse(*readFile(registry()))["plugins"][0];
  EXPECT_EQ(entry, json({{"hostMinVersion", "24.2.0"},
                         {"name", "Sample Plugin"},
                         {"path", "$localPlugins/External/com.example.sample_1.2.0"},
                         {"pluginId", "com.example.sample"},
                         {"status", "enabled"},
                         {"type", "uxp"},
                         {"versionString", "1.2.0"}}));
}

TEST_F(CliActions, FailuresInBothLanguagesLeaveTheRegistryAlone) {
  struct Case {
    const char* registry;
    bool german;
    const char* errPrefix;
  } cases[] = {
      {"{", false, "failed: PS.json is not valid JSON: "},
      {"{", true, "failed: PS.json ist kein gültiges JSON: "},
      {"{}", false, "failed: PS.json does not have the expected format ('plugins' array missing)\n"},
      {"[]", true,
       "failed: PS.json hat nicht das erwartete Format ('plugins'-Array fehlt)\n"},
  };
  for (const Case& c : cases) {
    for (const char* word : {"install", "uninstall"}) {
      SCOPED_TRACE(std::string(c.registry) + " " + word + (c.german ? " de" : " en"));
      writeFile(registry(), c.registry);
      const ProcessResult r =
          runWithPackage({"--cli", word, "--ignore-photoshop"},
                         c.german ? kGerman : std::map<std::string, std::optional<std::string>>{});
      EXPECT_EQ(r.exitCode, 1);
      EXPECT_EQ(r.out, "");
      EXPECT_EQ(r.err.rfind(c.errPrefix, 0), 0u) << r.err;
      EXPECT_EQ(r.err.back(), '\n');
      EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1);
      EXPECT_EQ(readFile(registry()), std::optional<std::string>(c.registry));
    }
  }
}

TEST_F(CliActions, BaseFolderOptionWinsOverEnvironmentOverHome) {
  const fs::path fromEnv = dir_ / "env-base";
  const fs::path fromOption = dir_ / "option-base";
  ASSERT_EQ(runWithPackage({"--cli", "install"}, {{"VELKO_UXP_BASE_DIR", fromEnv.string()}}).exitCode, 0);
  EXPECT_TRUE(fs::exists(fromEnv / "PluginsInfo" / "v1" / "PS.json"));
  ASSERT_EQ(runWithPackage({"--cli", "install", "--uxp-base-dir", fromOption.string()},
                           {{"VELKO_UXP_BASE_DIR", fromEnv.string()}})
                .exitCode,
            0);
  EXPECT_TRUE(fs::exists(fromOption / "PluginsInfo" / "v1" / "PS.json"));
  EXPECT_FALSE(fs::exists(registry())) << "HOME must not be used while an override is set";
  // The status reads the same folder the install wrote.
  const ProcessResult r = runWithPackage({"--cli", "status", "--uxp-base-dir", fromOption.string()});
  EXPECT_NE(r.out.find("installed: 1.2.0\n"), std::string::npos);
}

using CliRefusals = CliTest;

TEST_F(CliRefusals, MissingPackageUnknownWordAndLanguage) {
  const std::string missing = (dir_ / "no-such-folder").string();
  struct Case {
    const char* label;
    std::vector<std::string> args;
    std::map<std::string, std::optional<std::string>> env;
    int code;
    std::string err;
  } cases[] = {
      {"no package, English", {"--plugin", missing, "--cli", "status"}, {}, 2,
       "error: plugin not found\n"},
      {"no package, German", {"--plugin", missing, "--cli", "install"}, kGerman, 2,
       "Fehler: Plugin nicht gefunden\n"},
      {"unknown word without package", {"--plugin", missing, "--cli", "frobnicate"}, {}, 2,
       "error: plugin not found\n"},
      {"unknown word with package", {"--plugin", package().string(), "--cli", "frobnicate"}, {}, 64,
       "unknown --cli command: frobnicate\n"},
      {"words are case-sensitive", {"--plugin", package().string(), "--cli", "Status"}, kGerman, 64,
       "unknown --cli command: Status\n"},
      {"--lang en beats a German system", {"--plugin", missing, "--cli", "status", "--lang", "en"},
       kGerman, 2, "error: plugin not found\n"},
      {"--lang fr leaves German", {"--plugin", missing, "--cli", "status", "--lang", "fr"}, kGerman,
       2, "Fehler: Plugin nicht gefunden\n"},
      {"--lang fr on a French system is English", {"--plugin", missing, "--cli", "status", "--lang", "fr"},
       {{"LANG", "fr_FR.UTF-8"}}, 2, "error: plugin not found\n"},
      {"LANGUAGE comes first", {"--plugin", missing, "--cli", "status"},
       {{"LANGUAGE", "de:en"}, {"LANG", "en_US.UTF-8"}}, 2, "Fehler: Plugin nicht gefunden\n"},
      {"--lang last is as if absent", {"--plugin", missing, "--cli", "status", "--lang"}, kGerman, 2,
       "Fehler: Plugin nicht gefunden\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const ProcessResult r = run(c.args, c.env);
    EXPECT_EQ(r.exitCode, c.code);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, c.err);
  }
}

TEST_F(CliRefusals, LinesWithoutAWordTakeTheWindowRoad) {
  const std::vector<std::vector<std::string>> lines = {
      {},
      {"--cli"},
      {"--cli", "status", "--cli"},
      {"--cli=status"},
      {"--model-test-key", "--cli", "status"},
      {"--auto", "install"},
  };
  for (const auto& args : lines) {
    std::vector<std::string> withPackage = {"--plugin", package().string()};
    withPackage.insert(withPackage.end(), args.begin(), args.end());
    const ProcessResult r = run(withPackage);
    EXPECT_EQ(r.out, "") << withPackage.size();
    EXPECT_NE(r.err.find("no window"), std::string::npos) << r.err;
    EXPECT_FALSE(fs::exists(dir_ / "Library")) << "the window road runs no action";
  }
}

// The package search beside a copied executable, laid out as an application bundle.
class CliPackageSearch : public CliTest {
 protected:
  CliPackageSearch() {
    fs::create_directories(macos());
    fs::copy_file(VELKO_INSTALLER_EXE, macos() / "velko-installer");
  }
  fs::path app() const { return dir_ / "disk" / "Velko.app"; }
  fs::path macos() const { return app() / "Contents" / "MacOS"; }
  ProcessResult status(std::vector<std::string> extra = {}) const {
    std::vector<std::string> args = {(macos() / "velko-installer").string(), "--cli", "status"};
    args.insert(args.end(), extra.begin(), extra.end());
    return runProcess(args);
  }
};

TEST_F(CliPackageSearch, CandidatesInOrder) {
  const fs::path inside = app() / "Contents" / "Resources" / "Plugin";
  const fs::path hidden = dir_ / "disk" / ".Plugin";
  const fs::path plain = dir_ / "disk" / "Plugin";

  EXPECT_EQ(status().exitCode, 2);

  writeSamplePlugin(plain, "com.example.plain", "1.0.0");
  EXPECT_NE(status().out.find("(com.example.plain)"), std::string::npos);

  writeSamplePlugin(hidden, "com.example.hidden", "1.0.0");
  EXPECT_NE(status().out.find("(com.example.hidden)"), std::string::npos) << ".Plugin before Plugin";

  writeFile(inside / "manifest.json", "// comment\n{\"id\":\"x\",\"name\":\"\",\"version\":\"1\"}");
  EXPECT_NE(status().out.find("(com.example.hidden)"), std::string::npos) << "broken one passed over";

  writeSamplePlugin(inside, "com.example.inside", "1.0.0");
  EXPECT_NE(status().out.find("(com.example.inside)"), std::string::npos) << "inside comes first";

  const ProcessResult r = status({"--plugin", (dir_ / "nowhere").string()});
  EXPECT_EQ(r.exitCode, 2) << "--plugin has no fallback";
  EXPECT_EQ(r.err, "error: plugin not found\n");
}

}  // namespace
}  // namespace velko::test
