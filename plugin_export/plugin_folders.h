// Creating and deleting plug-in version folders below Plugins/External so that a folder never
// exists without its marker and is never deleted without it; private to this layer.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace velko::plugin_export {

enum class FolderRemoval { NotMarked, Removed, Failed };

// Deletes `folder` if folderMarkerMatches(folder, id), else leaves it alone (NotMarked). The
// folder is first renamed to <name>.velko-trash-<ms> beside itself, so its name is free at once,
// and then emptied with its top-level manifest.json last, so an interrupted delete leaves a marked
// folder that a later run removes. Failed when the rename or any deletion fails; what was not
// deleted stays. A symbolic link is removed itself, never what it points to.
FolderRemoval removeMarkedFolder(const std::filesystem::path& folder, const std::string& id);

// Makes `target` appear with `manifestFile` already inside: a staging folder
// <target>.velko-staging-<ms> gets a copy of the manifest and is renamed to `target`. Parents of
// the target are created. False when any step fails; the staging folder is then taken away again.
bool createFolderWithMarker(const std::filesystem::path& target,
                            const std::filesystem::path& manifestFile);

// Deletes the directories in `externalDir` whose names begin with "<id>_", differ from
// `keepFolder`, and carry the marker of `id`, in ascending order of their paths; empty unmarked
// leftovers of this layer's own staging and trash folders go too, unreported. Returns the names of
// the deleted marked folders; each failed deletion adds a warning with the folder's path. An
// unreadable `externalDir` counts as empty.
std::vector<std::string> removeSiblingVersionFolders(const std::filesystem::path& externalDir,
                                                     const std::string& id,
                                                     const std::string& keepFolder,
                                                     std::vector<std::string>& warnings);

}  // namespace velko::plugin_export
