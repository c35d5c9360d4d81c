// Which version PS.json names for the plug-in, and what install and uninstall made of the disk.
#include <gtest/gtest.h>

#include "installer/actions.h"
#include "installer/registered_version.h"
#include "plugin_export/message_language.h"
#include "tests/support/test_support.h"

namespace velko::installer {
namespace {
namespace fs = std::filesystem;

const std::string kId = "com.velko.plugin";

std::string ours(const std::string& versionJson) {
  return R"({"pluginId": "com.velko.plugin", "versionString": )" + versionJson + "}";
}

PluginPackage package(const fs::path& dir, const std::string& version) {
  if (!fs::exists(dir / version)) test::writeSamplePlugin(dir / version, kId, version);
  return readPluginPackage(dir / version).value();
}

TEST(InstalledVersion, RegistryContents) {
  const auto plugins = [](const std::string& e) { return R"({"plugins": [)" + e + "]}"; };
  const struct {
    const char* label;
    std::optional<std::string> registry;  // nothing: no PS.json at all
    std::optional<std::string> expected;
  } cases[] = {
      {"no file", std::nullopt, std::nullopt},
      {"not json", "plugins: velko", std::nullopt},
      {"plugins an object", R"({"plugins": )" + ours("\"1\"") + "}", std::nullopt},
      {"match", plugins(ours("\"1.2.0\"")), "1.2.0"},
      {"others only", plugins(R"({"pluginId": "com.x", "versionString": "3"})"), std::nullopt},
      {"first of two wins", plugins(ours("\"1.0\"") + ", " + ours("\"2.0\"")), "1.0"},
      {"odd elements skipped",
       plugins(R"(1, "com.velko.plugin", {"versionString": "9"}, )" + ours("\"1.5\"")), "1.5"},
      {"numeric pluginId first", plugins(R"({"pluginId": 5}, )" + ours("\"1\"")), std::nullopt},
      {"numeric pluginId after", plugins(ours("\"1\"") + R"(, {"pluginId": 5})"), "1"},
      {"versionString missing", plugins(R"({"pluginId": "com.velko.plugin"})"), ""},
      {"versionString a number", plugins(ours("1.2")), std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    test::TempDir base;
    const fs::path registry = base / "PluginsInfo" / "v1" / "PS.json";
    if (c.registry) test::writeFile(registry, *c.registry);
    EXPECT_EQ(installedVersion(kId, base.path()), c.expected);
    // Reading leaves the disk as it was: no backup, no folder, the same bytes.
    EXPECT_EQ(std::distance(fs::recursive_directory_iterator(base.path()), {}), c.registry ? 3 : 0);
    EXPECT_EQ(test::readFile(registry), c.registry);
  }
}

TEST(Actions, OutcomeOfEachStepInSequence) {
  test::TempDir dir;
  test::IsolatedHome home(dir / "home");
  const fs::path base = dir / "uxp", external = base / "Plugins" / "External";
  const struct {
    const char* stray;    // version folder no registry entry names, planted before the step
    const char* install;  // package version to install; nullptr: uninstall
    ActionOutcome outcome;
    const char *previous, *removed;  // removed: the one older folder the step removes, if any
  } steps[] = {
      {nullptr, "1.0", ActionOutcome::Installed, "", nullptr},
      // Equal as versions but not as text: an update.
      {nullptr, "1.0.0", ActionOutcome::Updated, "1.0", "1.0"},
      {nullptr, nullptr, ActionOutcome::Uninstalled, "1.0.0", nullptr},
      {"0.9", nullptr, ActionOutcome::Uninstalled, "", nullptr},
      {"1.0.0", "1.0.0", ActionOutcome::Reinstalled, "", nullptr},
      {nullptr, nullptr, ActionOutcome::Uninstalled, "1.0.0", nullptr},
      {"0.5", "1.0.0", ActionOutcome::Updated, "", "0.5"},
  };
  for (const auto& s : steps) {
    SCOPED_TRACE(&s - steps);  // the step's index
    if (s.stray) test::writeSamplePlugin(external / (kId + "_" + s.stray), kId, s.stray);
    const ActionResult r = s.install ? install(package(dir / "packages", s.install), base)
                                     : uninstall(package(dir / "packages", "1.0"), base);
    EXPECT_TRUE(r.ok) << r.detail;
    EXPECT_EQ(r.outcome, s.outcome);
    EXPECT_EQ(r.previousVersion, s.previous);
    EXPECT_EQ(r.newVersion, s.install ? s.install : "");
    EXPECT_EQ(r.installDir, s.install ? external / (kId + "_" + s.install) : fs::path());
    EXPECT_EQ(r.removedOlderFolders, s.removed ? std::vector<std::string>{kId + "_" + s.removed}
                                               : std::vector<std::string>{});
    EXPECT_EQ(r.detail, "");
    EXPECT_EQ(installedVersion(kId, base),
              s.install ? std::optional<std::string>(s.install) : std::nullopt);
  }
  // A foreign folder where the new version belongs stops the install.
  const fs::path target = external / (kId + "_2.0");
  test::writeFile(target / "readme.txt", "kein Plug-in");
  plugin_export::setMessageLanguage("de");
  const ActionResult failed = install(package(dir / "packages", "2.0"), base);
  EXPECT_FALSE(failed.ok);
  EXPECT_EQ(failed.outcome, ActionOutcome::Failed);
  EXPECT_EQ(failed.previousVersion, "1.0.0");
  EXPECT_EQ(failed.newVersion, "2.0");
  EXPECT_EQ(failed.installDir, target);
  EXPECT_EQ(failed.detail, "Zielordner existiert bereits und trägt kein passendes manifest.json: " +
                               target.string());
}

}  // namespace
}  // namespace velko::installer
