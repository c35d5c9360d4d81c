// Time-stamped names and folder creation for the plug-in layer.
#include "plugin_export/disk_basics.h"

#include <chrono>
#include <system_error>

namespace velko::plugin_export {
namespace fs = std::filesystem;

std::string millisSinceEpoch() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

bool ensureDirectory(const fs::path& folder) {
  std::error_code ec;
  fs::create_directories(folder, ec);
  return fs::is_directory(folder, ec);
}

}  // namespace velko::plugin_export
