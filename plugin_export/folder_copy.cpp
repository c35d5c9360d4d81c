// The folder copy of an install: every entry of the package, placed by its lexical relative path.
#include "plugin_export/folder_copy.h"

#include <system_error>

#include "plugin_export/localize.h"

namespace velko::plugin_export {
namespace fs = std::filesystem;

std::optional<std::string> copyPluginFiles(const fs::path& source, const fs::path& target) {
  std::error_code ec;
  fs::recursive_directory_iterator it(source, ec);
  // Advancing has no error-code form here on purpose: a read failure mid-walk is not one we can
  // describe better than the library does, and it ends the process.
  for (const fs::recursive_directory_iterator end; !ec && it != end; ++it) {
    // The walk yields paths below `source`, so the relative path is found lexically. Resolving it
    // would let a symbolic link inside the package point a destination outside the target.
    const fs::path relative = it->path().lexically_relative(source);
    if (relative == "manifest.json") continue;  // the marker came with the folder
    const fs::path destination = target / relative;
    std::error_code copyEc;
    if (it->is_directory()) {
      fs::create_directories(destination, copyEc);
      if (copyEc) {
        return L("Konnte Ordner nicht anlegen: ", "Could not create folder: ") +
               destination.string();
      }
      continue;
    }
    fs::create_directories(destination.parent_path(), copyEc);
    fs::copy_file(it->path(), destination, fs::copy_options::overwrite_existing, copyEc);
    if (copyEc) {
      return L("Konnte Datei nicht kopieren: ", "Could not copy file: ") + destination.string();
    }
  }
  if (ec) return L("Konnte Ordner nicht lesen: ", "Could not read folder: ") + source.string();
  return std::nullopt;
}

}  // namespace velko::plugin_export
