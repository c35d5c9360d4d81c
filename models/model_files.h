// Whole-file reads and atomic whole-file writes of the model folder: the list cache and markers.
#pragma once

#include <filesystem>
#include <string>

namespace velko::models {

// Writes `contents` to `path` through `path` + ".tmp" and a rename, making the parent folder
// first. `path` holds the old or the new content entirely, never a mix. Reports nothing: a failed
// write leaves `path` as it was (and maybe the temporary file), which callers accept. No fsync.
void writeFileAtomic(const std::filesystem::path& path, const std::string& contents);

// The whole file, byte for byte, in `contents`. False when it cannot be opened or read to its end,
// or is no regular file.
bool readFile(const std::filesystem::path& path, std::string& contents);

}  // namespace velko::models
