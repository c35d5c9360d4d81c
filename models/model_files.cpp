// The models layer's file reading and atomic writing, both through the platform seam; unlike the
// plug-in layer, the model folder reports no failure of these writes.
#include "models/model_files.h"

#include <optional>
#include <system_error>
#include <utility>

#include "platform/platform.h"

namespace velko::models {

void writeFileAtomic(const std::filesystem::path& path, const std::string& contents) {
  std::error_code ec;
  std::filesystem::create_directories(path.parent_path(), ec);  // a failure shows at the write
  std::filesystem::path temporary = path;
  temporary += ".tmp";
  // The temporary is made new; what an earlier crash left at its name goes first (a link only
  // loses itself, never its target).
  std::filesystem::remove(temporary, ec);
  platform::replaceFile(path, contents, temporary);
}

bool readFile(const std::filesystem::path& path, std::string& contents) {
  // A FIFO or device planted in the model folder is unreadable, never waited on.
  std::optional<std::string> text = platform::readRegularFile(path);
  if (!text) return false;
  contents = std::move(*text);
  return true;
}

}  // namespace velko::models
