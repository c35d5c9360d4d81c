// The command line with a real process named like Photoshop: refusal, override and status.
#include <gtest/gtest.h>

#include "tests/app/cli_fixture.h"

namespace velko::test {
namespace {

namespace fs = std::filesystem;

// Every path below `root` with the bytes of each file, to prove that nothing changed.
std::map<std::string, std::string> snapshot(const fs::path& root) {
  std::map<std::string, std::string> files;
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::end(it);
       it.increment(ec)) {
    files[it->path().string()] = it->is_regular_file() ? readFile(it->path()).value_or("?") : "dir";
  }
  return files;
}

class CliWithPhotoshop : public CliTest {
 protected:
  FakeProcess photoshop_{dir_ / "proc", "Photoshop"};
};

TEST_F(CliWithPhotoshop, StatusReportsItWhateverTheOverride) {
  for (bool ignore : {false, true}) {
    std::vector<std::string> args = {"--cli", "status"};
    if (ignore) args.push_back("--ignore-photoshop");
    const ProcessResult r = runWithPackage(args);
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out,
              "plugin: Sample Plugin 1.2.0 (com.example.sample)\n"
              "installed: none\n"
              "photoshop-running: yes\n");
  }
}

TEST_F(CliWithPhotoshop, ActionsAreRefusedAndTheDiskStaysAsItWas) {
  writeSamplePlugin(external() / "com.example.sample_1.0.0", "com.example.sample", "1.0.0");
  writeFile(registry(),
            R"({"plugins":[{"pluginId":"com.example.sample","versionString":"1.0.0",)"
            R"("path":"$localPlugins/External/com.example.sample_1.0.0"}]})");
  const auto before = snapshot(dir_.path());
  struct Case {
    const char* word;
    bool german;
    const char* err;
  } cases[] = {
      {"install", false, "error: Photoshop is running, quit it first\n"},
      {"uninstall", false, "error: Photoshop is running, quit it first\n"},
      {"install", true, "Fehler: Photoshop läuft, bitte zuerst beenden\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.word);
    std::map<std::string, std::optional<std::string>> env;
    if (c.german) env["LANG"] = "de_DE.UTF-8";
    const ProcessResult r = runWithPackage({"--cli", c.word}, env);
    EXPECT_EQ(r.exitCode, 3);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(snapshot(dir_.path()), before);
  }
}

TEST_F(CliWithPhotoshop, OverrideInstallsAndKeepsTheLowerLayersWarningQuiet) {
  const ProcessResult install = runWithPackage({"--cli", "install", "--ignore-photoshop"});
  EXPECT_EQ(install.exitCode, 0);
  EXPECT_EQ(install.out, "installed version=1.2.0\n");
  EXPECT_EQ(install.err, "");
  EXPECT_TRUE(fs::exists(external() / "com.example.sample_1.2.0" / "manifest.json"));
  const ProcessResult uninstall = runWithPackage({"--cli", "uninstall", "--ignore-photoshop"});
  EXPECT_EQ(uninstall.exitCode, 0);
  EXPECT_EQ(uninstall.out, "uninstalled previous=1.2.0\n");
}

}  // namespace
}  // namespace velko::test
