// Ed25519 verification: recompute R' = S B - h A with h = SHA-512(R || A || M) mod L and compare
// its encoding with R.
#include "core/ed25519_verify.h"

#include "core/ed25519_group.h"
#include "core/ed25519_scalar.h"
#include "core/sha512.h"

namespace velko::core {

int ed25519_verify(const unsigned char* signature, const unsigned char* message,
                   size_t messageLength, const unsigned char* publicKey) {
  if (signature[63] & 224) return 0;
  ge_p3 negatedKey;
  if (ge_frombytes_negate_vartime(&negatedKey, publicKey) != 0) return 0;

  unsigned char h[64];
  sha512_state hash;
  sha512_init(&hash);
  sha512_update(&hash, signature, 32);
  sha512_update(&hash, publicKey, 32);
  sha512_update(&hash, message, messageLength);
  sha512_final(&hash, h);
  sc_reduce(h);

  ge_p2 recomputed;
  ge_double_scalarmult_vartime(&recomputed, h, &negatedKey, signature + 32);
  unsigned char encoded[32];
  ge_tobytes(encoded, &recomputed);
  unsigned char difference = 0;
  for (int i = 0; i < 32; ++i)
    difference |= encoded[i] ^ signature[i];
  return difference == 0;
}

}  // namespace velko::core
