// SHA-256 (FIPS 180-4) for checking downloads: streaming, with a hardware fast path where the CPU
// has one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace velko::models {

// How the compression function is chosen for one digest.
enum class Sha256Path {
  Automatic,  // the SHA extensions when the CPU has them and VELKO_SHA256_PORTABLE is not set
  Portable,   // always the plain C++ code
};

// True when this build and this CPU offer the hardware path.
bool sha256HardwareAvailable();

class Sha256 {
 public:
  explicit Sha256(Sha256Path path = Sha256Path::Automatic);

  // Feeds `length` bytes; any number of calls in any sizes. Cannot fail.
  void update(const unsigned char* data, size_t length);

  // Finishes the digest and returns it as 64 lower-case hex digits. Call once; the object is
  // spent afterwards. Cannot fail.
  std::string hex();

  // True when this digest runs on the hardware path.
  bool usesHardware() const;

 private:
  void (*compress_)(uint32_t state[8], const unsigned char* data, size_t blockCount);
  uint32_t state_[8];
  uint64_t totalBytes_ = 0;
  unsigned char pending_[64];
  size_t pendingBytes_ = 0;
};

}  // namespace velko::models
