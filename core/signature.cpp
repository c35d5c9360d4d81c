// The signature check: strict text form, canonical S, no small-order key, then ref10 verification.
#include "core/signature.h"

#include "core/ed25519_verify.h"
#include "core/signature_rules.h"

namespace velko::core {
namespace {

// The value of one hex digit of either case, or -1.
int hexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

bool verifyEd25519Signature(std::string_view message, const std::string& signatureHex,
                            const std::array<unsigned char, 32>& publicKey) {
  if (signatureHex.size() != 128) return false;
  unsigned char signature[64];
  for (size_t i = 0; i < 64; ++i) {
    const int high = hexDigitValue(signatureHex[2 * i]);
    const int low = hexDigitValue(signatureHex[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    signature[i] = static_cast<unsigned char>(high * 16 + low);
  }
  if (!isCanonicalScalar(signature + 32)) return false;
  if (isInsecureEd25519PublicKey(publicKey)) return false;
  return ed25519_verify(signature, reinterpret_cast<const unsigned char*>(message.data()),
                        message.size(), publicKey.data()) != 0;
}

}  // namespace velko::core
