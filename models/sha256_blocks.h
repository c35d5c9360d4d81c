// The SHA-256 compression functions behind Sha256; internal to velko::models.
#pragma once

#include <cstddef>
#include <cstdint>

namespace velko::models {

using Sha256BlocksFunction = void (*)(uint32_t state[8], const unsigned char* data,
                                      size_t blockCount);

// Compresses `blockCount` consecutive 64-byte blocks into `state`, in plain C++. Cannot fail.
void sha256BlocksPortable(uint32_t state[8], const unsigned char* data, size_t blockCount);

// The same with the x86 SHA extensions; present in x86-64 builds only, and to be called only
// when the CPU has them.
void sha256BlocksShaNi(uint32_t state[8], const unsigned char* data, size_t blockCount);

// The hardware compression function when this build has one for its architecture and the CPU
// supports it; null otherwise. Each architecture's source file supplies its own version.
Sha256BlocksFunction sha256HardwareBlocks();

// The round constants, shared by every implementation.
extern const uint32_t kSha256RoundConstants[64];

}  // namespace velko::models
