// Which plug-in version PS.json names, and whether Photoshop runs.
#include "installer/registered_version.h"

#include <exception>

#include <nlohmann/json.hpp>

#include "core/outside_json.h"
#include "platform/platform.h"
#include "plugin_export/uxp_locations.h"

namespace velko::installer {

std::optional<std::string> installedVersion(const std::string& pluginId,
                                            const std::filesystem::path& uxpBaseDir) {
  // Read directly rather than through the plug-in layer's registry loader: a look at the status
  // must create no folders and leave no backup behind.
  const std::filesystem::path base = plugin_export::uxpBaseDirOrDefault(uxpBaseDir);
  const std::optional<std::string> text =
      platform::readRegularFile(base / "PluginsInfo" / "v1" / "PS.json");
  if (!text) return std::nullopt;
  const core::ParsedJson parsed = core::parseOutsideJson(*text);
  if (!parsed.value) return std::nullopt;
  try {
    const nlohmann::json& root = *parsed.value;
    if (!root.is_object()) return std::nullopt;
    const auto plugins = root.find("plugins");
    if (plugins == root.end() || !plugins->is_array()) return std::nullopt;
    for (const nlohmann::json& entry : *plugins) {
      if (!entry.is_object()) continue;
      // A non-string id or version throws; the file is then too odd to trust for any entry.
      if (entry.value("pluginId", std::string()) != pluginId) continue;
      return entry.value("versionString", std::string());
    }
  } catch (const std::exception&) {
    return std::nullopt;
  }
  return std::nullopt;
}

bool photoshopRunning() {
  return plugin_export::isPhotoshopRunning();
}

int askPhotoshopToQuit() {
  // Wider than the running check on purpose: any application with the word in its name is asked.
  return platform::askApplicationsToQuit("com.adobe.Photoshop", "Photoshop");
}

}  // namespace velko::installer
