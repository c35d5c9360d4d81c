// Kills a child process with SIGKILL at random moments spread over the length of an undisturbed
// run.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace velko::test {

class KillCampaign {
 public:
  using Env = std::map<std::string, std::optional<std::string>>;

  KillCampaign() : random_(std::random_device{}()) {}

  // Runs `argv` to its end, like runProcess, and keeps its duration as the span for later kills.
  // Taking the span anew from each completed run keeps the kills reaching the late steps when the
  // machine is busy.
  ProcessResult timedRun(const std::vector<std::string>& argv, const Env& env = {});

  // Starts `argv`, waits a random time of up to a third more than the last span, kills the child
  // with SIGKILL and reaps it. With `ready`, the wait begins only once `ready()` holds (polled
  // every millisecond) and is shortened by the time that took, so the kills aim at the steps after
  // that point, up to a third more than the rest of the span. Returns the wait in microseconds;
  // `killed` tells whether the kill ended the child (false when it had already exited).
  long startAndKill(const std::vector<std::string>& argv, const Env& env, bool& killed,
                    const std::function<bool()>& ready = {});

  long span() const { return spanMicros_; }

 private:
  std::mt19937 random_;
  long spanMicros_ = 0;
};

}  // namespace velko::test
