// The running check against a real process named like Photoshop; runs alone (SERIAL).
#include <gtest/gtest.h>

#include "installer/registered_version.h"
#include "tests/support/test_support.h"

namespace velko::installer {
namespace {

TEST(PhotoshopRunning, FollowsTheProcessTable) {
  test::TempDir dir;
  EXPECT_FALSE(photoshopRunning());
  {
    test::FakeProcess photoshop(dir / "bin", "Adobe Photoshop 2025");
    EXPECT_TRUE(photoshopRunning());
  }
  EXPECT_FALSE(photoshopRunning());
}

}  // namespace
}  // namespace velko::installer
