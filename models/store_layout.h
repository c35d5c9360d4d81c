// Names inside the model folder that more than one store operation puts together. Every name that
// comes from outside passes through core::SafeName first, so none of these paths leaves the folder.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "core/safe_name.h"
#include "models/model_list.h"

namespace velko::models {

// `modelDir`/.installed/<id>.json: the marker of an installed model.
std::filesystem::path installedMarker(const std::filesystem::path& modelDir,
                                      const core::SafeName& id);

// `modelDir`/.downloads: partial downloads, lock files and the scratch folders of an install.
std::filesystem::path downloadsDir(const std::filesystem::path& modelDir);

// `modelDir`/.downloads/<name>.part, <name> being the text of the list's `file` behind its last
// '/', or all of it when it has none. With no '/' left and ".part" behind it, the name is always
// one plain entry of the folder.
std::filesystem::path partPathFor(const std::filesystem::path& modelDir, const std::string& file);

// `modelDir`/.downloads/<id>.lock.
std::filesystem::path lockPathFor(const std::filesystem::path& modelDir, const core::SafeName& id);

// Every path of one listed model.
struct ModelPaths {
  core::SafeName id;
  std::filesystem::path target;  // the installed package: `modelDir`/<package>
  std::filesystem::path part;    // the download
  std::filesystem::path lock;
  std::filesystem::path marker;
  std::filesystem::path unpack;  // .downloads/<id>.unpack, the scratch folder of an archive
  std::filesystem::path old;     // .downloads/<id>.old, the previous package during a replace
};

// The paths of `entry`. Nothing when its id or package is no safe name (a verified list holds
// none such).
std::optional<ModelPaths> pathsFor(const std::filesystem::path& modelDir, const ModelEntry& entry);

// Makes `folder` (with its parents) and tells whether it is a real folder of the store now: false
// when it cannot be made, or when something else, a symbolic link among them, stands there.
bool makeOwnFolder(const std::filesystem::path& folder);

}  // namespace velko::models
