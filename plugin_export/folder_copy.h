// Copying an unpacked plug-in package into its version folder; private to this layer.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace velko::plugin_export {

// Copies every entry below `source` to the same relative place below `target`, overwriting files,
// except the top-level manifest.json, which the target received when it was created. Directories
// are created (a symbolic link to a directory becomes an empty directory); other entries are
// copied as files. Nothing on success, else the message for the first failure; what was copied
// stays. A read failure while advancing the walk throws std::filesystem::filesystem_error.
std::optional<std::string> copyPluginFiles(const std::filesystem::path& source,
                                           const std::filesystem::path& target);

}  // namespace velko::plugin_export
