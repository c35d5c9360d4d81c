// Where Photoshop's UXP plug-in system keeps its data, and whether Photoshop runs right now.
#pragma once

#include <filesystem>
#include <vector>

namespace velko::plugin_export {

// $VELKO_UXP_BASE_DIR exactly as it stands when set and not empty; otherwise
// $HOME/Library/Application Support/Adobe/UXP, with "/" for an unset or empty HOME.
// Cannot fail and creates nothing.
std::filesystem::path defaultUxpBaseDir();

// `uxpBaseDir` when it is not empty, else defaultUxpBaseDir(): how every operation reads the
// option.
std::filesystem::path uxpBaseDirOrDefault(const std::filesystem::path& uxpBaseDir);

// The processes the caller may inspect that have "Photoshop" (case-sensitive) in their short name.
// A snapshot; empty on every failure to read the process table.
std::vector<int> photoshopProcessIds();

// True when photoshopProcessIds() finds any.
bool isPhotoshopRunning();

}  // namespace velko::plugin_export
