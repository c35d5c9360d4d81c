// Names inside the model folder that more than one store operation puts together.
#pragma once

#include <filesystem>
#include <string>

namespace velko::models {

// `modelDir`/.installed/<id>.json: the marker of an installed model.
std::filesystem::path installedMarker(const std::filesystem::path& modelDir, const std::string& id);

// `modelDir`/.downloads: partial downloads, lock files and the scratch folders of an install.
std::filesystem::path downloadsDir(const std::filesystem::path& modelDir);

// `modelDir`/.downloads/<name>.part, <name> being the text of the list's `file` behind its last
// '/', or all of it when it has none.
std::filesystem::path partPathFor(const std::filesystem::path& modelDir, const std::string& file);

// `modelDir`/.downloads/<id>.lock.
std::filesystem::path lockPathFor(const std::filesystem::path& modelDir, const std::string& id);

}  // namespace velko::models
