// The hand-over from main to the window: fonts, the application object, the controller, the loop.
// Free of Qt, so that the executable can name the entry it finds in the window module.
#pragma once

#include <filesystem>

#include "window/controller_options.h"

namespace velko::window {

// Registers the fonts in `fontFolder`, makes the application with the program name alone (the
// installer's own options are read already, and Qt would take some of them for its own), opens
// the window and runs until it closes. Returns the run loop's code, 0 as a rule.
int runWindow(const char* programName, const std::filesystem::path& fontFolder,
              ControllerOptions options);

// The window module's name for platform::modulePath (its output name in window/CMakeLists.txt),
// and the name of its entry below.
inline constexpr char kWindowModule[] = "velko-window";
inline constexpr char kWindowEntry[] = "velkoRunWindow";

}  // namespace velko::window

// runWindow as the window module exports it, under an unmangled name that the executable looks
// up after opening the module. Takes `options` over.
extern "C" int velkoRunWindow(const char* programName, const std::filesystem::path& fontFolder,
                              velko::window::ControllerOptions& options);
