// The plug-in package beside the application: finding its folder and reading its manifest.json.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace velko::installer {

struct PluginPackage {
  std::filesystem::path dir;       // the folder holding manifest.json, as it was passed in
  std::string id;                  // never empty
  std::string name;                // may be empty
  std::string version;             // never empty
  std::string minHost = "24.2.0";  // lowest Photoshop version the plug-in runs in
};

// The package in `folder`. Nothing when manifest.json cannot be read, is no strict JSON object,
// lacks a string `id`, `name` or `version`, or has an empty `id` or `version`.
std::optional<PluginPackage> readPluginPackage(const std::filesystem::path& folder);

// The package belonging to the application bundle `bundle`: the first readable one of
// <bundle>/Contents/Resources/Plugin, <parent>/.Plugin and <parent>/Plugin. Nothing when none of
// them holds a usable package.
std::optional<PluginPackage> findPluginPackage(const std::filesystem::path& bundle);

}  // namespace velko::installer
