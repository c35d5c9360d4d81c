// The real executable on the plug-in road: exact lines, streams and exit codes, in both languages.
#include <gtest/gtest.h>

#include "tests/app/cli_fixture.h"

namespace velko::test {
namespace {

TEST_F(CliTest, StatusOnACleanMachineAndWithPhotoshopBundles) {
  const ProcessResult clean = runWithPackage({"--cli", "status"});
  EXPECT_EQ(clean.exitCode, 0);
  EXPECT_EQ(clean.out, kStatus);
  EXPECT_EQ(clean.err, "");
  EXPECT_FALSE(fs::exists(dir_ / "Library")) << "status must create no folder";

  // The first object with our id names the version; an id that is no string spoils the file.
  const std::string ours = R"({"pluginId": "com.example.sample", "versionString": )";
  const std::pair<std::string, std::string> registries[] = {
      {"3, " + ours + R"("1.1.0"}, )" + ours + R"("9"})", "1.1.0"},
      {R"({"pluginId": 7}, )" + ours + R"("1.1.0"})", "none"}};
  for (const auto& [plugins, installed] : registries) {
    writeFile(registry(), R"({"plugins": [)" + plugins + "]}");
    std::string expected = kStatus;
    expected.replace(expected.find("none"), 4, installed);
    EXPECT_EQ(runWithPackage({"--cli", "status"}).out, expected) << plugins;
  }
  fs::remove_all(dir_ / "Library");

  writeFile(dir_ / "Applications" / "Adobe Photoshop 2025.app" / "Contents" / "Info.plist",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
            "<key>CFBundleShortVersionString</key><string>26.0.0</string></dict></plist>\n");
  fs::create_directories(dir_ / "Applications" / "Adobe Photoshop 2022.app" / "Contents");
  // The line's words stay English whatever the language.
  const ProcessResult r = runWithPackage({"--cli", "status"}, kGerman);
  EXPECT_EQ(r.out, kStatus +
                       "photoshop: Adobe Photoshop 2025 26.0.0 compatible\n"
                       "photoshop: Adobe Photoshop 2022  too-old\n");
}

TEST_F(CliTest, ActionLines) {
  const struct {
    const char* word;
    const char* version;  // package version before the step
    bool german;          // the words are the same in either language
    const char* out;
  } steps[] = {
      {"install", "1.2.0", false, "installed version=1.2.0\n"},
      {"install", "1.2.0", true, "reinstalled previous=1.2.0 version=1.2.0\n"},
      {"install", "1.3.0", false, "updated previous=1.2.0 version=1.3.0\n"},
      {"uninstall", "1.3.0", true, "uninstalled previous=1.3.0\n"},
      {"uninstall", "1.3.0", false, "nothing-to-uninstall\n"},
  };
  for (const auto& s : steps) {
    SCOPED_TRACE(std::string(s.word) + " " + s.version);
    writeSamplePlugin(package(), "com.example.sample", s.version);
    const ProcessResult r = runWithPackage({"--cli", s.word}, s.german ? kGerman : Env{});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, s.out);
    EXPECT_EQ(r.err, "");
  }
}

// The environment's folder replaces the one below HOME; --uxp-base-dir replaces both.
TEST_F(CliTest, BaseFolderOptionWinsOverEnvironmentOverHome) {
  const Env env = {{"VELKO_UXP_BASE_DIR", (dir_ / "env").string()}};
  ASSERT_EQ(runWithPackage({"--cli", "install"}, env).exitCode, 0);
  EXPECT_TRUE(fs::exists(dir_ / "env" / "PluginsInfo" / "v1" / "PS.json"));
  EXPECT_FALSE(fs::exists(registry())) << "HOME must not be used while an override is set";
  const std::string option = (dir_ / "option").string();
  EXPECT_EQ(runWithPackage({"--cli", "status", "--uxp-base-dir", option}, env).out, kStatus);
}

// Refusals and failures: one line on stderr, in the language of the system or of --lang.
TEST_F(CliTest, ErrorLinesAndExitCodes) {
  writeFile(registry(), "{}");
  const std::string missing = (dir_ / "no-such-folder").string(), found = package().string();
  const std::string en = "error: plugin not found\n", de = "Fehler: Plugin nicht gefunden\n";
  const std::string formatEn =
      "failed: PS.json does not have the expected format ('plugins' array missing)\n";
  const std::string formatDe =
      "failed: PS.json hat nicht das erwartete Format ('plugins'-Array fehlt)\n";
  const struct {
    std::vector<std::string> args;
    Env env;
    int code;
    std::string err;
  } cases[] = {
      {{"--plugin", missing, "--cli", "frobnicate"}, {}, 2, en},  // the package is asked first
      // Words are case-sensitive, and the refusal stays English.
      {{"--plugin", found, "--cli", "Status"}, kGerman, 64, "unknown --cli command: Status\n"},
      {{"--plugin", missing, "--cli", "status", "--lang", "en"}, kGerman, 2, en},
      {{"--plugin", missing, "--cli", "status", "--lang", "de"}, {}, 2, de},
      {{"--plugin", found, "--cli", "install"}, {}, 1, formatEn},
      {{"--plugin", found, "--cli", "uninstall"}, kGerman, 1, formatDe},
      // The system's language: LANGUAGE's first choice, then LC_ALL, LC_MESSAGES and LANG.
      {{"--plugin", missing, "--cli", "status"}, {{"LANGUAGE", "de:en"}}, 2, de},
      {{"--plugin", missing, "--cli", "status"}, {{"LANGUAGE", "en"}, {"LC_ALL", "de_DE"}}, 2, en},
      {{"--plugin", missing, "--cli", "status"}, {{"LANGUAGE", ":en"}, {"LC_ALL", "de_DE"}}, 2, de},
      {{"--plugin", missing, "--cli", "status"}, {{"LC_ALL", "de"}, {"LC_MESSAGES", "en"}}, 2, de},
      {{"--plugin", missing, "--cli", "status"}, {{"LC_MESSAGES", "de_DE"}}, 2, de},
  };
  bool variablesLeftOut = false;
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.args));
    if (!c.env.empty() && !onLinux()) {
      variablesLeftOut = true;
      continue;
    }
    const ProcessResult r = run(c.args, c.env);
    EXPECT_EQ(r.exitCode, c.code);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, c.err);
  }
  // A Mac's language comes from its settings (NSLocale), which no variable of a child changes.
  if (variablesLeftOut) GTEST_SKIP() << "rows that set the language by variables: Linux only";
}

