// Unpacking a downloaded model archive and swapping a package into place, for the model store.
#include "models/package_install.h"

#include <system_error>

#include "platform/platform.h"

namespace velko::models {
namespace fs = std::filesystem;

bool unzip(const fs::path& archive, const fs::path& destination) {
  return platform::extractZip(archive, destination);
}

bool staysInside(const fs::path& folder) {
  std::error_code ec;
  const std::string root = fs::weakly_canonical(folder, ec).string();
  ec.clear();
  // Links are reported but not entered. Each is judged by where its text leads: weakly_canonical
  // of the link itself would stop at a dangling link and answer with the link's own path, so
  // "../../x" would pass as long as x does not exist. A link that dangles inside is accepted.
  fs::recursive_directory_iterator it(folder, ec);
  for (const fs::recursive_directory_iterator end; !ec && it != end; it.increment(ec)) {
    std::error_code linkEc;
    if (!it->is_symlink(linkEc)) continue;
    const fs::path target = fs::read_symlink(it->path(), linkEc);
    if (linkEc) return false;
    const fs::path resolved = fs::weakly_canonical(it->path().parent_path() / target, linkEc);
    if (linkEc || resolved.string().rfind(root, 0) != 0) return false;
  }
  return !ec;
}

bool replacePath(const fs::path& source, const fs::path& target, const fs::path& old) {
  std::error_code ec;
  if (!fs::exists(fs::status(target, ec))) {
    fs::rename(source, target, ec);
    return !ec;
  }
  // The exchange leaves no moment without `target`; afterwards `source` holds the old package.
  if (platform::exchangePaths(source, target)) {
    fs::remove_all(source, ec);
    return true;
  }
  fs::remove_all(old, ec);
  fs::rename(target, old, ec);
  if (ec) return false;
  fs::rename(source, target, ec);
  if (!ec) {
    fs::remove_all(old, ec);
    return true;
  }
  fs::rename(old, target, ec);  // put the old package back; nothing more can be done if it fails
  return false;
}

bool unpackAndInspect(const fs::path& archive, const fs::path& unpackDir,
                      const std::string& package) {
  std::error_code ec;
  fs::remove_all(unpackDir, ec);  // leftovers of an earlier crash
  fs::create_directories(unpackDir, ec);
  if (!unzip(archive, unpackDir)) return false;
  // The package must be a real folder: a link named like it would be swapped in as a link.
  if (!fs::is_directory(fs::symlink_status(unpackDir / package, ec))) return false;
  if (!staysInside(unpackDir)) return false;
  // Nothing but the package may stand at the top; "__MACOSX", the resource folder of archives
  // made on macOS, is tolerated and removed with the unpack folder.
  fs::directory_iterator it(unpackDir, ec);
  for (const fs::directory_iterator end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (name != package && name != "__MACOSX") return false;
  }
  return !ec;
}

}  // namespace velko::models
