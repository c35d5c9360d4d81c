// The model folder's layout. Every id has passed the list's safe-name rule and every file name is
// cut behind its last '/', so none of these paths leaves the folder.
#include "models/store_layout.h"

namespace velko::models {

std::filesystem::path installedMarker(const std::filesystem::path& modelDir,
                                      const std::string& id) {
  return modelDir / ".installed" / (id + ".json");
}

std::filesystem::path downloadsDir(const std::filesystem::path& modelDir) {
  return modelDir / ".downloads";
}

std::filesystem::path partPathFor(const std::filesystem::path& modelDir, const std::string& file) {
  const size_t slash = file.rfind('/');
  const std::string name = slash == std::string::npos ? file : file.substr(slash + 1);
  return downloadsDir(modelDir) / (name + ".part");
}

std::filesystem::path lockPathFor(const std::filesystem::path& modelDir, const std::string& id) {
  return downloadsDir(modelDir) / (id + ".lock");
}

}  // namespace velko::models
