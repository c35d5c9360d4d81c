// The records with which the plug-in layer is called (InstallOptions) and answers (InstallResult,
// UninstallResult). Plain values that own their strings; both results start false and empty.
#pragma once

#include <string>
#include <vector>

namespace velko::plugin_export {

// Options of both the install and the uninstall (the uninstall uses only `uxpBaseDir`).
struct InstallOptions {
  // The UXP base folder; empty means defaultUxpBaseDir(), evaluated by the operation.
  std::string uxpBaseDir;
  // Lowest Photoshop version the registry entry declares; empty or blank becomes "24.2.0" at
  // install, any other value is written as given.
  std::string hostMinVersion = "24.2.0";
  // Whether an existing folder of the same id and version may be deleted and written again.
  bool replaceExisting = true;
};

struct InstallResult {
  bool ok = false;                // folder in place and registry written
  std::string error;              // failure message in the current language; empty if ok
  std::string pluginFolder;       // target folder, set as soon as known
  std::string registryPath;       // full path of PS.json, set once the registry was loaded
  std::string backupPath;         // backup made by that load; empty when there was no file
  bool replacedExisting = false;  // a folder of the same id and version was written again
  std::vector<std::string> removedFolders;  // names of deleted older folders, in deletion order
  std::vector<std::string> warnings;        // non-fatal findings in the current language
};

struct UninstallResult {
  bool ok = false;                    // ended as intended, also when there was nothing to remove
  std::string error;                  // failure message; empty if ok
  std::string registryPath;           // as in InstallResult
  std::string backupPath;             // as in InstallResult
  bool removed = false;               // a registry entry or a version folder was removed
  std::vector<std::string> warnings;  // non-fatal findings
};

}  // namespace velko::plugin_export
