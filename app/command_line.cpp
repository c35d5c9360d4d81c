// Turns the argument list into a CommandLine: whole-word option names, no short or "=" forms.
#include "app/command_line.h"

#include <cstdlib>

namespace velko::app {

CommandLine parseCommandLine(const std::vector<std::string>& args) {
  CommandLine line;
  std::string shotDelayText;
  bool shotDelayGiven = false;
  const struct {
    const char* name;
    std::string* value;
  } valueOptions[] = {
      {"--lang", &line.lang},
      {"--plugin", &line.plugin},
      {"--uxp-base-dir", &line.uxpBaseDir},
      {"--cli", &line.cli},
      {"--model", &line.model},
      {"--auto", &line.autoAction},
      {"--screenshot", &line.screenshot},
      {"--shot-delay", &shotDelayText},
      {"--model-test-key", &line.modelTestKey},
  };
  const struct {
    const char* name;
    bool* flag;
  } flags[] = {
      {"--models", &line.openModels},
      {"--ignore-photoshop", &line.ignorePhotoshop},
      {"--assume-running", &line.assumeRunning},
  };

  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    bool matched = false;
    for (const auto& option : valueOptions) {
      if (arg != option.name) continue;
      // The next argument is the value even when it looks like an option; standing last clears it.
      *option.value = i + 1 < args.size() ? args[++i] : std::string();
      if (option.value == &shotDelayText) shotDelayGiven = true;
      matched = true;
      break;
    }
    if (matched) continue;
    for (const auto& flag : flags) {
      if (arg == flag.name) *flag.flag = true;
    }
  }
  if (shotDelayGiven) line.shotDelay = std::atof(shotDelayText.c_str());
  return line;
}

}  // namespace velko::app
