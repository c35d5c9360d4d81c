// Ed25519 key material and signatures for the vendor's publishing side, on OpenSSL. The installer
// never links this: it only verifies.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace velko::model_tool {

// The 32-byte private seed of RFC 8032; the public key and every signature derive from it.
using PrivateSeed = std::array<unsigned char, 32>;
using PublicKey = std::array<unsigned char, 32>;

struct SeedResult {
  std::optional<PrivateSeed> seed;  // empty on failure
  std::string error;                // why, when `seed` is empty
};

// A fresh seed from OpenSSL's random generator. Empty seed and OpenSSL's reason on failure.
SeedResult generateSeed();

// The seed held by a PEM private key (PKCS#8, as `openssl genpkey -algorithm ed25519` writes it).
// Empty seed and a reason when the text is no PEM key or the key is not Ed25519.
SeedResult seedFromPem(const std::string& pemText);

// The PKCS#8 PEM text of `seed`. Empty when OpenSSL fails.
std::string pemFromSeed(const PrivateSeed& seed);

// The public half of `seed`. Nothing when OpenSSL fails.
std::optional<PublicKey> publicKeyOf(const PrivateSeed& seed);

// The public key in a PEM "PUBLIC KEY" text. Nothing when the text is no Ed25519 public key.
std::optional<PublicKey> publicKeyFromPem(const std::string& pemText);

// The Ed25519 signature of `message` as 128 lower-case hex digits. Empty when OpenSSL fails.
std::string signHex(const PrivateSeed& seed, std::string_view message);

// The text of a models.json.sig for `listText`: the signature over the list prefix and the exact
// list bytes, 128 lower-case hex digits and one line feed. Empty when OpenSSL fails.
std::string signModelList(const PrivateSeed& seed, const std::string& listText);

// `bytes` as lower-case hex digits.
std::string toHex(const unsigned char* bytes, size_t length);

// Exactly 64 hex digits (either case) as 32 bytes. Nothing for any other text.
std::optional<PublicKey> publicKeyFromHex(std::string_view hex);

}  // namespace velko::model_tool
