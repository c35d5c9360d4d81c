// The signature check against OpenSSL as an independent signer, and mutations of what it signed.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <memory>
#include <random>

#include "core/signature.h"
#include "tests/core/vector_files.h"

namespace velko::core {
namespace {

struct Signed {
  std::string key, message, signature;  // raw bytes
};

// Derives a key pair from the 32 bytes of `seed` and signs `message` with OpenSSL.
Signed signWithOpenSsl(const std::string& seed, const std::string& message) {
  Signed out{std::string(32, '\0'), message, std::string(64, '\0')};
  const auto raw = [](std::string& b) { return reinterpret_cast<unsigned char*>(b.data()); };
  std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> pkey(
      EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, test::bytesOf(seed), 32),
      EVP_PKEY_free);
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  size_t keyLength = 32, signatureLength = 64;
  EXPECT_TRUE(pkey && ctx);
  EXPECT_EQ(EVP_PKEY_get_raw_public_key(pkey.get(), raw(out.key), &keyLength), 1);
  EXPECT_EQ(EVP_DigestSignInit(ctx.get(), nullptr, nullptr, nullptr, pkey.get()), 1);
  EXPECT_EQ(EVP_DigestSign(ctx.get(), raw(out.signature), &signatureLength, test::bytesOf(message),
                           message.size()),
            1);
  return out;
}

bool verifies(const Signed& s) {
  return verifyEd25519Signature(s.message, test::toHex(test::bytesOf(s.signature), 64),
                                test::array32(s.key));
}

TEST(SignatureAgainstOpenSsl, RandomSignaturesVerifyAndMutationsNever) {
  const auto order = test::array32(test::fromHex(  // the group order L, little-endian
      "edd3f55c1a631258d69cf7a2def9de1400000000000000000000000000000010"));
  std::mt19937_64 random(25519);
  const auto randomBytes = [&](size_t size) {
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
  };
  for (int round = 0; round < 150; ++round) {
    const Signed good = signWithOpenSsl(randomBytes(32), randomBytes(1 + random() % 300));
    ASSERT_TRUE(verifies(good)) << "round " << round;

    // S + L is the same scalar modulo L but not the canonical one.
    Signed malleated = good;
    for (unsigned i = 0, carry = 0; i < 32; ++i, carry >>= 8) {
      carry += static_cast<unsigned char>(good.signature[32 + i]) + order[i];
      malleated.signature[32 + i] = static_cast<char>(carry);
    }
    EXPECT_FALSE(verifies(malleated)) << "S + L, round " << round;

    // Each part gets one flipped bit in even rounds, one byte replaced by another in odd ones.
    for (std::string Signed::*part : {&Signed::message, &Signed::signature, &Signed::key}) {
      Signed bad = good;
      std::string& bytes = bad.*part;
      const size_t at = random() % bytes.size();
      bytes[at] ^= static_cast<char>(round % 2 ? 1 + random() % 255 : 1u << random() % 8);
      EXPECT_FALSE(verifies(bad)) << "round " << round << ", byte " << at << " changed";
    }
  }
}

}  // namespace
}  // namespace velko::core
