// The models layer's file reading and atomic writing, kept apart from the plug-in layer's, which
// reports its failures.
#include "models/model_files.h"

#include <fstream>
#include <iterator>
#include <system_error>

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
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  contents.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return !in.bad();
}

}  // namespace velko::models
