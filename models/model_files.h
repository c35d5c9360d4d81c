// Whole-file reads and atomic whole-file writes of the model folder: the list cache and markers.
#pragma once

#include <filesystem>
#include <string>

namespace velko::models {

// Replaces `path` with `contents` through `path` + ".tmp", making the parent folder first. `path`
// holds the old or the new content entirely, also after a power cut, and a failure at any step
// (a full disk among them) leaves it as it was. Reports nothing: a lost cache or marker costs
// only a download or an update offer later, which callers accept.
void writeFileAtomic(const std::filesystem::path& path, const std::string& contents);

// The whole file, byte for byte, in `contents`. False when it cannot be opened or read to its end,
// or is no regular file.
bool readFile(const std::filesystem::path& path, std::string& contents);

}  // namespace velko::models
