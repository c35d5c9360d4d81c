// The window's state machine driven through its real buttons and tick, with real folders, PS.json
// and a real process named like Photoshop.
#include <sys/wait.h>

#include <csignal>
#include <memory>

#include "installer/registered_version.h"
#include "tests/window/window_fixture.h"

namespace velko::test {
namespace {

using window::Mode;

enum class Photoshop { None, Compatible, CompatibleRunning, CompatibleAssumedRunning, OldRunning };

struct Transition {
  const char* name;
  bool package;
  const char* installedBefore;  // "" for none
  Photoshop photoshop;
  std::string autoAction;
  bool openModels;
  bool failing;                    // the UXP folder cannot be made
  std::vector<std::string> steps;  // button object names, or "tick"
  Mode mode;                       // where the window ends
  const char* installedAfter;      // PS.json's version afterwards; "" for none
  bool open;                       // the window is still open
};

TEST(WindowController, TransitionsFollowButtonsTickAndLaunchOptions) {
  using P = Photoshop;
  // clang-format off
  const std::vector<Transition> table = {
      // name, package, installed before, Photoshop, --auto, --models, failing UXP folder,
      // steps, final mode, installed after, window open
      {"install from idle", true, "", P::Compatible, "", false, false,
       {"primary"}, window::ModeDone, "1.2.0", true},
      {"uninstall from idle", true, "1.0.0", P::Compatible, "", false, false,
       {"secondary"}, window::ModeDone, "", true},
      {"install anyway without a compatible Photoshop", true, "", P::None, "", false, false,
       {"text"}, window::ModeDone, "1.2.0", true},
      {"disabled install does nothing", true, "", P::None, "", false, false,
       {"primary"}, window::ModeIdle, "", true},
      {"running Photoshop makes install wait", true, "", P::CompatibleRunning, "", false, false,
       {"primary", "tick"}, window::ModeWaiting, "", true},
      {"install anyway waits too", true, "", P::OldRunning, "", false, false,
       {"text"}, window::ModeWaiting, "", true},
      {"uninstall waits", true, "1.2.0", P::CompatibleRunning, "", false, false,
       {"secondary"}, window::ModeWaiting, "1.2.0", true},
      {"cancel goes back to idle", true, "", P::CompatibleRunning, "", false, false,
       {"primary", "text"}, window::ModeIdle, "", true},
      {"assumed running waits for ever", true, "", P::CompatibleAssumedRunning, "", false, false,
       {"primary", "primary", "tick", "tick"}, window::ModeWaiting, "", true},
      {"auto install does not wait for Photoshop", true, "", P::CompatibleRunning, "install", false, false,
       {}, window::ModeDone, "1.2.0", true},
      {"auto uninstall", true, "1.2.0", P::None, "uninstall", false, false,
       {}, window::ModeDone, "", true},
      {"auto uninstall does not wait for Photoshop", true, "1.2.0", P::CompatibleRunning, "uninstall", false, false,
       {}, window::ModeDone, "", true},
      {"auto install without a package", false, "", P::Compatible, "install", false, false,
       {}, window::ModePluginMissing, "", true},
      {"auto uninstall without a package", false, "1.2.0", P::Compatible, "uninstall", false, false,
       {}, window::ModePluginMissing, "1.2.0", true},
      {"try again after a failure", true, "", P::Compatible, "", false, true,
       {"primary", "secondary"}, window::ModeIdle, "", true},
      {"done quits", true, "", P::Compatible, "", false, false,
       {"primary", "primary"}, window::ModeDone, "1.2.0", false},
      {"quit from idle", true, "", P::Compatible, "", false, false,
       {"text"}, window::ModeIdle, "", false},
      {"quit without a package", false, "", P::Compatible, "", false, false,
       {"primary"}, window::ModePluginMissing, "", false},
      {"models from idle", true, "", P::Compatible, "", false, false,
       {"models"}, window::ModeModels, "", true},
      {"models without a package and back", false, "", P::Compatible, "", false, false,
       {"secondary", "text"}, window::ModePluginMissing, "", true},
      // "text" quits from idle: the window still open proves the launch landed on models.
      {"launch on models, back to idle", true, "", P::Compatible, "", true, false,
       {"text"}, window::ModeIdle, "", true},
  };
  // clang-format on
  for (const Transition& row : table) {
    SCOPED_TRACE(row.name);
    Scene scene;
    if (*row.installedBefore != '\0') scene.preinstall(row.installedBefore);
    scene.addPhotoshop("Adobe Photoshop 2025", row.photoshop == P::OldRunning ? "23.0" : "26.1");
    if (row.photoshop == P::None) fs::remove_all(scene.dir_ / "Applications");
    std::unique_ptr<FakeProcess> running;
    if (row.photoshop == P::CompatibleRunning || row.photoshop == P::OldRunning) {
      running = std::make_unique<FakeProcess>(scene.dir_ / "bin", "Photoshop");
    }
    window::ControllerOptions options = scene.options();
    if (!row.package) options.package.reset();
    if (row.failing) options.uxpBaseDir = scene.blockedUxp().string();
    options.assumeRunning = row.photoshop == P::CompatibleAssumedRunning;
    options.autoAction = row.autoAction;
    options.openModels = row.openModels;

    Window window(options);
    for (const std::string& step : row.steps) {
      if (step == "tick") {
        window.controller().tick();
      } else {
        window.press(QString::fromStdString(step));
      }
    }
    EXPECT_EQ(window.controller().mode(), row.mode);
    EXPECT_EQ(installer::installedVersion(Scene::kId, scene.uxp()).value_or(""),
              row.installedAfter);
    EXPECT_EQ(window.widget().isVisible(), row.open);
    EXPECT_EQ(window.widget().height(), row.mode == window::ModeModels ? 560 : 400);
  }
}

// The whole road of an install that has to wait: the request reaches the fake Photoshop, it ends,
// and the next tick installs without another press.
TEST(WindowController, QuitPhotoshopThenTickInstalls) {
  if (!onLinux()) {
    GTEST_SKIP() << "a Mac asks applications to quit through NSWorkspace, and the fake Photoshop "
                    "(a copy of sleep) is none";
  }
  Scene scene;
  scene.addPhotoshop("Adobe Photoshop 2025", "26.1");
  FakeProcess photoshop(scene.dir_ / "bin", "Photoshop");
  Window window(scene.options(true));
  window.press("primary");
  ASSERT_EQ(window.controller().mode(), window::ModeWaiting);
  window.press("primary");
  int status = 0;
  ASSERT_EQ(waitpid(photoshop.pid(), &status, 0), photoshop.pid());
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << "status " << status;

  window.controller().tick();
  EXPECT_EQ(window.controller().mode(), window::ModeDone);
  EXPECT_EQ(installer::installedVersion(Scene::kId, scene.uxp()), "1.2.0");
}

}  // namespace
}  // namespace velko::test
