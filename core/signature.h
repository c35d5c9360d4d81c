// Decides whether a byte string was signed with a given Ed25519 public key.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace velko::core {

// True only if `signatureHex` is exactly 128 hex digits (either case), its scalar half is below
// the group order, the key is not of small order, and the signature verifies over `message`.
// Any failure, malformed input included, returns false; the cause is deliberately not reported.
bool verifyEd25519Signature(std::string_view message, const std::string& signatureHex,
                            const std::array<unsigned char, 32>& publicKey);

}  // namespace velko::core
