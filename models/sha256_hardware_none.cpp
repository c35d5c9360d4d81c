// Architectures without a SHA-256 fast path in this build: the portable code is used.
#include "models/sha256_blocks.h"

namespace velko::models {

Sha256BlocksFunction sha256HardwareBlocks() {
  return nullptr;
}

}  // namespace velko::models
