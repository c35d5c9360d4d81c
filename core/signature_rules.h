// The two strict rules the signature check adds on top of plain ref10 verification.
// Internal to velko::core; declared in a header so the tests can reach them.
#pragma once

#include <array>

namespace velko::core {

// True when the 32 bytes at `s`, read little-endian, are strictly below the group order L.
// L itself and everything above give false.
bool isCanonicalScalar(const unsigned char* s);

// True when the key must not be used: it decodes to no curve point, or to a point whose order
// divides 8 (the neutral element and the other small-order points, in any encoding).
bool isInsecureEd25519PublicKey(const std::array<unsigned char, 32>& publicKey);

}  // namespace velko::core
