// Loading, backing up and atomically replacing Photoshop's PS.json; private to this layer.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace velko::plugin_export {

// PS.json as loaded for one operation.
struct LoadedRegistry {
  nlohmann::json root;                 // an object with a "plugins" array after a successful load
  std::filesystem::path registryPath;  // <base>/PluginsInfo/v1/PS.json
  std::filesystem::path backupPath;    // the copy made by this load; empty if there was no file
};

// Creates PluginsInfo/v1 below `uxpBaseDir` and loads PS.json into `registry`; a missing file is
// an empty "plugins" array. An existing file that parses as expected is first copied to
// PS.json.bak-velko-<ms>. Nothing on success, else the failure message; `registry` is filled as
// far as it got, and PS.json is never changed.
std::optional<std::string> loadRegistry(const std::filesystem::path& uxpBaseDir,
                                        LoadedRegistry& registry);

// Writes `contents` to <path>.tmp-velko-<ms> and renames it over `path`, so readers see the old
// or the new file whole. Nothing on success, else the failure message; the old file stays then.
std::optional<std::string> writeFileAtomic(const std::filesystem::path& path,
                                           const std::string& contents);

// The text form of a written registry: indent 2, UTF-8 kept unescaped, one final line feed.
// Throws nlohmann's type_error for strings that are not valid UTF-8 (the parser rejects those).
std::string registryText(const nlohmann::json& root);

// Puts `plugins` into the loaded document and writes it to its registry path with
// writeFileAtomic. Nothing on success, else the failure message.
std::optional<std::string> writeRegistry(LoadedRegistry& registry, nlohmann::json plugins);

}  // namespace velko::plugin_export
