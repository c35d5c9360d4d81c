// Which plug-in version PS.json names, and whether Photoshop runs: asked before every action.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace velko::installer {

// The `versionString` of the first PS.json entry whose `pluginId` is `pluginId`, below
// `uxpBaseDir` (empty: the default UXP folder). May hold the empty string when the entry has no
// version. Nothing when PS.json is missing, unreadable or not the expected JSON, when an entry
// before the match has a `pluginId` that is no string, or when no entry matches. Reads only.
std::optional<std::string> installedVersion(const std::string& pluginId,
                                            const std::filesystem::path& uxpBaseDir);

// Whether a process with "Photoshop" in its name runs now. False when the process table cannot
// be read.
bool photoshopRunning();

// Asks every Photoshop process of the current user to quit, politely, and returns at once:
// Photoshop itself asks about unsaved work, and the caller looks again later. The number of
// processes that were sent the request; 0 when none runs or none may be asked.
int askPhotoshopToQuit();

}  // namespace velko::installer
