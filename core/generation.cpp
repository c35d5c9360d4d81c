// Storage of the model generation counter.
#include "core/generation.h"

namespace velko::core {

std::atomic<uint64_t> gGeneration{0};

}  // namespace velko::core
