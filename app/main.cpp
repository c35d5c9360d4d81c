// The installer's single entry: reads the command line, settles the language, finds the plug-in
// package and runs one command-line action or hands over to the window module.
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/cli_models.h"
#include "app/cli_plugin.h"
#include "app/command_line.h"
#include "app/exit_codes.h"
#include "app/globals.h"
#include "app/language.h"
#include "installer/plugin_package.h"
#include "platform/platform.h"
#include "window/window_start.h"

namespace {

// Opens the window module and runs the window from it: Qt is loaded here and nowhere else. Without
// the module the run ends with a message in the user's language and exit code 1.
int runWindowModule(const char* programName, velko::window::ControllerOptions options) {
  namespace platform = velko::platform;
  using velko::window::kWindowEntry;
  const std::filesystem::path module = platform::modulePath(velko::window::kWindowModule);
  std::string reason = "the executable's own path is unknown";
  decltype(&velkoRunWindow) run = nullptr;
  if (!module.empty()) {
    if (void* library = platform::openLibrary(module, &reason)) {
      run = reinterpret_cast<decltype(run)>(platform::librarySymbol(library, kWindowEntry));
      reason = module.string() + " has no " + kWindowEntry;
    }
  }
  if (run != nullptr) return run(programName, platform::resourcePath() / "Fonts", options);
  std::fprintf(stderr, "%s%s\n",
               velko::app::gEnglish ? "error: the window could not be loaded: "
                                    : "Fehler: Das Fenster konnte nicht geladen werden: ",
               reason.c_str());
  return velko::app::kExitFailed;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace velko::app;
  const CommandLine line = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
  gOpenModels = line.openModels;
  gShotDelay = line.shotDelay;
  gEnglish = chooseEnglish(velko::platform::preferredLanguage(), line.lang);
  applyMessageLanguage(gEnglish);

  // Model words need no plug-in package, so they go before the search for one. Any word with this
  // beginning takes the model road, an unknown one is refused there.
  if (line.cli.rfind("models", 0) == 0) return runModelCommand(line);

  // A --plugin folder is taken as it is, with no fallback to the search beside the application.
  const std::optional<velko::installer::PluginPackage> package =
      line.plugin.empty() ? velko::installer::findPluginPackage(velko::platform::bundlePath())
                          : velko::installer::readPluginPackage(line.plugin);
  if (!line.cli.empty()) return runPluginCommand(line, package);

  velko::window::ControllerOptions options;
  options.package = package;
  options.uxpBaseDir = line.uxpBaseDir;
  options.screenshotPath = line.screenshot;
  options.autoAction = line.autoAction;
  options.assumeRunning = line.assumeRunning;
  options.english = gEnglish;
  options.openModels = gOpenModels;
  options.shotDelay = gShotDelay;
  options.modelStoreOptions = gModelStoreOptions;
  return runWindowModule(argv[0], std::move(options));
}
