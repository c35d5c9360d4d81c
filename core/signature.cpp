// The signature check: strict text form, canonical S, no small-order key, then ref10 verification.
#include "core/signature.h"

#include "core/ed25519_verify.h"
#include "core/hex.h"
#include "core/signature_rules.h"

namespace velko::core {

bool verifyEd25519Signature(std::string_view message, const std::string& signatureHex,
                            const std::array<unsigned char, 32>& publicKey) {
  std::array<unsigned char, 64> signature{};
  if (!decodeHex(signatureHex, signature)) return false;
  if (!isCanonicalScalar(signature.data() + 32)) return false;
  if (isInsecureEd25519PublicKey(publicKey)) return false;
  return ed25519_verify(signature.data(), reinterpret_cast<const unsigned char*>(message.data()),
                        message.size(), publicKey.data()) != 0;
}

}  // namespace velko::core
