// The model folder's layout: names joined only after the safe-name gate.
#include "models/store_layout.h"

#include <system_error>

namespace velko::models {
namespace fs = std::filesystem;

fs::path installedMarker(const fs::path& modelDir, const core::SafeName& id) {
  return modelDir / ".installed" / (id.text() + ".json");
}

fs::path downloadsDir(const fs::path& modelDir) {
  return modelDir / ".downloads";
}

fs::path partPathFor(const fs::path& modelDir, const std::string& file) {
  const size_t slash = file.rfind('/');
  const std::string name = slash == std::string::npos ? file : file.substr(slash + 1);
  return downloadsDir(modelDir) / (name + ".part");
}

fs::path lockPathFor(const fs::path& modelDir, const core::SafeName& id) {
  return downloadsDir(modelDir) / (id.text() + ".lock");
}

std::optional<ModelPaths> pathsFor(const fs::path& modelDir, const ModelEntry& entry) {
  const std::optional<core::SafeName> id = core::SafeName::from(entry.id);
  const std::optional<core::SafeName> package = core::SafeName::from(entry.package);
  if (!id || !package) return std::nullopt;
  const fs::path downloads = downloadsDir(modelDir);
  return ModelPaths{*id,
                    modelDir / package->text(),
                    partPathFor(modelDir, entry.file),
                    lockPathFor(modelDir, *id),
                    installedMarker(modelDir, *id),
                    downloads / (id->text() + ".unpack"),
                    downloads / (id->text() + ".old")};
}

bool makeOwnFolder(const fs::path& folder) {
  std::error_code ec;
  fs::create_directories(folder, ec);
  return fs::symlink_status(folder, ec).type() == fs::file_type::directory;
}

}  // namespace velko::models
