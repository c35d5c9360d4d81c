// Which Photoshop applications lie on the machine, by bundle name and Info.plist version.
#include "installer/photoshop_discovery.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>

#include "installer/version_compare.h"
#include "platform/platform.h"

namespace velko::installer {
namespace fs = std::filesystem;
namespace {

bool hasPhotoshopPrefix(const fs::path& entry) {
  return entry.filename().string().starts_with("Adobe Photoshop");
}

// The direct entries of `folder`; a folder that cannot be read, or fails half-way, gives what was
// found so far.
std::vector<fs::path> directEntries(const fs::path& folder) {
  std::vector<fs::path> entries;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    entries.push_back(it->path());
  }
  return entries;
}

// Bundles stand directly in a root ("Adobe Photoshop 2023.app") or, as recent releases install
// themselves, one level down ("Adobe Photoshop 2024/Adobe Photoshop 2024.app").
std::vector<fs::path> collectBundlePaths(const std::vector<fs::path>& roots) {
  std::vector<fs::path> bundles;
  for (const fs::path& root : roots) {
    for (const fs::path& entry : directEntries(root)) {
      if (!hasPhotoshopPrefix(entry)) continue;
      if (entry.extension() == ".app") {
        bundles.push_back(entry);
        continue;
      }
      std::error_code ec;
      if (!fs::is_directory(entry, ec)) continue;
      for (const fs::path& child : directEntries(entry)) {
        if (child.extension() == ".app" && hasPhotoshopPrefix(child)) bundles.push_back(child);
      }
    }
  }
  return bundles;
}

std::string bundleVersion(const fs::path& bundle) {
  const std::optional<std::string> plist =
      platform::readRegularFile(bundle / "Contents" / "Info.plist");
  if (!plist) return {};
  return platform::propertyListString(*plist, "CFBundleShortVersionString").value_or("");
}

}  // namespace

std::vector<fs::path> defaultPhotoshopSearchRoots() {
  std::vector<fs::path> roots = {"/Applications"};
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home != '\0') roots.push_back(fs::path(home) / "Applications");
  return roots;
}

std::vector<PhotoshopInstall> findPhotoshopInstalls(const std::vector<fs::path>& roots,
                                                    const std::string& minVersion) {
  std::vector<PhotoshopInstall> installs;
  for (const fs::path& bundle : collectBundlePaths(roots)) {
    PhotoshopInstall install;
    install.path = bundle;
    install.name = bundle.stem().string();
    install.version = bundleVersion(bundle);
    install.compatible =
        !install.version.empty() && compareVersions(install.version, minVersion) >= 0;
    installs.push_back(std::move(install));
  }
  // Stable, so equal versions keep the order of the roots: /Applications before the user's own.
  std::stable_sort(installs.begin(), installs.end(),
                   [](const PhotoshopInstall& a, const PhotoshopInstall& b) {
                     return compareVersions(a.version, b.version) == 1;
                   });
  return installs;
}

}  // namespace velko::installer
