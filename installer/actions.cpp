// Install and uninstall as both front ends see them.
#include "installer/actions.h"

#include "installer/registered_version.h"
#include "plugin_export/plugin_install.h"
#include "plugin_export/plugin_uninstall.h"

namespace velko::installer {
namespace {

// Which of the three kinds of success an install was. Versions are compared byte for byte, not
// as versions: "1.0" replaced by "1.0.0" is an update, and so is a downgrade.
ActionOutcome installOutcome(const std::string& previousVersion, const std::string& newVersion,
                             const plugin_export::InstallResult& low) {
  if (previousVersion.empty() && !low.replacedExisting && low.removedFolders.empty()) {
    return ActionOutcome::Installed;
  }
  if (low.replacedExisting || previousVersion == newVersion) return ActionOutcome::Reinstalled;
  return ActionOutcome::Updated;
}

}  // namespace

ActionResult install(const PluginPackage& package, const std::filesystem::path& uxpBaseDir) {
  ActionResult result;
  result.newVersion = package.version;
  result.previousVersion = installedVersion(package.id, uxpBaseDir).value_or("");

  plugin_export::InstallOptions options;
  options.uxpBaseDir = uxpBaseDir.string();
  options.hostMinVersion = package.minHost;
  options.replaceExisting = true;
  const plugin_export::InstallResult low =
      plugin_export::installIntoPhotoshop(package.dir, options);

  result.installDir = low.pluginFolder;
  result.removedOlderFolders = low.removedFolders;
  if (!low.ok) {
    result.detail = low.error;
    return result;
  }
  result.ok = true;
  result.outcome = installOutcome(result.previousVersion, package.version, low);
  return result;
}

ActionResult uninstall(const PluginPackage& package, const std::filesystem::path& uxpBaseDir) {
  ActionResult result;
  result.previousVersion = installedVersion(package.id, uxpBaseDir).value_or("");

  plugin_export::InstallOptions options;
  options.uxpBaseDir = uxpBaseDir.string();
  const plugin_export::UninstallResult low =
      plugin_export::uninstallFromPhotoshop(package.id, options);
  if (!low.ok) {
    result.detail = low.error;
    return result;
  }
  result.ok = true;
  result.outcome = low.removed ? ActionOutcome::Uninstalled : ActionOutcome::NothingToUninstall;
  return result;
}

}  // namespace velko::installer
