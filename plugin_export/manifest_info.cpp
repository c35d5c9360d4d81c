// Reading a plug-in manifest and the marker test that stands before every deletion of a folder.
#include "plugin_export/manifest_info.h"

#include <fstream>
#include <iterator>
#include <system_error>

#include <nlohmann/json.hpp>

namespace velko::plugin_export {
namespace fs = std::filesystem;
using nlohmann::json;

std::optional<ManifestInfo> readManifestFromFile(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  ManifestInfo info;
  try {
    const json doc = json::parse(text);
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
