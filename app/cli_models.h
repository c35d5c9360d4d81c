// The command line's model road: "models", "models-fetch" and "models-remove".
#pragma once

#include "app/command_line.h"

namespace velko::app {

// Refreshes the model list, then runs the `--cli` word of `line` (any word beginning with
// "models"), writing facts to stdout and failures to stderr. Returns the exit code: 2 when no
// list is there at all, 64 for an unknown word, 1 when the action failed, 0 otherwise.
int runModelCommand(const CommandLine& line);

}  // namespace velko::app
