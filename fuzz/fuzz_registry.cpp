// libFuzzer target for PS.json: an install loads the registry, rebuilds the `plugins` array for its
// plug-in id and writes it back; an uninstall then takes the entry out again. Everything happens
// in a scratch folder. Input: the bytes of PS.json.
#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

#include "core/outside_json.h"
#include "fuzz/fuzz_support.h"
#include "plugin_export/install_core.h"
#include "plugin_export/plugin_uninstall.h"
#include "plugin_export/registry_entry.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using velko::fuzz::require;

// An id no folder outside the scratch folder carries: entries may name any path, and the folder
// marker is all that guards a deletion.
const velko::plugin_export::ManifestInfo kManifest{"com.velko.fuzz", "Fuzz", "2.0"};

bool isOurs(const json& element) {
  return element.is_object() && element.contains("pluginId") && element["pluginId"] == kManifest.id;
}

// The documented way out of the install and the uninstall: an entry of ours whose "path" is no
// string raises the JSON library's type_error.
bool hasOwnEntryWithOddPath(const json& plugins) {
  for (const json& element : plugins) {
    if (isOurs(element) && element.contains("path") && !element["path"].is_string()) return true;
  }
  return false;
}

size_t backupCount(const fs::path& folder) {
  size_t count = 0;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    count += it->path().filename().string().starts_with("PS.json.bak-velko-") ? 1 : 0;
  }
  return count;
}

json withoutPlugins(json root) {
  root.erase("plugins");
  return root;
}

// The registry as written: the top level as before, the others' entries unchanged and in order.
json writtenRegistry(const fs::path& registry, const json& before) {
  const json after = json::parse(velko::fuzz::readFile(registry), nullptr, false, false);
  require(after.is_object() && after.contains("plugins") && after["plugins"].is_array(),
          "the written registry loads again");
  require(withoutPlugins(after) == withoutPlugins(before), "top-level keys kept");
  return after;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const fs::path base = velko::fuzz::scratchFolder() / "uxp";
  const fs::path v1 = base / "PluginsInfo" / "v1";
  const fs::path registry = v1 / "PS.json";
  // Written again each time: an entry's path may lead the install to this folder and delete it.
  const fs::path manifestFile = velko::fuzz::scratchFolder() / "package" / "manifest.json";
  std::error_code ec;
  fs::remove_all(base, ec);
  velko::fuzz::writeFile(registry, input);
  velko::fuzz::writeFile(manifestFile,
                         R"({"id": "com.velko.fuzz", "name": "Fuzz", "version": "2.0"})");

  // Parsed as every reader of outside JSON parses, nesting limit included.
  const json before = velko::core::parseOutsideJson(input).value.value_or(json());
  const bool loadable =
      before.is_object() && before.contains("plugins") && before["plugins"].is_array();

  const velko::plugin_export::InstallOptions options{base.string(), "24.2.0", true};
  velko::plugin_export::InstallResult installed;
  try {
    installed = velko::plugin_export::installCore(
        kManifest, manifestFile, [](const fs::path&) { return std::nullopt; }, options);
  } catch (const json::type_error&) {
    require(loadable && hasOwnEntryWithOddPath(before["plugins"]), "only an odd path throws");
    return 0;
  }
  if (!loadable) {
    require(!installed.ok, "a registry the loader refuses stops the install");
    require(velko::fuzz::readFile(registry) == input, "a refused registry stays as it was");
    require(backupCount(v1) == 0, "a refused registry gets no backup");
    return 0;
  }
  require(installed.ok, "a loadable registry takes the install");
  require(velko::fuzz::readFile(installed.backupPath) == input, "the backup holds the old bytes");

  // Every other element stays, in order; ours appears once, where the first old one stood.
  json others = json::array();
  size_t ownPlace = std::string::npos;
  for (const json& element : before["plugins"]) {
    if (!isOurs(element)) {
      others.push_back(element);
    } else if (ownPlace == std::string::npos) {
      ownPlace = others.size();
    }
  }
  if (ownPlace == std::string::npos) ownPlace = others.size();
  json expected = others;
  expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(ownPlace),
                  velko::plugin_export::registryEntry(kManifest, "24.2.0"));
  const json afterInstall = writtenRegistry(registry, before);
  require(afterInstall["plugins"] == expected, "install rebuilds plugins around the others");

  const std::string installedText = velko::fuzz::readFile(registry);
  const velko::plugin_export::UninstallResult removed =
      velko::plugin_export::uninstallFromPhotoshop(kManifest.id, options);
  require(removed.ok && removed.removed, "the uninstall takes the entry out");
  require(velko::fuzz::readFile(removed.backupPath) == installedText, "uninstall backup");
  require(writtenRegistry(registry, before)["plugins"] == others, "uninstall keeps the others");
  return 0;
}
