// Random SIGKILLs for the crash-consistency suites.
#include "tests/support/kill_campaign.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

namespace velko::test {

ProcessResult KillCampaign::timedRun(const std::vector<std::string>& argv, const Env& env) {
  const auto start = std::chrono::steady_clock::now();
  ProcessResult result = runProcess(argv, env);
  spanMicros_ = std::chrono::duration_cast<std::chrono::microseconds>(
                    std::chrono::steady_clock::now() - start)
                    .count();
  return result;
}

long KillCampaign::startAndKill(const std::vector<std::string>& argv, const Env& env, bool& killed,
                                const std::function<bool()>& ready) {
  const auto start = std::chrono::steady_clock::now();
  const auto elapsed = [&] {
    return static_cast<long>(std::chrono::duration_cast<std::chrono::microseconds>(
                                 std::chrono::steady_clock::now() - start)
                                 .count());
  };
  const pid_t pid = startProcess(argv, env);
  int status = 0;
  long lead = 0;
  if (ready) {
    while (!ready() && elapsed() < spanMicros_) {
      if (waitpid(pid, &status, WNOHANG) == pid) {
        killed = false;
        return 0;
      }
      usleep(1000);
    }
    lead = elapsed();
  }
  const long rest = std::max(0L, spanMicros_ - lead);
  const long waitMicros = std::uniform_int_distribution<long>(0, rest + rest / 3)(random_);
  usleep(static_cast<useconds_t>(waitMicros));
  kill(pid, SIGKILL);
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  killed = WIFSIGNALED(status);
  return lead + waitMicros;
}

}  // namespace velko::test
