// The seam to the operating system against real child processes and archives.
#include "platform/platform.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <unistd.h>

#include <csignal>

#include "tests/support/test_support.h"
#include "tests/support/zip_archive.h"

namespace velko::platform {
namespace {
namespace fs = std::filesystem;

// The quit request goes to the user's processes whose short name, cut at 32 bytes, holds the word.
TEST(ProcessTable, QuitRequestMatchesTheShortNameCutAt32Bytes) {
  if (!test::onLinux()) GTEST_SKIP() << "SIGTERM by pid is Linux's; a Mac asks through NSWorkspace";
  test::TempDir dir;
  const std::string name = "velko-quit-own-process-name-of-40-bytes!";
  test::FakeProcess own(dir.path(), name);
  EXPECT_EQ(processShortName(own.pid()), name.substr(0, 32));
  EXPECT_EQ(askApplicationsToQuit("", ""), 0) << "an empty word matches nothing";
  EXPECT_EQ(askApplicationsToQuit("", name.substr(24, 8)), 1);
  int status = 0;
  ASSERT_EQ(waitpid(own.pid(), &status, 0), own.pid());
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);

  // Never another user's process, even when the request comes from root.
  if (getuid() != 0) GTEST_SKIP() << "another user's process needs root to start";
  fs::permissions(dir.path(), fs::perms::owner_all | fs::perms::others_exec);
  fs::copy_file("/bin/sleep", dir / "velko-quit-other");
  const pid_t other =
      test::startProcess({"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                          (dir / "velko-quit-other").string(), "300"});
  while (processShortName(other) != "velko-quit-other") {  // until setpriv has become the sleeper
    ASSERT_EQ(waitpid(other, &status, WNOHANG), 0) << "setpriv ended early";
    usleep(1000);
  }
  EXPECT_EQ(askApplicationsToQuit("", "velko-quit-other"), 0);
  EXPECT_EQ(waitpid(other, &status, WNOHANG), 0) << "the other user's process must still run";
  kill(other, SIGKILL);
  waitpid(other, &status, 0);
}

// Links above the destination are the user's business; only the archive's names are checked. Modes
// that lock the owner out are widened so a refused package can be cleared (root passes any mode).
TEST(ExtractZip, WritesBelowALinkedDestinationAndLeavesTheWorkingFolder) {
  test::TempDir dir;
  fs::create_directories(dir / "real" / "dest");
  fs::create_directory_symlink(dir / "real", dir / "linked");
  test::writeZip(dir / "a.zip", {test::zipFolder("ro/", 0500), test::zipFile("ro/f", "x", 0)});
  const fs::path before = fs::current_path(), ro = dir / "real" / "dest" / "ro";
  ASSERT_TRUE(extractZip(dir / "a.zip", dir / "linked" / "dest"));
  EXPECT_EQ(fs::current_path(), before);
  EXPECT_EQ(test::readFile(ro / "f"), "x");
  EXPECT_EQ(fs::status(ro).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(ro / "f").permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

}  // namespace
}  // namespace velko::platform
