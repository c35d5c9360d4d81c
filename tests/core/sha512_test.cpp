// SHA-512 against the NIST short messages and the FIPS 180 examples fed in odd pieces.
#include "core/sha512.h"

#include <gtest/gtest.h>

#include "tests/core/vector_files.h"

namespace velko::core {
namespace {

// Hashes `message` fed in pieces of `piece` bytes (the last piece may be shorter).
std::string sha512Hex(const std::string& message, size_t piece) {
  sha512_state state;
  sha512_init(&state);
  for (size_t at = 0; at < message.size(); at += piece)
    sha512_update(&state, test::bytesOf(message) + at, std::min(piece, message.size() - at));
  unsigned char digest[64];
  sha512_final(&state, digest);
  return test::toHex(digest, sizeof digest);
}

// The short messages cross every padding edge; odd pieces put block boundaries inside pieces.
TEST(Sha512, KnownAnswers) {
  const auto vectors = test::readHashVectors("SHA512ShortMsg.rsp");
  ASSERT_EQ(vectors.size(), 129u);
  for (const auto& v : vectors)
    EXPECT_EQ(sha512Hex(v.message, v.message.size() + 1), v.digest) << v.message.size() << " bytes";
  const auto examples = test::readJsonVectors("fips180_sha2_examples.json")["vectors"];
  ASSERT_EQ(examples.size(), 5u);
  for (const auto& v : examples) {
    std::string message;
    for (int i = 0; i < v["repeat"].get<int>(); ++i)
      message += v["message"].get<std::string>();
    for (size_t piece : {1, 3, 111, 127, 129, 4093})
      EXPECT_EQ(sha512Hex(message, piece), v["sha512"]) << v["name"] << " in pieces of " << piece;
  }
}

}  // namespace
}  // namespace velko::core
