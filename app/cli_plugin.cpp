// Prints the plug-in road's facts one per line, in fixed English words, and maps results to exit
// codes.
#include "app/cli_plugin.h"

#include <cstdio>

#include "app/globals.h"
#include "installer/actions.h"
#include "installer/photoshop_discovery.h"
#include "installer/registered_version.h"

namespace velko::app {
namespace {

namespace inst = velko::installer;

const char* outcomeWord(inst::ActionOutcome outcome) {
  switch (outcome) {
    case inst::ActionOutcome::Installed:
      return "installed";
    case inst::ActionOutcome::Updated:
      return "updated";
    case inst::ActionOutcome::Reinstalled:
      return "reinstalled";
    case inst::ActionOutcome::Uninstalled:
      return "uninstalled";
    case inst::ActionOutcome::NothingToUninstall:
      return "nothing-to-uninstall";
    case inst::ActionOutcome::Failed:
      break;
  }
  return "failed";
}

int printStatus(const inst::PluginPackage& package, const std::filesystem::path& uxpBaseDir) {
  const std::string installed = inst::installedVersion(package.id, uxpBaseDir).value_or("");
  std::printf("plugin: %s %s (%s)\n", package.name.c_str(), package.version.c_str(),
              package.id.c_str());
  std::printf("installed: %s\n", installed.empty() ? "none" : installed.c_str());
  std::printf("photoshop-running: %s\n", inst::photoshopRunning() ? "yes" : "no");
  for (const inst::PhotoshopInstall& ps :
       inst::findPhotoshopInstalls(inst::defaultPhotoshopSearchRoots(), package.minHost)) {
    std::printf("photoshop: %s %s %s\n", ps.name.c_str(), ps.version.c_str(),
                ps.compatible ? "compatible" : "too-old");
  }
  return kExitOk;
}

int runAction(bool install, const CommandLine& line, const inst::PluginPackage& package) {
  if (!line.ignorePhotoshop && inst::photoshopRunning()) {
    std::fprintf(stderr, "%s\n",
                 gEnglish ? "error: Photoshop is running, quit it first"
                          : "Fehler: Photoshop läuft, bitte zuerst beenden");
    return kExitPhotoshopRunning;
  }
  const std::filesystem::path base = line.uxpBaseDir;
  const inst::ActionResult result =
      install ? inst::install(package, base) : inst::uninstall(package, base);
  if (!result.ok) {
    std::fprintf(stderr, "failed: %s\n", result.detail.c_str());
    return kExitFailed;
  }
  std::string text = outcomeWord(result.outcome);
  if (!result.previousVersion.empty()) text += " previous=" + result.previousVersion;
  if (install && !result.newVersion.empty()) text += " version=" + result.newVersion;
  std::printf("%s\n", text.c_str());
  return kExitOk;
}

}  // namespace

int runPluginCommand(const CommandLine& line, const std::optional<inst::PluginPackage>& package) {
  // The missing package is answered before the word is looked at, so an unknown word without a
  // package also gets this refusal.
  if (!package) {
    std::fprintf(stderr, "%s\n",
                 gEnglish ? "error: plugin not found" : "Fehler: Plugin nicht gefunden");
    return kExitNoPackage;
  }
  if (line.cli == "status") return printStatus(*package, line.uxpBaseDir);
  if (line.cli == "install") return runAction(true, line, *package);
  if (line.cli == "uninstall") return runAction(false, line, *package);
  std::fprintf(stderr, "unknown --cli command: %s\n", line.cli.c_str());
  return kExitUnknownWord;
}

}  // namespace velko::app
