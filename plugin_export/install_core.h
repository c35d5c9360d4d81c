// The install's steps from a read manifest onwards, and the warning about a running Photoshop;
// private to this layer.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "plugin_export/install_types.h"
#include "plugin_export/manifest_info.h"

namespace velko::plugin_export {

// Receives the target folder, which already holds the manifest; returns a failure message or
// nothing.
using CopyFiles = std::function<std::optional<std::string>(const std::filesystem::path&)>;

// Creates Plugins/External/<id>_<version> with a copy of `manifestFile` inside, calls `copyFiles`
// for the rest, registers the version in PS.json in place of every older entry of the id, and
// deletes the older version folders that carry the id's marker. `manifestFile` lies at the top of
// the folder the files come from; a source that is the target or lies inside it is refused before
// anything is deleted. On failure `ok` is false and `error` set; nothing done before the failing
// step is undone.
InstallResult installCore(const ManifestInfo& manifest, const std::filesystem::path& manifestFile,
                          const CopyFiles& copyFiles, const InstallOptions& options);

// The warning of install and uninstall for a running Photoshop, in the current language.
std::string photoshopRunningWarning();

}  // namespace velko::plugin_export
