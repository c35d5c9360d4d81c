// The running check against real processes named like Photoshop, and the warning it adds. Runs
// alone: every other suite assumes no such process exists.
#include <gtest/gtest.h>

#include "plugin_export/uxp_locations.h"
#include "tests/plugin_export/uxp_fixture.h"

namespace velko::plugin_export::test {
namespace {

TEST_F(UxpTest, RunningCheckMatchesCaseSensitiveSubstringOfShortName) {
  ASSERT_FALSE(isPhotoshopRunning()) << "a process named like Photoshop runs on this machine";
  const std::pair<std::string, bool> cases[] = {
      {"Adobe Photoshop 2025", true},
      {"photoshop", false},
      {std::string(32, 'a') + "Photoshop", false},  // the short name is cut at 32 bytes
      {std::string(23, 'a') + "Photoshop", true},   // ends exactly at byte 32
  };
  for (const auto& [name, running] : cases) {
    velko::test::FakeProcess process(tmp / "bin", name);
    EXPECT_EQ(isPhotoshopRunning(), running) << name;
  }
  EXPECT_FALSE(isPhotoshopRunning());
}

TEST_F(UxpTest, RunningPhotoshopAddsWarningButNeverStops) {
  velko::test::FakeProcess photoshop(tmp / "bin", "Adobe Photoshop 2025");
  const InstallResult r = installIntoPhotoshop(package("2.0"), options());
  EXPECT_TRUE(r.ok) << r.error;
  EXPECT_EQ(r.warnings, std::vector<std::string>{
                            "Photoshop is running — the plugin appears after Photoshop is "
                            "restarted; Photoshop may overwrite the registry on quit, in that case "
                            "install again."});
  EXPECT_EQ(uninstallFromPhotoshop(kId, options()).warnings, r.warnings);
}

}  // namespace
}  // namespace velko::plugin_export::test
