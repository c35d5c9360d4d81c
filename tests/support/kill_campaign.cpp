// The crash suites' kill loop (random SIGKILLs, checks, summary) and folder trees.
#include "tests/support/kill_campaign.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iostream>
#include <random>

#include "tests/support/test_support.h"

namespace velko::test {
namespace {

namespace fs = std::filesystem;

long nowMicros() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// Starts `command`, waits as runKillCampaign says, kills the child and reaps it. Returns the wait
// in microseconds; `killed` tells whether the kill ended the child (false when it had already
// exited).
long startAndKill(const CampaignCommand& command, long span, const std::function<bool()>& ready,
                  std::mt19937& random, bool& killed) {
  const long start = nowMicros();
  const pid_t pid = startProcess(command.argv, command.env);
  int status = 0;
  long lead = 0;
  if (ready) {
    while (!ready() && nowMicros() - start < span) {
      if (waitpid(pid, &status, WNOHANG) == pid) return 0;
      usleep(1000);
    }
    lead = nowMicros() - start;
  }
  const long rest = std::max(0L, span - lead);
  const long waitMicros = std::uniform_int_distribution<long>(0, rest + rest / 3)(random);
  usleep(static_cast<useconds_t>(waitMicros));
  kill(pid, SIGKILL);
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  killed = WIFSIGNALED(status);
  return lead + waitMicros;
}

}  // namespace

void runKillCampaign(const CampaignSetup& setup) {
  std::mt19937 random(std::random_device{}());
  long span = 0;
  int killedCount = 0;
  for (int run = -1; run < setup.runs; ++run) {  // run -1 is the reference: no kill
    const fs::path folder =
        run < 0 ? setup.reference() : setup.templ.parent_path() / ("run" + std::to_string(run));
    fs::copy(setup.templ, folder, fs::copy_options::recursive);
    const CampaignCommand command = setup.command(folder);
    bool killed = false;
    long waitMicros = 0;
    if (run >= 0) {
      waitMicros =
          startAndKill(command, span, setup.ready ? setup.ready(run) : nullptr, random, killed);
    }
    SCOPED_TRACE(run < 0 ? std::string("reference run")
                         : "run " + std::to_string(run) + ", kill after " +
                               std::to_string(waitMicros) + " us");
    killedCount += killed;
    if (run >= 0) setup.afterKill(folder);
    if (testing::Test::HasFatalFailure()) return;
    const long start = nowMicros();
    const ProcessResult result = runProcess(command.argv, command.env);
    span = nowMicros() - start;
    ASSERT_EQ(result.exitCode, 0) << result.err;
    setup.atEnd(folder);
    if (testing::Test::HasFatalFailure()) return;
    std::error_code ec;
    if (run >= 0) fs::remove_all(folder, ec);
  }
  std::cout << "[ crash    ] " << testing::UnitTest::GetInstance()->current_test_info()->name()
            << ": " << setup.runs << " runs, " << killedCount << " killed before they ended"
            << (setup.facts ? setup.facts() : "") << " (last undisturbed run " << span << " us)\n";
}

Tree randomTree(int folders, int files, std::size_t bytes, unsigned seed) {
  std::mt19937 random(seed);
  Tree tree;
  for (int d = 0; d < folders; ++d) {
    tree["d" + std::to_string(d)] = "/";
    for (int f = 0; f < files; ++f) {
      std::string& file = tree["d" + std::to_string(d) + "/f" + std::to_string(f) + ".bin"];
      file.resize(bytes);
      for (char& c : file)
        c = static_cast<char>(random());
    }
  }
  return tree;
}

void writeTree(const fs::path& folder, const Tree& tree) {
  fs::create_directories(folder);
  for (const auto& [name, bytes] : tree) {
    bytes == "/" ? (void)fs::create_directories(folder / name) : writeFile(folder / name, bytes);
  }
}

}  // namespace velko::test
