// sha256File on real files: contents across the read buffer's edges, empty, missing and
// unreadable paths, and cancellation between reads.
#include "models/sha256_file.h"

#include <gtest/gtest.h>
#include <openssl/sha.h>

#include <random>

#include "tests/core/vector_files.h"
#include "tests/support/test_support.h"

namespace velko::models {
namespace {

constexpr size_t kMiB = 1 << 20;

std::string openSslHex(const std::string& data) {
  unsigned char digest[32];
  SHA256(reinterpret_cast<const unsigned char*>(data.data()), data.size(), digest);
  return test::toHex(digest, 32);
}

std::string randomBytes(size_t size) {
  std::mt19937_64 random(size);
  std::string data(size, '\0');
  for (auto& c : data)
    c = static_cast<char>(random());
  return data;
}

TEST(Sha256File, ContentsOfEverySizeAroundTheBuffer) {
  test::TempDir dir;
  for (size_t size : {size_t{0}, size_t{1}, kMiB - 1, kMiB, kMiB + 1, 3 * kMiB + 17}) {
    const std::string data = randomBytes(size);
    test::writeFile(dir / "model.bin", data);
    EXPECT_EQ(sha256File((dir / "model.bin").string(), {}), openSslHex(data)) << size;
    EXPECT_EQ(sha256File((dir / "model.bin").string(), [] { return false; }), openSslHex(data));
  }
}

TEST(Sha256File, UnreadablePathsGiveEmpty) {
  test::TempDir dir;
  EXPECT_EQ(sha256File((dir / "missing.bin").string(), {}), "");
  EXPECT_EQ(sha256File(dir.path().string(), {}), "");  // a folder opens but cannot be read
  EXPECT_EQ(sha256File("", {}), "");
}

// Cancelling at the n-th poll stops the run, whichever read it falls on; the last case cancels
// after the final read and so changes nothing.
TEST(Sha256File, CancelStopsBetweenReads) {
  test::TempDir dir;
  const std::string data = randomBytes(3 * kMiB + 17);
  test::writeFile(dir / "model.bin", data);
  for (int cancelAt : {1, 2, 4, 5}) {
    int polls = 0;
    const std::string result =
        sha256File((dir / "model.bin").string(), [&] { return ++polls == cancelAt; });
    EXPECT_EQ(result, cancelAt <= 4 ? "" : openSslHex(data)) << "cancel at poll " << cancelAt;
    EXPECT_EQ(polls, cancelAt <= 4 ? cancelAt : 4);
  }
}

}  // namespace
}  // namespace velko::models
