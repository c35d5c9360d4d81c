// Configure-time checks on the model-list key: a release build needs one, of hex digits only.
#include <gtest/gtest.h>

#include <regex>

#include "tests/support/test_support.h"

namespace velko::core {
namespace {

TEST(PublicKey, ConfigureChecksTheKeyOption) {
  const std::string key = "-DVELKO_MODEL_LIST_PUBLIC_KEY=";
  const std::string goodHex(64, 'A');
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"-DVELKO_RELEASE=ON"}, "needs the production model-list key"},
      {{key + goodHex.substr(1) + "g"}, "hex digits only"},
      {{"-DVELKO_RELEASE=ON", key + goodHex}, ""},  // the only one that configures
  };
  for (const auto& [options, complaint] : cases) {
    test::TempDir dir;
    std::vector<std::string> argv = {
        VELKO_CMAKE_COMMAND,      "-S", VELKO_SOURCE_DIR, "-B",
        (dir / "build").string(), "-G", "Ninja",          "-DVELKO_BUILD_TESTS=OFF"};
    argv.insert(argv.end(), options.begin(), options.end());
    const test::ProcessResult result = test::runProcess(argv);
    // CMake wraps its messages; fold every run of white space into one blank.
    const std::string err = std::regex_replace(result.err, std::regex("\\s+"), " ");
    EXPECT_EQ(result.exitCode == 0, complaint.empty()) << options.back() << "\n" << err;
    EXPECT_NE(err.find(complaint), std::string::npos) << err;
  }
}

}  // namespace
}  // namespace velko::core
