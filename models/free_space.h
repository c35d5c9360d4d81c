// The disk test before a download: how much room a model needs and how much the volume has.
#pragma once

#include <cstdint>

#include "models/model_list.h"

namespace velko::models {

// Room that always stays free on the model folder's volume, beyond what a download needs.
inline constexpr uint64_t kFreeSpaceMargin = 100000000;

// Bytes an unpacked package needs beside its archive: the larger of `installed_size` and `size`
// for a CoreML entry, 0 for a File entry.
uint64_t unpackNeed(const ModelEntry& entry);

// Whether `available` bytes suffice to download `entry` from `offset` on and unpack it, keeping
// the margin free: `available` must be at least unpack need - offset + margin + size.
bool enoughSpace(uint64_t available, const ModelEntry& entry, uint64_t offset);

}  // namespace velko::models
