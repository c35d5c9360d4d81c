// The signature check against OpenSSL as an independent signer: what OpenSSL signs verifies, and
// no single changed bit or byte of message, signature or key slips through.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <memory>
#include <random>

#include "core/signature.h"
#include "tests/core/vector_files.h"

namespace velko::core {
namespace {

struct Signed {
  std::array<unsigned char, 32> key;
  std::string message;
  std::vector<unsigned char> signature;
};

// Derives a key pair from `seed` and signs `message` with OpenSSL.
Signed signWithOpenSsl(const std::array<unsigned char, 32>& seed, const std::string& message) {
  Signed out{{}, message, std::vector<unsigned char>(64)};
  std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> pkey(
      EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, seed.data(), seed.size()),
      EVP_PKEY_free);
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  size_t keyLength = 32, signatureLength = 64;
  EXPECT_TRUE(pkey && ctx);
  EXPECT_EQ(EVP_PKEY_get_raw_public_key(pkey.get(), out.key.data(), &keyLength), 1);
  EXPECT_EQ(EVP_DigestSignInit(ctx.get(), nullptr, nullptr, nullptr, pkey.get()), 1);
  EXPECT_EQ(EVP_DigestSign(ctx.get(), out.signature.data(), &signatureLength,
                           reinterpret_cast<const unsigned char*>(message.data()), message.size()),
            1);
  return out;
}

// The group order L, little-endian.
constexpr unsigned char kOrder[32] = {0xed, 0xd3, 0xf5, 0x5c, 0x1a, 0x63, 0x12, 0x58,
                                      0xd6, 0x9c, 0xf7, 0xa2, 0xde, 0xf9, 0xde, 0x14};

bool verifies(const Signed& s) {
  return verifyEd25519Signature(s.message, test::toHex(s.signature.data(), 64), s.key);
}

TEST(SignatureAgainstOpenSsl, RandomSignaturesVerifyAndMutationsNever) {
  std::mt19937_64 random(25519);
  int mutations = 0;
  for (int round = 0; round < 150; ++round) {
    std::array<unsigned char, 32> seed;
    for (auto& b : seed)
      b = static_cast<unsigned char>(random());
    std::string message(random() % 300, '\0');
    for (auto& c : message)
      c = static_cast<char>(random());
    const Signed good = signWithOpenSsl(seed, message);
    ASSERT_TRUE(verifies(good)) << "round " << round;

    // S + L is the same scalar modulo L but not the canonical one.
    Signed malleated = good;
    unsigned carry = 0;
    for (int i = 0; i < 32; ++i) {
      const unsigned sum = malleated.signature[32 + i] + kOrder[i] + carry;
      malleated.signature[32 + i] = static_cast<unsigned char>(sum);
      carry = sum >> 8;
    }
    EXPECT_FALSE(verifies(malleated)) << "S + L, round " << round;

    // Each part gets one flipped bit and one byte replaced by a different value.
    for (int part = 0; part < 3; ++part) {
      for (bool wholeByte : {false, true}) {
        Signed bad = good;
        unsigned char* bytes = part == 0   ? reinterpret_cast<unsigned char*>(bad.message.data())
                               : part == 1 ? bad.signature.data()
                                           : bad.key.data();
        const size_t size = part == 0 ? bad.message.size() : part == 1 ? 64 : 32;
        if (size == 0) continue;
        const size_t at = random() % size;
        bytes[at] ^= wholeByte ? static_cast<unsigned char>(1 + random() % 255)
                               : static_cast<unsigned char>(1u << (random() % 8));
        ++mutations;
        EXPECT_FALSE(verifies(bad)) << "round " << round << " part " << part << " byte " << at;
      }
    }
  }
  EXPECT_GT(mutations, 850);
}

}  // namespace
}  // namespace velko::core
