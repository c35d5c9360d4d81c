// The plug-in entries of PS.json: how one is recognised, built, and mapped to its folder; private
// to this layer.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "plugin_export/manifest_info.h"

namespace velko::plugin_export {

// "<id>_<version>": the plug-in's folder name below Plugins/External and the tail of its entry's
// path. The text is not cleaned.
std::string versionFolderName(const ManifestInfo& manifest);

// The seven-key entry this layer writes for a plug-in version.
nlohmann::json registryEntry(const ManifestInfo& manifest, const std::string& hostMinVersion);

// True when `element` is an object whose "pluginId" is a string equal to `id`, byte for byte.
bool isEntryOf(const nlohmann::json& element, const std::string& id);

// The text after "$localPlugins/External/", or nothing when the path lacks that prefix or has
// nothing after it. Slashes and dots are kept: the folder marker guards every deletion.
std::optional<std::string> folderNameFromRegistryPath(const std::string& path);

// The folder name an entry's "path" names. Nothing when the path is missing or lies outside
// Plugins/External; a non-empty such path adds `unexpectedPathText` + path to `warnings`.
// A "path" that is not a string throws nlohmann's type_error, which this layer passes on.
std::optional<std::string> entryFolderName(const nlohmann::json& entry,
                                           const std::string& unexpectedPathText,
                                           std::vector<std::string>& warnings);

}  // namespace velko::plugin_export
