// Which Photoshop applications lie on the machine, and which are new enough for the plug-in.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace velko::installer {

struct PhotoshopInstall {
  std::filesystem::path path;  // the .app bundle
  std::string name;            // the bundle's file name without ".app"
  std::string version;         // CFBundleShortVersionString; empty if it could not be read
  bool compatible = false;     // version is known and at least the minimum asked for
};

// "/Applications", then $HOME/Applications when HOME is set and not empty. The folders need not
// exist. Never fails.
std::vector<std::filesystem::path> defaultPhotoshopSearchRoots();

// The bundles named "Adobe Photoshop*.app" directly in each root or one folder below it (inside a
// folder whose name also begins with "Adobe Photoshop"), highest version first, ties in the order
// found. Missing or unreadable folders and plists are skipped silently; the worst result is empty.
std::vector<PhotoshopInstall> findPhotoshopInstalls(const std::vector<std::filesystem::path>& roots,
                                                    const std::string& minVersion);

}  // namespace velko::installer
