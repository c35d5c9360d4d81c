// Reduction modulo L by binary long division: slow but plainly correct, and it runs once per
// signature.
#include "core/ed25519_scalar.h"

#include <cstdint>

namespace velko::core {
namespace {

// L as four little-endian 64-bit words.
constexpr uint64_t kOrder[4] = {0x5812631a5cf5d3ed, 0x14def9dea2f79cd6, 0, 0x1000000000000000};

bool atLeastOrder(const uint64_t r[4]) {
  for (int i = 3; i >= 0; --i) {
    if (r[i] != kOrder[i]) return r[i] > kOrder[i];
  }
  return true;
}

void subtractOrder(uint64_t r[4]) {
  uint64_t borrow = 0;
  for (int i = 0; i < 4; ++i) {
    const uint64_t subtrahend = kOrder[i] + borrow;
    const uint64_t next = (r[i] < subtrahend || (borrow && subtrahend == 0)) ? 1 : 0;
    r[i] -= subtrahend;
    borrow = next;
  }
}

}  // namespace

void sc_reduce(unsigned char* s) {
  // Invariant: r < L < 2^253, so 2r + 1 fits the four words.
  uint64_t r[4] = {0, 0, 0, 0};
  for (int bit = 511; bit >= 0; --bit) {
    for (int i = 3; i > 0; --i)
      r[i] = (r[i] << 1) | (r[i - 1] >> 63);
    r[0] = (r[0] << 1) | ((s[bit >> 3] >> (bit & 7)) & 1);
    if (atLeastOrder(r)) subtractOrder(r);
  }
  for (int i = 0; i < 32; ++i)
    s[i] = static_cast<unsigned char>(r[i / 8] >> (8 * (i % 8)));
}

}  // namespace velko::core
