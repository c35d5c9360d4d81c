// The space rule as plain arithmetic; the volume's free bytes come from the platform seam.
#include "models/free_space.h"

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

}  // namespace velko::models
