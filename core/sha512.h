// SHA-512 (FIPS 180-4), the hash inside Ed25519; streaming with init, update and final.
#pragma once

#include <cstddef>
#include <cstdint>

namespace velko::core {

struct sha512_state {
  uint64_t h[8];
  uint64_t totalBytes;       // message bytes fed so far; messages beyond 2^61 bytes are not hashed
  unsigned char block[128];  // bytes of the block not yet compressed
  size_t blockBytes;
};

// Starts a new digest. Cannot fail.
void sha512_init(sha512_state* state);

// Feeds `length` bytes; any number of calls in any sizes. Cannot fail.
void sha512_update(sha512_state* state, const unsigned char* data, size_t length);

// Runs the compression function over one full 128-byte block. Cannot fail.
void sha512_compress(sha512_state* state, const unsigned char* block);

// Pads, compresses the rest and writes the 64-byte digest to `out`. The state must be initialised
// again before reuse. Cannot fail.
void sha512_final(sha512_state* state, unsigned char* out);

}  // namespace velko::core
