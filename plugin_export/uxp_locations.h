// Where Photoshop's UXP plug-in system keeps its data, and whether Photoshop runs right now.
#pragma once

#include <filesystem>

namespace velko::plugin_export {

// $VELKO_UXP_BASE_DIR exactly as it stands when set and not empty; otherwise
// $HOME/Library/Application Support/Adobe/UXP, with "/" for an unset or empty HOME.
// Cannot fail and creates nothing.
std::filesystem::path defaultUxpBaseDir();

// `uxpBaseDir` when it is not empty, else defaultUxpBaseDir(): how every operation reads the
// option.
std::filesystem::path uxpBaseDirOrDefault(const std::filesystem::path& uxpBaseDir);

// True when any process the caller may inspect has "Photoshop" (case-sensitive) in its short name.
// A snapshot; false on every failure to read the process table.
bool isPhotoshopRunning();

}  // namespace velko::plugin_export
