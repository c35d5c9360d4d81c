// Removing one plug-in by id: its registry entries and every version folder with its marker.
#include "plugin_export/plugin_uninstall.h"

#include <system_error>

#include <nlohmann/json.hpp>

#include "plugin_export/install_core.h"
#include "plugin_export/localize.h"
#include "plugin_export/plugin_folders.h"
#include "plugin_export/registry_entry.h"
#include "plugin_export/registry_file.h"
#include "plugin_export/uxp_locations.h"

namespace velko::plugin_export {
namespace fs = std::filesystem;
using nlohmann::json;

UninstallResult uninstallFromPhotoshop(const std::string& pluginId, const InstallOptions& options) {
  UninstallResult result;
  const fs::path base = uxpBaseDirOrDefault(options.uxpBaseDir);
  const fs::path externalDir = base / "Plugins" / "External";

  // Loaded first: a registry we cannot read stops the uninstall before any folder is touched.
  LoadedRegistry registry;
  if (auto failure = loadRegistry(base, registry)) {
    result.error = *failure;
    return result;
  }
  result.registryPath = registry.registryPath.string();
  result.backupPath = registry.backupPath.string();

  json plugins = json::array();
  bool found = false;
  for (const json& element : registry.root.at("plugins")) {
    if (!isEntryOf(element, pluginId)) {
      plugins.push_back(element);
      continue;
    }
    found = true;  // the entry goes, whether or not its folder can be deleted
    const auto name =
        entryFolderName(element,
                        L("Registrierungseintrag mit unerwartetem Pfad übersprungen: ",
                          "Skipped registry entry with unexpected path: "),
                        result.warnings);
    if (!name) continue;
    const fs::path folder = externalDir / *name;
    if (removeMarkedFolder(folder, pluginId) == FolderRemoval::Failed) {
      result.warnings.push_back(
          L("Plugin-Ordner konnte nicht entfernt werden: ", "Could not remove plugin folder: ") +
          folder.string());
    }
  }

  std::error_code ec;
  bool removedFolder = false;
  if (fs::is_directory(externalDir, ec)) {
    // No folder is named "", so every marked version folder of the id goes.
    removedFolder =
        !removeSiblingVersionFolders(externalDir, pluginId, "", result.warnings).empty();
  }
  if (!found) {
    // Nothing registered: PS.json stays as it is, and a running Photoshop is no concern.
    result.ok = true;
    result.removed = removedFolder;
    return result;
  }

  if (auto failure = writeRegistry(registry, std::move(plugins))) {
    result.error = *failure;
    return result;
  }
  if (isPhotoshopRunning()) result.warnings.push_back(photoshopRunningWarning());
  result.ok = true;
  result.removed = true;
  return result;
}

}  // namespace velko::plugin_export
