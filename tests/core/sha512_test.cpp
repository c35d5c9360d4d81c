// SHA-512 against the NIST and FIPS 180 vectors and, over many lengths, against OpenSSL.
#include "core/sha512.h"

#include <gtest/gtest.h>
#include <openssl/sha.h>

#include <random>

#include "tests/core/vector_files.h"

namespace velko::core {
namespace {

// Hashes `message` fed in pieces of `chunk` bytes (the last piece may be shorter).
std::string sha512Hex(const std::string& message, size_t chunk) {
  sha512_state state;
  sha512_init(&state);
  const auto* bytes = reinterpret_cast<const unsigned char*>(message.data());
  for (size_t at = 0; at < message.size(); at += chunk) {
    sha512_update(&state, bytes + at, std::min(chunk, message.size() - at));
  }
  unsigned char digest[64];
  sha512_final(&state, digest);
  return test::toHex(digest, sizeof digest);
}

TEST(Sha512, NistShortMessages) {
  const auto vectors = test::readHashVectors("SHA512ShortMsg.rsp");
  ASSERT_EQ(vectors.size(), 129u);
  for (const auto& v : vectors) {
    EXPECT_EQ(sha512Hex(v.message, v.message.size() + 1), v.digest) << v.message.size() << " bytes";
  }
}

// Odd piece sizes put block boundaries everywhere inside the pieces.
TEST(Sha512, Fips180ExamplesInOddPieces) {
  const auto examples = test::readJsonVectors("fips180_sha2_examples.json");
  ASSERT_EQ(examples["vectors"].size(), 5u);
  for (const auto& v : examples["vectors"]) {
    std::string message;
    for (int i = 0; i < v["repeat"].get<int>(); ++i)
      message += v["message"].get<std::string>();
    for (size_t chunk : {1, 3, 111, 127, 129, 4093}) {
      EXPECT_EQ(sha512Hex(message, chunk), v["sha512"]) << v["name"] << " in pieces of " << chunk;
    }
  }
}

TEST(Sha512, MatchesOpenSslAroundPaddingEdges) {
  std::mt19937_64 random(512);
  std::string message;
  for (size_t length = 0; length <= 600; ++length) {
    unsigned char expected[64];
    SHA512(reinterpret_cast<const unsigned char*>(message.data()), message.size(), expected);
    ASSERT_EQ(sha512Hex(message, 1 + random() % 200), test::toHex(expected, 64)) << length;
    message += static_cast<char>(random());
  }
}

}  // namespace
}  // namespace velko::core
