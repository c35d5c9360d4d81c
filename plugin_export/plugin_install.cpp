// The install's entry point: read the package's manifest, then run the install steps with the
// folder copy.
#include "plugin_export/plugin_install.h"

#include <system_error>

#include "plugin_export/folder_copy.h"
#include "plugin_export/install_core.h"
#include "plugin_export/localize.h"

namespace velko::plugin_export {
namespace fs = std::filesystem;

InstallResult installIntoPhotoshop(const fs::path& sourceFolder, const InstallOptions& options) {
  std::error_code ec;
  const fs::file_type type = fs::status(sourceFolder, ec).type();
  if (type == fs::file_type::none || type == fs::file_type::not_found) {
    InstallResult result;
    result.error = L("Ordner existiert nicht: ", "Folder does not exist: ") + sourceFolder.string();
    return result;
  }
  const fs::path manifestFile = sourceFolder / "manifest.json";
  const auto manifest = readManifestFromFile(manifestFile);
  if (!manifest) {
    InstallResult result;
    result.error =
        L("manifest.json konnte nicht gelesen werden: ", "manifest.json could not be read: ") +
        manifestFile.string();
    return result;
  }
  return installCore(
      *manifest, manifestFile,
      [&sourceFolder](const fs::path& target) { return copyPluginFiles(sourceFolder, target); },
      options);
}

}  // namespace velko::plugin_export
