// libFuzzer target for manifest.json: the package reader the front ends use, and the plug-in
// layer's reader behind the folder marker. Input: the bytes of manifest.json.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/fuzz_support.h"
#include "installer/plugin_package.h"
#include "plugin_export/manifest_info.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using velko::fuzz::require;
  const std::filesystem::path folder = velko::fuzz::scratchFolder() / "package";
  velko::fuzz::writeFile(folder / "manifest.json",
                         std::string_view(reinterpret_cast<const char*>(data), size));

  const auto package = velko::installer::readPluginPackage(folder);
  const auto marker = velko::plugin_export::readManifestFromFile(folder / "manifest.json");
  // The install copies this manifest into the version folder as its marker; if the two readers
  // disagreed, an installed plug-in would be foreign to its own update and uninstall.
  require(package.has_value() == marker.has_value(), "both readers accept the same manifests");
  if (!package) return 0;
  require(!package->id.empty() && !package->version.empty(), "id and version present");
  require(package->dir == folder, "folder kept as given");
  require(package->id == marker->id && package->name == marker->name &&
              package->version == marker->version,
          "both readers read the same identity");
  return 0;
}
