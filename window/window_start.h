// The hand-over from main to the window: fonts, the application object, the controller, the loop.
#pragma once

#include <filesystem>

#include "window/controller.h"

namespace velko::window {

// Registers the fonts in `fontFolder`, makes the application with the program name alone (the
// installer's own options are read already, and Qt would take some of them for its own), opens
// the window and runs until it closes. Returns the run loop's code, 0 as a rule.
int runWindow(const char* programName, const std::filesystem::path& fontFolder,
              ControllerOptions options);

}  // namespace velko::window
