// Recognising, building and resolving the PS.json entries of one plug-in id.
#include "plugin_export/registry_entry.h"

namespace velko::plugin_export {
using nlohmann::json;

namespace {
constexpr std::string_view kExternalPrefix = "$localPlugins/External/";
}  // namespace

std::string versionFolderName(const ManifestInfo& manifest) {
  return manifest.id + "_" + manifest.version;
}

json registryEntry(const ManifestInfo& manifest, const std::string& hostMinVersion) {
  return json{{"hostMinVersion", hostMinVersion},
              {"name", manifest.name},
              {"path", std::string(kExternalPrefix) + versionFolderName(manifest)},
              {"pluginId", manifest.id},
              {"status", "enabled"},
              {"type", "uxp"},
              {"versionString", manifest.version}};
}

bool isEntryOf(const json& element, const std::string& id) {
  if (!element.is_object()) return false;
  const auto pluginId = element.find("pluginId");
  return pluginId != element.end() && pluginId->is_string() &&
         pluginId->get_ref<const std::string&>() == id;
}

std::optional<std::string> folderNameFromRegistryPath(const std::string& path) {
  if (path.size() <= kExternalPrefix.size() || path.rfind(kExternalPrefix, 0) != 0) {
    return std::nullopt;
  }
  return path.substr(kExternalPrefix.size());
}

std::optional<std::string> entryFolderName(const json& entry, const std::string& unexpectedPathText,
                                           std::vector<std::string>& warnings) {
  const std::string path = entry.value("path", std::string());
  auto name = folderNameFromRegistryPath(path);
  if (!name && !path.empty()) warnings.push_back(unexpectedPathText + path);
  return name;
}

}  // namespace velko::plugin_export
