// The space rule as plain arithmetic, and the one statvfs(2) call that feeds it.
#include "models/free_space.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <limits>

namespace velko::models {

uint64_t unpackNeed(const ModelEntry& entry) {
  return entry.kind == ModelKind::CoreML ? std::max(entry.installed_size, entry.size) : 0;
}

bool enoughSpace(uint64_t available, const ModelEntry& entry, uint64_t offset) {
  // The offset never lies beyond `size`, so the difference cannot go below zero. The sum
  // saturates, so that a list's absurd sizes cannot wrap round to a small need.
  const uint64_t parts[] = {unpackNeed(entry), kFreeSpaceMargin,
                            entry.size - std::min(offset, entry.size)};
  uint64_t needed = 0;
  for (const uint64_t part : parts) {
    needed = part > std::numeric_limits<uint64_t>::max() - needed
                 ? std::numeric_limits<uint64_t>::max()
                 : needed + part;
  }
  return available >= needed;
}

std::optional<uint64_t> availableBytes(const std::filesystem::path& path) {
  struct statvfs info {};
  if (::statvfs(path.c_str(), &info) != 0) return std::nullopt;
  return static_cast<uint64_t>(info.f_frsize) * static_cast<uint64_t>(info.f_bavail);
}

}  // namespace velko::models
