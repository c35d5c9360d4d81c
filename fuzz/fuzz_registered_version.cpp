// libFuzzer target for the registered-version reader behind `status`. Input: the bytes of PS.json.
// Besides crashes it traps when the status reports a version the install's own loader would not
// read from the same file, and when the status leaves anything behind.
#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

#include "fuzz/fuzz_support.h"
#include "installer/registered_version.h"
#include "plugin_export/registry_file.h"

namespace {

namespace fs = std::filesystem;
using velko::fuzz::require;

const std::string kId = "com.velko.fuzz";

size_t entryCount(const fs::path& folder) {
  size_t count = 0;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
    ++count;
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const fs::path base = velko::fuzz::scratchFolder() / "uxp";
  const fs::path v1 = base / "PluginsInfo" / "v1";
  std::error_code ec;
  fs::remove_all(base, ec);
  velko::fuzz::writeFile(v1 / "PS.json",
                         std::string_view(reinterpret_cast<const char*>(data), size));

  const std::optional<std::string> version = velko::installer::installedVersion(kId, base);
  require(entryCount(v1) == 1, "status reads only");
  if (!version) return 0;

  // What the status reports, the install finds as the first entry of the id.
  velko::plugin_export::LoadedRegistry registry;
  require(!velko::plugin_export::loadRegistry(base, registry), "the install's loader accepts it");
  for (const nlohmann::json& element : registry.root["plugins"]) {
    if (!element.is_object() || element.value("pluginId", nlohmann::json()) != kId) continue;
    require(element.value("versionString", std::string()) == *version, "the same version");
    return 0;
  }
  require(false, "the install's loader finds the entry");
  return 0;
}
