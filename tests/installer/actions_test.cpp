// Install and uninstall against real UXP folders: the outcome, and that it matches the disk.
#include <gtest/gtest.h>

#include <functional>

#include "installer/actions.h"
#include "installer/registered_version.h"
#include "plugin_export/message_language.h"
#include "tests/support/test_support.h"

namespace velko::installer {
namespace {
namespace fs = std::filesystem;

const std::string kId = "com.velko.plugin";

class Actions : public ::testing::Test {
 public:
  void SetUp() override { plugin_export::setMessageLanguage("en"); }
  void TearDown() override { plugin_export::setMessageLanguage("de"); }

  fs::path base() const { return dir_ / "uxp"; }
  fs::path external() const { return base() / "Plugins" / "External"; }
  fs::path registry() const { return base() / "PluginsInfo" / "v1" / "PS.json"; }

  PluginPackage package(const std::string& version) {
    const fs::path folder = dir_ / "packages" / version;
    if (!fs::exists(folder)) test::writeSamplePlugin(folder, kId, version);
    return readPluginPackage(folder).value();
  }

  // A version folder that carries the plug-in's manifest but that no registry entry names.
  void strayVersionFolder(const std::string& version) {
    test::writeSamplePlugin(external() / (kId + "_" + version), kId, version);
  }

  test::TempDir dir_;
  test::IsolatedHome home_{dir_ / "home"};
};

TEST_F(Actions, InstallOutcomes) {
  using Prepare = std::function<void(Actions&)>;
  const auto installed = [](const std::string& version) {
    return [version](Actions& t) { ASSERT_TRUE(install(t.package(version), t.base()).ok); };
  };
  const struct {
    const char* label;
    Prepare prepare;
    ActionOutcome outcome;
    std::string previous;
    std::vector<std::string> removed;
  } cases[] = {
      {"fresh machine", [](Actions&) {}, ActionOutcome::Installed, "", {}},
      {"same version registered", installed("1.0.0"), ActionOutcome::Reinstalled, "1.0.0", {}},
      {"older version registered",
       installed("0.9.0"),
       ActionOutcome::Updated,
       "0.9.0",
       {kId + "_0.9.0"}},
      {"newer version registered",
       installed("2.0.0"),
       ActionOutcome::Updated,
       "2.0.0",
       {kId + "_2.0.0"}},
      {"equal as versions, not as text",
       installed("1.0"),
       ActionOutcome::Updated,
       "1.0",
       {kId + "_1.0"}},
      {"unregistered older folder",
       [](Actions& t) { t.strayVersionFolder("0.5"); },
       ActionOutcome::Updated,
       "",
       {kId + "_0.5"}},
      {"unregistered folder of this version",
       [](Actions& t) { t.strayVersionFolder("1.0.0"); },
       ActionOutcome::Reinstalled,
       "",
       {}},
      {"registered, folder gone",
       [](Actions& t) {
         test::writeFile(t.registry(), R"({"plugins": [{"pluginId": "com.velko.plugin",)"
                                       R"( "versionString": "1.0.0"}]})");
       },
       ActionOutcome::Reinstalled,
       "1.0.0",
       {}},
      {"registered without a version",
       [](Actions& t) {
         test::writeFile(t.registry(), R"({"plugins": [{"pluginId": "com.velko.plugin"}]})");
       },
       ActionOutcome::Installed,
       "",
       {}},
      {"only other plug-ins",
       [](Actions& t) {
         test::writeSamplePlugin(t.external() / "com.other_3.0", "com.other", "3.0");
         test::writeFile(t.registry(), R"({"plugins": [{"pluginId": "com.other",)"
                                       R"( "versionString": "3.0", "path": "$localPlugins/)"
                                       R"(External/com.other_3.0"}]})");
       },
       ActionOutcome::Installed,
       "",
       {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    fs::remove_all(base());
    c.prepare(*this);
    const ActionResult result = install(package("1.0.0"), base());
    EXPECT_TRUE(result.ok) << result.detail;
    EXPECT_EQ(result.outcome, c.outcome);
    EXPECT_EQ(result.previousVersion, c.previous);
    EXPECT_EQ(result.newVersion, "1.0.0");
    EXPECT_EQ(result.installDir, external() / (kId + "_1.0.0"));
    EXPECT_EQ(result.removedOlderFolders, c.removed);
    EXPECT_EQ(result.detail, "");
    // The outcome describes the disk: the new version is registered and its folder complete.
    EXPECT_EQ(installedVersion(kId, base()), "1.0.0");
    EXPECT_TRUE(fs::exists(result.installDir / "manifest.json"));
    for (const std::string& name : c.removed)
      EXPECT_FALSE(fs::exists(external() / name));
  }
}

