// SHA-256 on both compression paths against the public vectors, and sha256File on real files.
#include "models/sha256.h"

#include <gtest/gtest.h>

#include "models/sha256_file.h"
#include "tests/core/vector_files.h"
#include "tests/support/test_support.h"

namespace velko::models {
namespace {

std::string digestInPieces(Sha256Path path, const std::string& message, size_t piece) {
  Sha256 digest(path);
  for (size_t at = 0; at < message.size(); at += piece)
    digest.update(test::bytesOf(message) + at, std::min(piece, message.size() - at));
  return digest.hex();
}

// Both paths, where this CPU has the hardware one. The short messages cross every padding edge;
// odd piece sizes put block boundaries everywhere inside the pieces.
TEST(Sha256, KnownAnswersOnBothPaths) {
  test::ScopedEnv unset({{"VELKO_SHA256_PORTABLE", std::nullopt}});
  const auto examples = test::readJsonVectors("fips180_sha2_examples.json")["vectors"];
  ASSERT_EQ(examples.size(), 5u);
  for (Sha256Path path : {Sha256Path::Portable, Sha256Path::Automatic}) {
    const bool hardware = path == Sha256Path::Automatic && sha256HardwareAvailable();
    SCOPED_TRACE(hardware ? "hardware path" : "portable path");
    ASSERT_EQ(Sha256(path).usesHardware(), hardware);
    for (const auto& [file, count] :
         {std::pair{"SHA256ShortMsg.rsp", 65u}, {"SHA256LongMsg.rsp", 64u}}) {
      const auto vectors = test::readHashVectors(file);
      EXPECT_EQ(vectors.size(), count) << file;
      for (const auto& v : vectors) {
        EXPECT_EQ(digestInPieces(path, v.message, v.message.size() + 1), v.digest)
            << file << ", " << v.message.size() << " bytes";
      }
    }
    for (const auto& v : examples) {
      std::string message;
      for (int i = 0; i < v["repeat"].get<int>(); ++i)
        message += v["message"].get<std::string>();
      for (size_t piece : {1, 55, 63, 65, 4099, 1 << 20}) {
        EXPECT_EQ(digestInPieces(path, message, piece), v["sha256"])
            << v["name"] << " in pieces of " << piece;
      }
    }
  }
  test::ScopedEnv portable({{"VELKO_SHA256_PORTABLE", std::optional<std::string>("1")}});
  EXPECT_FALSE(Sha256().usesHardware());
}

// Files of sizes around the 1 MiB reads, with bytes whose period (251) does not divide the read
// size so that a misplaced piece shows; cancelling the last file (four reads) at the n-th poll
// stops the run whichever read it falls on, and cancelling after the final read changes nothing.
TEST(Sha256File, DigestsWholeFilesUnlessCancelledOrUnreadable) {
  constexpr size_t kMiB = 1 << 20;
  test::TempDir dir;
  const std::string file = (dir / "model.bin").string();
  std::string expected;
  for (size_t size : {size_t{0}, kMiB - 1, kMiB, kMiB + 1, 3 * kMiB + 17}) {
    std::string data(size, '\0');
    for (size_t i = 0; i < size; ++i)
      data[i] = static_cast<char>(i % 251);
    test::writeFile(file, data);
    expected = digestInPieces(Sha256Path::Portable, data, size + 1);
    EXPECT_EQ(sha256File(file, {}), expected) << size;
  }
  for (int cancelAt : {1, 2, 4, 5}) {
    int polls = 0;
    EXPECT_EQ(sha256File(file, [&] { return ++polls == cancelAt; }), cancelAt <= 4 ? "" : expected)
        << "cancel at poll " << cancelAt;
    EXPECT_EQ(polls, std::min(cancelAt, 4));
  }
  // Missing, a folder (opens but cannot be read), and no name at all.
  for (const std::string& path : {(dir / "missing").string(), dir.path().string(), std::string()})
    EXPECT_EQ(sha256File(path, {}), "") << path;
}

}  // namespace
}  // namespace velko::models
