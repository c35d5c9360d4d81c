// Reading a plug-in manifest and the marker test that stands before every deletion of a folder.
#include "plugin_export/manifest_info.h"

#include <system_error>

#include <nlohmann/json.hpp>

#include "core/outside_json.h"
#include "platform/platform.h"

namespace velko::plugin_export {
namespace fs = std::filesystem;
using nlohmann::json;

std::optional<ManifestInfo> readManifestFromFile(const fs::path& file) {
  // A manifest that is no regular file (a folder, a FIFO) is no manifest: no marker, no package.
  const std::optional<std::string> text = platform::readRegularFile(file);
  if (!text) return std::nullopt;
  const core::ParsedJson parsed = core::parseOutsideJson(*text);
  if (!parsed.value) return std::nullopt;
  ManifestInfo info;
  try {
    const json& doc = *parsed.value;
    info.id = doc.at("id").get<std::string>();
    info.name = doc.at("name").get<std::string>();
    info.version = doc.at("version").get<std::string>();
  } catch (const json::exception&) {
    return std::nullopt;
  }
  if (info.id.empty() || info.version.empty()) return std::nullopt;
  return info;
}

bool folderMarkerMatches(const fs::path& folder, const std::string& id) {
  std::error_code ec;
  if (!fs::exists(fs::status(folder, ec))) return false;
  const auto manifest = readManifestFromFile(folder / "manifest.json");
  return manifest && manifest->id == id;
}

}  // namespace velko::plugin_export
