// SHA-256 on both compression paths: NIST and FIPS 180 vectors, and OpenSSL over random lengths
// fed in random pieces.
#include "models/sha256.h"

#include <gtest/gtest.h>
#include <openssl/sha.h>

#include <random>

#include "tests/core/vector_files.h"
#include "tests/support/test_support.h"

namespace velko::models {
namespace {

std::string digestInPieces(Sha256Path path, const std::string& message, size_t piece) {
  Sha256 digest(path);
  const auto* bytes = reinterpret_cast<const unsigned char*>(message.data());
  for (size_t at = 0; at < message.size(); at += piece) {
    digest.update(bytes + at, std::min(piece, message.size() - at));
  }
  return digest.hex();
}

class Sha256Paths : public testing::TestWithParam<Sha256Path> {
 protected:
  void SetUp() override {
    if (GetParam() == Sha256Path::Automatic && !sha256HardwareAvailable()) {
      GTEST_SKIP() << "this CPU has no SHA extensions; the automatic path is the portable one";
    }
    ASSERT_EQ(Sha256(GetParam()).usesHardware(), GetParam() == Sha256Path::Automatic);
  }

  // The automatic path must not be turned portable by the caller's environment.
  test::ScopedEnv env_{{{"VELKO_SHA256_PORTABLE", std::nullopt}}};
};

TEST_P(Sha256Paths, NistShortAndLongMessages) {
  const std::pair<const char*, size_t> files[] = {{"SHA256ShortMsg.rsp", 65},
                                                  {"SHA256LongMsg.rsp", 64}};
  for (const auto& [file, count] : files) {
    const auto vectors = test::readHashVectors(file);
    EXPECT_EQ(vectors.size(), count) << file;
    for (const auto& v : vectors) {
      EXPECT_EQ(digestInPieces(GetParam(), v.message, v.message.size() + 1), v.digest)
          << file << ", " << v.message.size() << " bytes";
    }
  }
}

TEST_P(Sha256Paths, Fips180ExamplesInOddPieces) {
  const auto examples = test::readJsonVectors("fips180_sha2_examples.json");
  ASSERT_EQ(examples["vectors"].size(), 5u);
  for (const auto& v : examples["vectors"]) {
    std::string message;
    for (int i = 0; i < v["repeat"].get<int>(); ++i)
      message += v["message"].get<std::string>();
    for (size_t piece : {1, 55, 63, 65, 4099, 1 << 20}) {
      EXPECT_EQ(digestInPieces(GetParam(), message, piece), v["sha256"])
          << v["name"] << " in pieces of " << piece;
    }
  }
}

TEST_P(Sha256Paths, MatchesOpenSslOnRandomLengthsAndPieces) {
  std::mt19937_64 random(256);
  std::string data(10001, '\0');
  for (auto& c : data)
    c = static_cast<char>(random());
  for (int round = 0; round < 400; ++round) {
    // Every length up to a few blocks, then random ones up to 10,000 bytes.
    const size_t length = round < 200 ? round : random() % data.size();
    const std::string message = data.substr(random() % (data.size() - length + 1), length);
    unsigned char expected[32];
    SHA256(reinterpret_cast<const unsigned char*>(message.data()), message.size(), expected);
    ASSERT_EQ(digestInPieces(GetParam(), message, 1 + random() % 300), test::toHex(expected, 32))
        << length << " bytes";
  }
}

INSTANTIATE_TEST_SUITE_P(BothPaths, Sha256Paths,
                         testing::Values(Sha256Path::Portable, Sha256Path::Automatic),
                         [](const auto& info) {
                           return info.param == Sha256Path::Portable ? "Portable" : "Hardware";
                         });

TEST(Sha256, EnvironmentForcesThePortablePath) {
  test::ScopedEnv env({{"VELKO_SHA256_PORTABLE", std::optional<std::string>("1")}});
  EXPECT_FALSE(Sha256().usesHardware());
}

}  // namespace
}  // namespace velko::models
