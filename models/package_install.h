// Unpacking a downloaded model archive and swapping a package into place, for the model store.
#pragma once

#include <filesystem>
#include <string>

namespace velko::models {

// Extracts the zip archive into the existing folder `destination`. False when extraction fails.
bool unzip(const std::filesystem::path& archive, const std::filesystem::path& destination);

// True when no symbolic link below `folder` leads out of it. False for a link that leads out or
// cannot be resolved, and when the folder cannot be walked to its end.
bool staysInside(const std::filesystem::path& folder);

// Brings `source` to `target`, whether `target` exists or not: a plain rename for a first
// install, an atomic exchange for a replacement, else three renames through `old`. False when the
// package could not be put in place; `target` then still holds what it held before (only a crash
// between the slow way's renames can leave it missing).
bool replacePath(const std::filesystem::path& source, const std::filesystem::path& target,
                 const std::filesystem::path& old);

// Clears `unpackDir`, extracts `archive` into it and checks the result: the folder `package` must
// stand there, no link may lead out, and nothing but `package` and "__MACOSX" may stand at the
// top. False when any of that fails; the caller removes `unpackDir` either way.
bool unpackAndInspect(const std::filesystem::path& archive, const std::filesystem::path& unpackDir,
                      const std::string& package);

}  // namespace velko::models
