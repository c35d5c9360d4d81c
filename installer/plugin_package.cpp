// The plug-in package beside the application: finding its folder and reading its manifest.json.
#include "installer/plugin_package.h"

#include <exception>

#include <nlohmann/json.hpp>

#include "core/outside_json.h"
#include "platform/platform.h"

namespace velko::installer {
namespace {

// `host` may be one object or an array whose first element alone counts; anything unexpected
// leaves the default in place rather than rejecting an otherwise good package.
void applyHostMinimum(const nlohmann::json& manifest, std::string& minHost) {
  const auto host = manifest.find("host");
  if (host == manifest.end()) return;
  const nlohmann::json* first = &*host;
  if (host->is_array()) {
    if (host->empty()) return;
    first = &host->front();
  }
  if (!first->is_object()) return;
  const auto minVersion = first->find("minVersion");
  if (minVersion != first->end() && minVersion->is_string()) {
    minHost = minVersion->get<std::string>();
  }
}

}  // namespace

std::optional<PluginPackage> readPluginPackage(const std::filesystem::path& folder) {
  const std::optional<std::string> text = platform::readRegularFile(folder / "manifest.json");
  if (!text) return std::nullopt;
  const core::ParsedJson parsed = core::parseOutsideJson(*text);
  if (!parsed.value) return std::nullopt;
  PluginPackage package;
  try {
    const nlohmann::json& manifest = *parsed.value;
    if (!manifest.is_object()) return std::nullopt;
    package.id = manifest.at("id").get<std::string>();
    package.name = manifest.at("name").get<std::string>();
    package.version = manifest.at("version").get<std::string>();
    applyHostMinimum(manifest, package.minHost);
  } catch (const std::exception&) {
    return std::nullopt;
  }
  if (package.id.empty() || package.version.empty()) return std::nullopt;
  package.dir = folder;
  return package;
}

std::optional<PluginPackage> findPluginPackage(const std::filesystem::path& bundle) {
  const std::filesystem::path parent = bundle.parent_path();
  // Inside the application first; then the disk image's hidden folder; then a plain folder.
  for (const std::filesystem::path& candidate :
       {bundle / "Contents" / "Resources" / "Plugin", parent / ".Plugin", parent / "Plugin"}) {
    if (auto package = readPluginPackage(candidate)) return package;
  }
  return std::nullopt;
}

}  // namespace velko::installer
