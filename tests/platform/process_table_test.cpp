// The process table seam against real child processes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "platform/platform.h"
#include "tests/support/test_support.h"

namespace velko::platform {
namespace {

bool listed(int pid) {
  const std::vector<int> pids = listProcessIds();
  return std::find(pids.begin(), pids.end(), pid) != pids.end();
}

TEST(ProcessTable, ListsOwnProcessAndChildren) {
  test::TempDir dir;
  test::FakeProcess child(dir.path(), "velko-listed-child");
  EXPECT_TRUE(listed(getpid()));
  EXPECT_TRUE(listed(child.pid()));
}

TEST(ProcessTable, ShortNameIsExecutableNameCutAt32Bytes) {
  const std::string exactly32(32, 'n');
  struct Case {
    std::string executable;
    std::string expected;
  };
  // Names with "Photoshop" in them would disturb suites running in parallel; spaces are what
  // matter here.
  const Case cases[] = {
      {"velko-short", "velko-short"},
      {"Adobe Fotoshop 2025", "Adobe Fotoshop 2025"},
      {exactly32, exactly32},
      {"velko-a-rather-long-process-name-of-forty", "velko-a-rather-long-process-name"},
  };
  test::TempDir dir;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.executable);
    test::FakeProcess child(dir.path(), c.executable);
    EXPECT_EQ(processShortName(child.pid()), c.expected);
  }
}

TEST(ProcessTable, EndedProcessHasNoName) {
  test::TempDir dir;
  int pid = 0;
  {
    test::FakeProcess child(dir.path(), "velko-ended");
    pid = child.pid();
    ASSERT_TRUE(processShortName(pid).has_value());
  }
  EXPECT_FALSE(processShortName(pid).has_value());
  EXPECT_FALSE(listed(pid));
}

}  // namespace
}  // namespace velko::platform