// "--cli" without a word opens the window like a line without "--cli"; that one, and --auto, are
// proved by the window's pictures, which the shipped program makes from such lines.
TEST_F(CliTest, CliWithoutAWordTakesTheWindowRoad) {
  const fs::path picture = dir_ / "window.png";
  const ProcessResult r = runWithPackage({"--screenshot", picture.string(), "--cli"},
                                         {{"QT_QPA_PLATFORM", "offscreen"}});
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "");
  EXPECT_TRUE(fs::exists(picture)) << "no picture: the window did not open";
  EXPECT_FALSE(fs::exists(registry())) << "no action without --auto";
}

// The package search from a copy of the executable laid out as an application bundle: inside the
// application, then the disk image's hidden .Plugin beside it, then a plain Plugin folder.
TEST_F(CliTest, PackageSearchFromACopiedBundle) {
  const fs::path app = dir_ / "disk" / "Velko.app", exe = app / "Contents" / "MacOS" / "velko";
  fs::create_directories(exe.parent_path());
  fs::copy_file(VELKO_INSTALLER_EXE, exe);
  const auto status = [&](std::vector<std::string> args) {
    args.insert(args.begin(), {exe.string(), "--cli", "status"});
    return runProcess(args);
  };
  writeSamplePlugin(app.parent_path() / "Plugin", "com.example.plain", "1.0.0");
  EXPECT_NE(status({}).out.find("(com.example.plain)"), std::string::npos);
  writeSamplePlugin(app.parent_path() / ".Plugin", "com.example.hidden", "1.0.0");
  EXPECT_NE(status({}).out.find("(com.example.hidden)"), std::string::npos);
  writeSamplePlugin(app / "Contents" / "Resources" / "Plugin", "com.example.inside", "1.0.0");
  EXPECT_NE(status({}).out.find("(com.example.inside)"), std::string::npos);
  const ProcessResult r = status({"--plugin", (dir_ / "nowhere").string()});
  EXPECT_EQ(r.exitCode, 2) << "--plugin has no fallback";
  EXPECT_EQ(r.err, "error: plugin not found\n");
}

}  // namespace
}  // namespace velko::test
