// The command line with a real process named like Photoshop: refusal, override and status.
#include <gtest/gtest.h>

#include "tests/app/cli_fixture.h"

namespace velko::test {
namespace {

// Every path below `root` with the bytes of each file, to prove that nothing changed.
std::map<std::string, std::string> snapshot(const fs::path& root) {
  std::map<std::string, std::string> files;
  for (const auto& e : fs::recursive_directory_iterator(root))
    files[e.path().string()] = e.is_regular_file() ? readFile(e.path()).value_or("?") : "dir";
  return files;
}

// The status tells. Without the override the actions are refused and the disk stays as it was;
// with it they go through, and the lower layer's warning about the running Photoshop is not shown.
TEST_F(CliTest, ActionsAreRefusedUnlessOverridden) {
  const FakeProcess photoshop(dir_ / "proc", "Photoshop");
  const ProcessResult status = runWithPackage({"--cli", "status"});
  EXPECT_EQ(status.exitCode, 0);
  EXPECT_EQ(status.out,
            "plugin: Sample Plugin 1.2.0 (com.example.sample)\ninstalled: none\n"
            "photoshop-running: yes\n");
  const ProcessResult installed = runWithPackage({"--cli", "install", "--ignore-photoshop"});
  EXPECT_EQ(installed.exitCode, 0);
  EXPECT_EQ(installed.out, "installed version=1.2.0\n");
  EXPECT_EQ(installed.err, "");
  const auto before = snapshot(dir_.path());
  const struct {
    const char* word;
    Env env;
    const char* err;
  } cases[] = {{"install", {}, "error: Photoshop is running, quit it first\n"},
               {"uninstall", kGerman, "Fehler: Photoshop läuft, bitte zuerst beenden\n"}};
  bool germanLeftOut = false;
  for (const auto& c : cases) {
    if (c.env == kGerman && !onLinux()) {
      germanLeftOut = true;
      continue;
    }
    const ProcessResult r = runWithPackage({"--cli", c.word}, c.env);
    EXPECT_EQ(r.exitCode, 3);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(snapshot(dir_.path()), before);
  }
  const ProcessResult removed = runWithPackage({"--cli", "uninstall", "--ignore-photoshop"});
  EXPECT_EQ(removed.out, "uninstalled previous=1.2.0\n");
  EXPECT_EQ(removed.err, "");
  // A Mac's language comes from its settings (NSLocale), which no variable of a child changes.
  if (germanLeftOut) GTEST_SKIP() << "rows that expect German from LANG: Linux only";
}

}  // namespace
}  // namespace velko::test
