// The key in force for model lists: the development key of this build, the override slot, and the
// configure-time checks on the key option.
#include "core/public_key.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cstdio>
#include <memory>

#include "tests/support/test_support.h"

namespace velko::core {
namespace {

using PkeyPtr = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

PkeyPtr readDevelopmentKey() {
  const std::string path = std::string(VELKO_TEST_DATA) + "/DEVELOPMENT-ONLY-model-list-key.pem";
  std::unique_ptr<FILE, decltype(&std::fclose)> file(std::fopen(path.c_str(), "r"), std::fclose);
  EXPECT_TRUE(file) << path;
  return PkeyPtr(file ? PEM_read_PrivateKey(file.get(), nullptr, nullptr, nullptr) : nullptr,
                 EVP_PKEY_free);
}

TEST(PublicKey, DevelopmentBuildTrustsTheDevelopmentKey) {
  if (!VELKO_LIST_KEY_IS_DEVELOPMENT_KEY) GTEST_SKIP() << "this build names its own list key";
  const PkeyPtr key = readDevelopmentKey();
  ASSERT_TRUE(key);
  std::array<unsigned char, 32> publicHalf{};
  size_t length = publicHalf.size();
  ASSERT_EQ(EVP_PKEY_get_raw_public_key(key.get(), publicHalf.data(), &length), 1);
  EXPECT_EQ(tokenPublicKey(), publicHalf);
}

TEST(PublicKey, OverrideSlotWinsWhileSet) {
  const auto compiled = tokenPublicKey();
  std::array<unsigned char, 32> other{};
  other.fill(0x42);
  tokenPublicKeyOverride = {other, true};
  EXPECT_EQ(tokenPublicKey(), other);
  tokenPublicKeyOverride.set = false;
  EXPECT_EQ(tokenPublicKey(), compiled);
}

// Configures the whole project with the given options and returns the result.
test::ProcessResult configure(const test::TempDir& dir, std::vector<std::string> options) {
  std::vector<std::string> argv = {
      VELKO_CMAKE_COMMAND,      "-S", VELKO_SOURCE_DIR, "-B",
      (dir / "build").string(), "-G", "Ninja",          "-DVELKO_BUILD_TESTS=OFF"};
  argv.insert(argv.end(), options.begin(), options.end());
  test::ProcessResult result = test::runProcess(argv);
  // CMake wraps its messages; fold every run of white space into one blank.
  std::string folded;
  for (char c : result.err) {
    const bool blank = std::isspace(static_cast<unsigned char>(c));
    if (!blank || (!folded.empty() && folded.back() != ' ')) folded += blank ? ' ' : c;
  }
  result.err = folded;
  return result;
}

TEST(PublicKey, ConfigureChecksTheKeyOption) {
  const std::string goodKey(64, 'A');
  struct Case {
    std::vector<std::string> options;
    bool ok;
    std::string complaint;
  };
  const Case cases[] = {
      {{"-DVELKO_RELEASE=ON"}, false, "needs the production model-list key"},
      {{"-DVELKO_MODEL_LIST_PUBLIC_KEY=" + goodKey.substr(1)}, false, "must be 64 hex digits"},
      {{"-DVELKO_MODEL_LIST_PUBLIC_KEY=" + goodKey.substr(1) + "g"}, false, "hex digits only"},
      {{"-DVELKO_RELEASE=ON", "-DVELKO_MODEL_LIST_PUBLIC_KEY=" + goodKey}, true, ""},
  };
  for (const auto& c : cases) {
    test::TempDir dir;
    const auto result = configure(dir, c.options);
    EXPECT_EQ(result.exitCode == 0, c.ok) << c.options.back() << "\n" << result.err;
    EXPECT_NE(result.err.find(c.complaint), std::string::npos) << result.err;
  }
}

}  // namespace
}  // namespace velko::core
