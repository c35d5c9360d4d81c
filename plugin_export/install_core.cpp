// The install's fixed order of steps. There is no rollback: the order is the design, and a
// repeated install brings a half-done one to the same end state.
#include "plugin_export/install_core.h"

#include <algorithm>
#include <cctype>
#include <system_error>

#include <nlohmann/json.hpp>

#include "plugin_export/disk_basics.h"
#include "plugin_export/localize.h"
#include "plugin_export/plugin_folders.h"
#include "plugin_export/registry_entry.h"
#include "plugin_export/registry_file.h"
#include "plugin_export/uxp_locations.h"

namespace velko::plugin_export {
namespace fs = std::filesystem;
using nlohmann::json;

namespace {

bool isBlank(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](unsigned char c) { return std::isspace(c) != 0; });
}

// Folders are compared by the file system's identity, so that another spelling of the same
// folder ("x/", "./x", "../External/x", a link) counts as the same.
bool sameFolder(const fs::path& a, const fs::path& b) {
  std::error_code ec;
  return fs::equivalent(a, b, ec) && !ec;
}

// True when `path` is `folder` or lies anywhere inside it.
bool liesWithin(const fs::path& path, const fs::path& folder) {
  std::error_code ec;
  fs::path current = fs::weakly_canonical(path, ec);
  if (ec) current = path;
  for (;; current = current.parent_path()) {
    if (sameFolder(current, folder)) return true;
    if (current.empty() || current == current.parent_path()) return false;
  }
}

}  // namespace

std::string photoshopRunningWarning() {
  return L(
      "Photoshop läuft — Plugin erscheint nach einem Neustart von Photoshop; die Registry "
      "wird von Photoshop beim Beenden ggf. überschrieben, dann Installation wiederholen.",
      "Photoshop is running — the plugin appears after Photoshop is restarted; Photoshop may "
      "overwrite the registry on quit, in that case install again.");
}

InstallResult installCore(const ManifestInfo& manifest, const fs::path& manifestFile,
                          const CopyFiles& copyFiles, const InstallOptions& options) {
  InstallResult result;
  InstallOptions opts = options;
  const fs::path base = uxpBaseDirOrDefault(opts.uxpBaseDir);
  // Only the emptiness test trims; a value with blanks around it is written as given.
  if (isBlank(opts.hostMinVersion)) opts.hostMinVersion = "24.2.0";

  const fs::path externalDir = base / "Plugins" / "External";
  if (!ensureDirectory(externalDir)) {
    result.error =
        L("Konnte Plugins/External nicht anlegen: ", "Could not create Plugins/External: ") +
        externalDir.string();
    return result;
  }
  const std::string folderName = versionFolderName(manifest);
  const fs::path target = externalDir / folderName;
  result.pluginFolder = target.string();

  std::error_code ec;
  if (fs::exists(fs::status(target, ec))) {
    // A foreign folder is never overwritten, whatever the options say.
    if (!folderMarkerMatches(target, manifest.id)) {
      result.error = L("Zielordner existiert bereits und trägt kein passendes manifest.json: ",
                       "Target folder already exists and has no matching manifest.json: ") +
                     target.string();
      return result;
    }
    // Installing from the installed folder itself would delete the source before copying it.
    if (!opts.replaceExisting || liesWithin(manifestFile.parent_path(), target)) {
      result.error = L("Plugin ist bereits in dieser Version installiert: ",
                       "Plugin is already installed in this version: ") +
                     target.string();
      return result;
    }
    if (removeMarkedFolder(target, manifest.id) != FolderRemoval::Removed) {
      result.error = L("Konnte vorhandenen Plugin-Ordner nicht entfernen: ",
                       "Could not remove existing plugin folder: ") +
                     target.string();
      return result;
    }
    result.replacedExisting = true;
  }

  // The target appears with its manifest already inside, so a kill during the copy leaves a folder
  // that the next install recognises and replaces instead of refusing it as foreign.
  if (!createFolderWithMarker(target, manifestFile)) {
    result.error = L("Konnte Plugin-Ordner nicht anlegen: ", "Could not create plugin folder: ") +
                   target.string();
    return result;
  }
  if (auto failure = copyFiles(target)) {
    result.error = *failure;
    return result;
  }

  LoadedRegistry registry;
  if (auto failure = loadRegistry(base, registry)) {
    result.error = *failure;
    return result;
  }
  result.registryPath = registry.registryPath.string();
  result.backupPath = registry.backupPath.string();

  const json entry = registryEntry(manifest, opts.hostMinVersion);
  json plugins = json::array();
  bool found = false;
  for (const json& element : registry.root.at("plugins")) {
    if (!isEntryOf(element, manifest.id)) {
      plugins.push_back(element);
      continue;
    }
    // The first entry of the id is replaced in its place, so the plug-in keeps its position.
    if (!found) plugins.push_back(entry);
    found = true;
    const auto oldName =
        entryFolderName(element,
                        L("Alter Registrierungseintrag mit unerwartetem Pfad übersprungen: ",
                          "Skipped old registry entry with unexpected path: "),
                        result.warnings);
    // Never the folder just written, however the old entry spells it.
    if (!oldName || *oldName == folderName || sameFolder(externalDir / *oldName, target)) continue;
    const fs::path oldFolder = externalDir / *oldName;
    const FolderRemoval removal = removeMarkedFolder(oldFolder, manifest.id);
    if (removal == FolderRemoval::Removed) result.removedFolders.push_back(*oldName);
    if (removal == FolderRemoval::Failed) {
      result.warnings.push_back(L("Alten Plugin-Ordner konnte nicht entfernt werden: ",
                                  "Could not remove old plugin folder: ") +
                                oldFolder.string());
    }
  }
  // Also catches version folders no entry named, and leftovers of interrupted runs.
  for (auto& name :
       removeSiblingVersionFolders(externalDir, manifest.id, folderName, result.warnings)) {
    result.removedFolders.push_back(std::move(name));
  }
  if (!found) plugins.push_back(entry);

  if (auto failure = writeRegistry(registry, std::move(plugins))) {
    result.error = *failure;
    return result;
  }
  // After the write, as it only decides on a warning; a running Photoshop never stops the install.
  if (isPhotoshopRunning()) result.warnings.push_back(photoshopRunningWarning());
  result.ok = true;
  return result;
}

}  // namespace velko::plugin_export
