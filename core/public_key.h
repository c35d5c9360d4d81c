// The Ed25519 key that model lists must be signed with: the compiled-in key or a process-wide
// override.
#pragma once

#include <array>

namespace velko::core {

// A key that replaces the compiled-in one while `set` is true. Nothing in the application sets it;
// it exists for embedders and tests. Write it only before other threads read the key.
struct PublicKeyOverride {
  std::array<unsigned char, 32> key{};
  bool set = false;
};

extern PublicKeyOverride tokenPublicKeyOverride;

// The override's key if it is set, otherwise the key compiled in at build time. Cannot fail.
std::array<unsigned char, 32> tokenPublicKey();

}  // namespace velko::core
