// Install and uninstall as both front ends see them: what came of the plug-in layer's disk work.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "installer/plugin_package.h"

namespace velko::installer {

enum class ActionOutcome : int32_t {
  Installed = 0,           // first install
  Updated = 1,             // another version was in place
  Reinstalled = 2,         // the same version was in place
  Uninstalled = 3,         // something was removed
  NothingToUninstall = 4,  // nothing was there
  Failed = 5,              // the action failed
};

struct ActionResult {
  bool ok = false;
  ActionOutcome outcome = ActionOutcome::Failed;
  std::string previousVersion;                   // registered before the action; empty if none
  std::string newVersion;                        // install: the package's version, also on failure
  std::filesystem::path installDir;              // install: the version folder, once known
  std::vector<std::string> removedOlderFolders;  // install: folder names of removed versions
  std::string detail;  // failure: the plug-in layer's message in the message language
};

// Copies the package into the UXP folders below `uxpBaseDir` (empty: the default) and registers
// it, replacing an existing folder of the same version. Does not check for a running Photoshop.
// On failure `ok` is false, `outcome` is Failed and `detail` says why; `installDir` and
// `removedOlderFolders` still show what the plug-in layer got to.
ActionResult install(const PluginPackage& package, const std::filesystem::path& uxpBaseDir);

// Removes every registered version and version folder of the package's id below `uxpBaseDir`
// (empty: the default). Does not check for a running Photoshop. On failure `ok` is false,
// `outcome` is Failed and `detail` says why.
ActionResult uninstall(const PluginPackage& package, const std::filesystem::path& uxpBaseDir);

}  // namespace velko::installer
