// The UXP base folder and the scan of the process table for a running Photoshop.
#include "plugin_export/uxp_locations.h"

#include <cstdlib>
#include <string>

#include "platform/platform.h"

namespace velko::plugin_export {
namespace fs = std::filesystem;

fs::path defaultUxpBaseDir() {
  const char* override = std::getenv("VELKO_UXP_BASE_DIR");
  if (override != nullptr && *override != '\0') return fs::path(override);
  // No user-database lookup: HOME alone decides, and without it the folders hang below the root.
  const char* home = std::getenv("HOME");
  fs::path base = (home != nullptr && *home != '\0') ? fs::path(home) : fs::path("/");
  return base / "Library" / "Application Support" / "Adobe" / "UXP";
}

fs::path uxpBaseDirOrDefault(const fs::path& uxpBaseDir) {
  return uxpBaseDir.empty() ? defaultUxpBaseDir() : uxpBaseDir;
}

std::vector<int> photoshopProcessIds() {
  std::vector<int> pids;
  for (const int pid : platform::listProcessIds()) {
    if (pid == 0) continue;
    const auto name = platform::processShortName(pid);
    if (!name || name->empty()) continue;  // another user's process, or one that has ended
    // A substring on purpose: helper processes that carry the word count as Photoshop too.
    if (name->find("Photoshop") != std::string::npos) pids.push_back(pid);
  }
  return pids;
}

bool isPhotoshopRunning() {
  return !photoshopProcessIds().empty();
}

}  // namespace velko::plugin_export
