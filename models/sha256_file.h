// The SHA-256 of a file on disk, read in large pieces and stoppable between them.
#pragma once

#include <functional>
#include <string>

namespace velko::models {

// The file's digest as 64 lower-case hex digits. `cancel`, if set, is asked before each read of
// up to 1 MiB; when it returns true the function stops. Returns the empty string when the file
// cannot be opened or read, or when it was cancelled.
std::string sha256File(const std::string& path, const std::function<bool()>& cancel);

}  // namespace velko::models
