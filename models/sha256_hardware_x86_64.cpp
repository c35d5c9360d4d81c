// Chooses the SHA-extension compression on x86-64 CPUs that have it. Built without special flags,
// so this check itself runs on every x86-64 CPU.
#include <cpuid.h>

#include "models/sha256_blocks.h"

namespace velko::models {
namespace {

bool cpuHasShaExtensions() {
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
  if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return false;
  const bool ssse3 = ecx & (1u << 9);
  const bool sse41 = ecx & (1u << 19);
  if (!__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx)) return false;
  const bool sha = ebx & (1u << 29);
  return ssse3 && sse41 && sha;
}

}  // namespace

Sha256BlocksFunction sha256HardwareBlocks() {
  static const bool available = cpuHasShaExtensions();
  return available ? sha256BlocksShaNi : nullptr;
}

}  // namespace velko::models
