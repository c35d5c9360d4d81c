// The running check against real processes named like Photoshop, and the warning it adds. Runs
// alone: every other suite assumes no such process exists.
#include <gtest/gtest.h>

#include "plugin_export/plugin_install.h"
#include "plugin_export/plugin_uninstall.h"
#include "plugin_export/uxp_locations.h"
#include "tests/plugin_export/uxp_fixture.h"

namespace velko::plugin_export::test {
namespace {

const std::string kWarning =
    "Photoshop is running — the plugin appears after Photoshop is restarted; Photoshop may "
    "overwrite the registry on quit, in that case install again.";

TEST_F(UxpTest, RunningCheckMatchesCaseSensitiveSubstringOfShortName) {
  ASSERT_FALSE(isPhotoshopRunning()) << "a process named like Photoshop runs on this machine";
  const std::pair<std::string, bool> cases[] = {
      {"Adobe Photoshop 2025", true},
      {"PhotoshopHelper", true},
      {"photoshop", false},
      {"PHOTOSHOP", false},
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
  const InstallResult installed = installIntoPhotoshop(package("2.0"), options());
  EXPECT_TRUE(installed.ok) << installed.error;
  EXPECT_EQ(installed.warnings, std::vector<std::string>{kWarning});

  const UninstallResult removed = uninstallFromPhotoshop(kId, options());
  EXPECT_TRUE(removed.ok && removed.removed) << removed.error;
  EXPECT_EQ(removed.warnings, std::vector<std::string>{kWarning});

  // Nothing registered: nothing written, and the running Photoshop is no concern.
  const UninstallResult nothing = uninstallFromPhotoshop(kId, options());
  EXPECT_TRUE(nothing.ok);
  EXPECT_FALSE(nothing.removed);
  EXPECT_TRUE(nothing.warnings.empty());
}

}  // namespace
}  // namespace velko::plugin_export::test
