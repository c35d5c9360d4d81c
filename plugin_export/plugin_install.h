// Installs one plug-in version from an unpacked package folder into Photoshop's UXP folders.
#pragma once

#include <filesystem>

#include "plugin_export/install_types.h"

namespace velko::plugin_export {

// Copies `sourceFolder` (manifest.json at its top) to Plugins/External/<id>_<version>, registers
// it in PS.json as the only version of its id, and removes older version folders that carry the
// plug-in's manifest. On failure `ok` is false, `error` holds the message and the fields are
// filled up to the failing step; nothing done before it is undone.
InstallResult installIntoPhotoshop(const std::filesystem::path& sourceFolder,
                                   const InstallOptions& options);

}  // namespace velko::plugin_export
