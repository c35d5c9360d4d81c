// Removes one plug-in, by id, from Photoshop's UXP folders and registry.
#pragma once

#include <string>

#include "plugin_export/install_types.h"

namespace velko::plugin_export {

// Drops every PS.json entry of `pluginId` and deletes every version folder that carries its
// manifest; only `options.uxpBaseDir` is used. Finding nothing is ok with `removed` false. On
// failure `ok` is false and `error` holds the message; deletions already made stay made.
UninstallResult uninstallFromPhotoshop(const std::string& pluginId, const InstallOptions& options);

}  // namespace velko::plugin_export