TEST_F(Actions, FailedInstallTellsWhyAndHowFarItGot) {
  ASSERT_TRUE(install(package("0.9.0"), base()).ok);
  // A folder of the new version's name that is not the plug-in's stops the install.
  const fs::path target = external() / (kId + "_1.0.0");
  test::writeFile(target / "readme.txt", "not a plug-in");
  const ActionResult result = install(package("1.0.0"), base());
  EXPECT_FALSE(result.ok);
  EXPECT_EQ(result.outcome, ActionOutcome::Failed);
  EXPECT_EQ(result.previousVersion, "0.9.0");
  EXPECT_EQ(result.newVersion, "1.0.0");
  EXPECT_EQ(result.installDir, target);
  EXPECT_TRUE(result.removedOlderFolders.empty());
  EXPECT_EQ(result.detail,
            "Target folder already exists and has no matching manifest.json: " + target.string());
  EXPECT_EQ(installedVersion(kId, base()), "0.9.0");

  // A package folder that went away fails before any target is known.
  PluginPackage gone = package("1.0.0");
  gone.dir = dir_ / "packages" / "vanished";
  const ActionResult vanished = install(gone, base());
  EXPECT_EQ(vanished.outcome, ActionOutcome::Failed);
  EXPECT_EQ(vanished.installDir, fs::path());
  EXPECT_EQ(vanished.detail, "Folder does not exist: " + gone.dir.string());
}

TEST_F(Actions, UninstallOutcomes) {
  const struct {
    const char* label;
    std::function<void(Actions&)> prepare;
    bool ok;
    ActionOutcome outcome;
    std::string previous;
    std::string detailStart;
  } cases[] = {
      {"nothing there", [](Actions&) {}, true, ActionOutcome::NothingToUninstall, "", ""},
      {"installed", [](Actions& t) { ASSERT_TRUE(install(t.package("1.2.0"), t.base()).ok); }, true,
       ActionOutcome::Uninstalled, "1.2.0", ""},
      {"folder without entry", [](Actions& t) { t.strayVersionFolder("0.7"); }, true,
       ActionOutcome::Uninstalled, "", ""},
      {"registry not JSON", [](Actions& t) { test::writeFile(t.registry(), "PS"); }, false,
       ActionOutcome::Failed, "", "PS.json is not valid JSON: "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    fs::remove_all(base());
    c.prepare(*this);
    const ActionResult result = uninstall(package("1.0.0"), base());
    EXPECT_EQ(result.ok, c.ok);
    EXPECT_EQ(result.outcome, c.outcome);
    EXPECT_EQ(result.previousVersion, c.previous);
    EXPECT_TRUE(result.detail.starts_with(c.detailStart)) << result.detail;
    EXPECT_EQ(result.detail.empty(), c.detailStart.empty());
    // Uninstall has no new version, folder or removed list to show.
    EXPECT_EQ(result.newVersion, "");
    EXPECT_EQ(result.installDir, fs::path());
    EXPECT_TRUE(result.removedOlderFolders.empty());
    if (c.ok) {
      EXPECT_EQ(installedVersion(kId, base()), std::nullopt);
      EXPECT_FALSE(fs::exists(external() / (kId + "_1.2.0")));
      EXPECT_FALSE(fs::exists(external() / (kId + "_0.7")));
    }
  }
}

TEST_F(Actions, EmptyBaseMeansTheDefaultFolder) {
  test::ScopedEnv env({{"VELKO_UXP_BASE_DIR", base().string()}});
  const ActionResult installed = install(package("3.0"), "");
  ASSERT_TRUE(installed.ok) << installed.detail;
  EXPECT_EQ(installed.installDir, external() / (kId + "_3.0"));
  EXPECT_EQ(install(package("3.0"), "").outcome, ActionOutcome::Reinstalled);
  const ActionResult removed = uninstall(package("3.0"), "");
  EXPECT_EQ(removed.outcome, ActionOutcome::Uninstalled);
  EXPECT_EQ(removed.previousVersion, "3.0");
  EXPECT_FALSE(fs::exists(external() / (kId + "_3.0")));
}

}  // namespace
}  // namespace velko::installer
