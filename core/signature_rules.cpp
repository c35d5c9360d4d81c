// The scalar range test and the small-order key test, both decided by a rule rather than a list.
#include "core/signature_rules.h"

#include "core/ed25519_group.h"

namespace velko::core {
namespace {

// L, from byte 31 (most significant) down to byte 0.
constexpr unsigned char kOrderFromTop[32] = {
    0x10, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x14, 0xde, 0xf9, 0xde, 0xa2, 0xf7, 0x9c, 0xd6, 0x58, 0x12, 0x63, 0x1a, 0x5c, 0xf5, 0xd3, 0xed,
};

}  // namespace

bool isCanonicalScalar(const unsigned char* s) {
  for (int i = 31; i >= 0; --i) {
    const unsigned char orderByte = kOrderFromTop[31 - i];
    if (s[i] != orderByte) return s[i] < orderByte;
  }
  return false;
}

bool isInsecureEd25519PublicKey(const std::array<unsigned char, 32>& publicKey) {
  ge_p3 point;
  if (ge_frombytes_negate_vartime(&point, publicKey.data()) != 0) return true;
  // Multiply by the cofactor 8; the sign of the point does not matter for its order.
  for (int i = 0; i < 3; ++i) {
    ge_p1p1 doubled;
    ge_p3_dbl(&doubled, &point);
    ge_p1p1_to_p3(&point, &doubled);
  }
  fe yMinusZ;
  fe_sub(yMinusZ, point.Y, point.Z);
  return !fe_isnonzero(point.X) && !fe_isnonzero(yMinusZ);
}

}  // namespace velko::core
