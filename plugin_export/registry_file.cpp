// PS.json belongs to Photoshop: read it with suspicion, copy it before any change, replace it
// whole.
#include "plugin_export/registry_file.h"

#include <system_error>

#include "core/outside_json.h"
#include "platform/platform.h"
#include "plugin_export/disk_basics.h"
#include "plugin_export/localize.h"

namespace velko::plugin_export {
namespace fs = std::filesystem;
using nlohmann::json;

std::optional<std::string> loadRegistry(const fs::path& uxpBaseDir, LoadedRegistry& registry) {
  const fs::path folder = uxpBaseDir / "PluginsInfo" / "v1";
  if (!ensureDirectory(folder)) {
    return L("Konnte PluginsInfo/v1 nicht anlegen: ", "Could not create PluginsInfo/v1: ") +
           folder.string();
  }
  registry.registryPath = folder / "PS.json";

  std::error_code ec;
  const fs::file_type type = fs::status(registry.registryPath, ec).type();
  if (type == fs::file_type::none || type == fs::file_type::not_found) {
    registry.root = json::object({{"plugins", json::array()}});
    return std::nullopt;
  }

  // Anything but a regular file (a folder, a FIFO, a device) is unreadable, never waited on.
  const std::optional<std::string> text = platform::readRegularFile(registry.registryPath);
  if (!text) {
    return L("Konnte PS.json nicht lesen: ", "Could not read PS.json: ") +
           registry.registryPath.string();
  }
  core::ParsedJson parsed = core::parseOutsideJson(*text);
  if (!parsed.value)
    return L("PS.json ist kein gültiges JSON: ", "PS.json is not valid JSON: ") + parsed.error;
  registry.root = std::move(*parsed.value);
  const json& root = registry.root;
  if (!root.is_object() || !root.contains("plugins") || !root.at("plugins").is_array()) {
    return L("PS.json hat nicht das erwartete Format ('plugins'-Array fehlt)",
             "PS.json does not have the expected format ('plugins' array missing)");
  }

  // A copy per load, before anything can change: the user can always go back to the file as it
  // was. Files we refused above are left alone and get no copy.
  registry.backupPath = registry.registryPath;
  registry.backupPath += ".bak-velko-" + millisSinceEpoch();
  fs::copy_file(registry.registryPath, registry.backupPath, fs::copy_options::overwrite_existing,
                ec);
  if (ec) {
    return L("Konnte PS.json nicht sichern (Backup): ", "Could not back up PS.json: ") +
           registry.backupPath.string();
  }
  return std::nullopt;
}

std::optional<std::string> writeFileAtomic(const fs::path& path, const std::string& contents) {
  // Same folder as the target, so the rename stays on one file system and is atomic. The
  // temporary is made new, never through a link planted at its name, and every byte is checked
  // and flushed before the rename: on a full disk a short temporary must never replace the
  // registry, and after a power cut PS.json holds the old or the new text.
  fs::path temp = path;
  temp += ".tmp-velko-" + millisSinceEpoch();
  const platform::ReplaceResult replaced = platform::replaceFile(path, contents, temp);
  switch (replaced.failure) {
    case platform::ReplaceFailure::None:
      return std::nullopt;
    case platform::ReplaceFailure::CreateTemporary:
      return L("Konnte Temp-Datei nicht anlegen: ", "Could not create temp file: ") + temp.string();
    case platform::ReplaceFailure::Write:
      return L("Schreibfehler: ", "Write error: ") + temp.string();
    case platform::ReplaceFailure::Rename:
      break;
  }
  return L("Konnte Datei nicht atomar ersetzen: ", "Could not replace file atomically: ") +
         path.string();
}

std::string registryText(const json& root) {
  return root.dump(2, ' ', false, json::error_handler_t::strict) + "\n";
}

std::optional<std::string> writeRegistry(LoadedRegistry& registry, json plugins) {
  registry.root["plugins"] = std::move(plugins);
  return writeFileAtomic(registry.registryPath, registryText(registry.root));
}

}  // namespace velko::plugin_export
