// The models layer's file reading and atomic writing, kept apart from the plug-in layer's, which
// reports its failures.
#include "models/model_files.h"

#include <fstream>
#include <optional>
#include <system_error>
#include <utility>

#include "platform/platform.h"

namespace velko::models {

void writeFileAtomic(const std::filesystem::path& path, const std::string& contents) {
  std::error_code ec;
  std::filesystem::create_directories(path.parent_path(), ec);  // a failure shows at the open
  std::filesystem::path temporary = path;
  temporary += ".tmp";
  std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
  if (!out) return;
  out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
  const bool written = !out.fail() && !out.bad();
  out.close();
  if (!written) return;
  std::filesystem::rename(temporary, path, ec);
}

bool readFile(const std::filesystem::path& path, std::string& contents) {
  // A FIFO or device planted in the model folder is unreadable, never waited on.
  std::optional<std::string> text = platform::readRegularFile(path);
  if (!text) return false;
  contents = std::move(*text);
  return true;
}

}  // namespace velko::models
