// The bundle and resources folders as a copied executable sees them from different places.
#include <gtest/gtest.h>

#include "platform/platform.h"
#include "tests/support/test_support.h"

namespace velko::platform {
namespace {
namespace fs = std::filesystem;

TEST(BundlePath, DependsOnWhereTheExecutableLies) {
  const struct {
    const char* folder;  // where the executable is copied, below a temp folder
    const char* bundle;  // the bundle it should report, below the same temp folder
  } cases[] = {
      {"Velko Installer.app/Contents/MacOS", "Velko Installer.app"},
      {"plain", "plain"},
      {"Velko.app/Contents/Helpers", "Velko.app/Contents/Helpers"},
      {"NoBundle/Contents/MacOS", "NoBundle/Contents/MacOS"},
      {"Velko.app/MacOS", "Velko.app/MacOS"},
  };
  test::TempDir dir;
  // The executable's own path comes back with symbolic links resolved.
  const fs::path root = fs::canonical(dir.path());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.folder);
    const fs::path exe = root / c.folder / "print_bundle_path";
    fs::create_directories(exe.parent_path());
    fs::copy_file(VELKO_PRINT_BUNDLE_PATH, exe);
    const test::ProcessResult run = test::runProcess({exe.string()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const fs::path bundle = root / c.bundle;
    EXPECT_EQ(run.out,
              bundle.string() + "\n" + (bundle / "Contents" / "Resources").string() + "\n");
  }
}

}  // namespace
}  // namespace velko::platform
