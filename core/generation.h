// A process-wide counter that changes whenever a model is installed or removed.
#pragma once

#include <atomic>
#include <cstdint>

namespace velko::core {

// Incremented by one after each model install and each model removal, so that anything holding
// a picture of the model folder can tell it has gone stale. Starts at 0.
extern std::atomic<uint64_t> gGeneration;

}  // namespace velko::core
