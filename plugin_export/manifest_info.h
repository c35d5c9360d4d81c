// A plug-in's identity as its manifest.json states it, and the folder marker built on it; private
// to this layer.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace velko::plugin_export {

struct ManifestInfo {
  std::string id;       // never empty
  std::string name;     // may be empty
  std::string version;  // never empty
};

// The "id", "name" and "version" strings of a manifest.json. Nothing when the file cannot be
// read, is no JSON, lacks a key or has a non-string value, or when id or version is empty.
std::optional<ManifestInfo> readManifestFromFile(const std::filesystem::path& file);

// The folder marker: true only when `folder` exists and its top-level manifest.json reads with
// exactly this `id`. Version and name do not matter. False on any failure.
bool folderMarkerMatches(const std::filesystem::path& folder, const std::string& id);

}  // namespace velko::plugin_export
