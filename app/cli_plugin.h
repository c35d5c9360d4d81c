// The command line's plug-in road: "status", "install" and "uninstall".
#pragma once

#include <optional>
#include <string>

#include "app/command_line.h"
#include "app/exit_codes.h"
#include "installer/plugin_package.h"

namespace velko::app {

// Runs the `--cli` word of `line` against `package`, writes its lines to stdout and its failures to
// stderr, and returns the exit code: 2 without a package, 64 for an unknown word, 3 when Photoshop
// runs and the action may not go on, 1 when the action failed.
int runPluginCommand(const CommandLine& line,
                     const std::optional<velko::installer::PluginPackage>& package);

}  // namespace velko::app
