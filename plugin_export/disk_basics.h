// Small disk helpers shared by the registry and folder code; private to this layer.
#pragma once

#include <filesystem>
#include <string>

namespace velko::plugin_export {

// The current system time in milliseconds since the Unix epoch, as decimal digits. Used to make
// names of backups, temporary files, staging and trash folders unlikely to clash.
std::string millisSinceEpoch();

// Creates `folder` with all parents. True when it is a directory afterwards; a creation call that
// reports a failure for a folder that exists all the same is no failure.
bool ensureDirectory(const std::filesystem::path& folder);

}  // namespace velko::plugin_export
