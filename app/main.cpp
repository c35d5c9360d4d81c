// The installer's single entry: reads the command line, settles the language, finds the plug-in
// package and runs one command-line action or hands over to the window.
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/cli_models.h"
#include "app/cli_plugin.h"
#include "app/command_line.h"
#include "app/globals.h"
#include "app/language.h"
#include "installer/plugin_package.h"
#include "platform/platform.h"
#include "window/window_start.h"

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
  options.screenshotPath = QString::fromStdString(line.screenshot);
  options.autoAction = line.autoAction;
  options.assumeRunning = line.assumeRunning;
  options.english = gEnglish;
  options.openModels = gOpenModels;
  options.shotDelay = gShotDelay;
  options.modelStoreOptions = gModelStoreOptions;
  return velko::window::runWindow(argv[0], velko::platform::resourcePath() / "Fonts",
                                  std::move(options));
}
