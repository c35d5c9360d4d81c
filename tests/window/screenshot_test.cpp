// The screens' pictures by the shipped program's --screenshot, kept in build/screenshots, by
// pixels.
#include "tests/window/window_fixture.h"

namespace velko::test {
namespace {

// The palette over the window background, as the pictures must show it.
const QColor kBackground(28, 37, 46), kCard(38, 50, 62), kAmber(255, 161, 0), kAccent(16, 182, 239);
const Probe kWindow{"window background", 5, 5, kBackground}, kCardAt{"card", 40, 160, kCard},
    kLogo{"logo stroke where the curve crosses itself", 51, 44, kAccent},
    kPrimary{"primary button at rest", 384, 340, kAmber},
    kCoralCircle{"coral symbol circle at 0.16", 40, 180, QColor(64, 48, 54)};

TEST(WindowPictures, EveryScreenInBothLanguages) {
  const QColor kDimOnCard(164, 168, 173);  // text at 0.62 over the card
  // The later option wins; "$blocked" and "$none" stand for folders of the scene. The models
  // screens show the mixed eight, "mis" coming slowly enough to be caught mid-download.
  const struct {
    const char* name;
    std::vector<std::string> args;
    std::vector<Probe> probes;  // x 0 is the models rows' status column
  } screens[] = {
      // clang-format off
      // The logo's loops reach about 12 above and below its centre, past its 20-high frame.
      {"idle", {}, {kLogo, kCardAt, kPrimary, {"logo tip", 68, 44, kAccent}, {"logo top", 61, 32, kAccent},
                    {"logo bottom", 40, 55, kAccent}}},
      {"xvfb-idle", {}, {kLogo, kCardAt, kPrimary}},  // on a real X server
      {"installed", {"--auto", "install"}, {kLogo, {"accent symbol circle", 40, 180, QColor(26, 60, 77)}, kPrimary}},
      {"failed", {"--uxp-base-dir", "$blocked", "--auto", "install"}, {kCoralCircle, kPrimary}},
      {"plugin-missing", {"--plugin", "$none"}, {kLogo, kCoralCircle, kPrimary}},
      {"models-list", {"--models", "--shot-delay", "0"},
       {kLogo, {"card", 300, 151, kCard}, {"background below the old bottom", 300, 450, kBackground},
        {"primary button at rest", 344, 500, kAmber}, {"missing dot", 3, 185, kDimOnCard},
        {"partial dot", 3, 241, kAmber}, {"installed dot", 3, 297, kAccent}}},
      {"models-download", {"--models", "--shot-delay", "1.5", "--auto", "models-fetch-all"},
       {{"amber progress bar", 1, 185, kAmber}, {"partial dot", 3, 241, kAmber}}},
      // clang-format on
  };
  for (const auto& screen : screens) {
    for (const std::string lang : {"de", "en"}) {
      SCOPED_TRACE(screen.name + (" " + lang));
      const std::string name = screen.name;
      const bool xvfb = name == "xvfb-idle", models = name.starts_with("models");
      if (xvfb && (lang == "en" || !onLinux())) continue;  // Xvfb and Qt's xcb platform are Linux's
      if (models && !VELKO_LIST_KEY_IS_DEVELOPMENT_KEY) continue;  // the program trusts another key
      Scene scene;
      scene.addPhotoshop("26.1");
      ModelServer server;
      scene.publishMixedModels(server);
      server.http.route("/m/mis.bin", {HttpMode::Trickle, std::string(1000, 'x'), 100});
      const std::string path =
          std::string(VELKO_SCREENSHOT_DIR) + "/" + screen.name + "-" + lang + ".png";
      fs::create_directories(VELKO_SCREENSHOT_DIR);
      fs::remove(path);
      std::vector<std::string> argv = {VELKO_INSTALLER_EXE,
                                       "--plugin",
                                       (scene.dir_ / "pkg").string(),
                                       "--uxp-base-dir",
                                       scene.uxp().string(),
                                       "--lang",
                                       lang,
                                       "--screenshot",
                                       path};
      if (xvfb)
        argv.insert(argv.begin(), {"/usr/bin/xvfb-run", "-a", "-s", "-screen 0 1280x800x24"});
      for (std::string arg : screen.args) {
        argv.push_back(arg == "$blocked" ? scene.blockedUxp().string()
                       : arg == "$none"  ? scene.uxp().string()
                                         : arg);
      }
      const ProcessResult run = runProcess(argv, {{"QT_QPA_PLATFORM", xvfb ? "xcb" : "offscreen"},
                                                  {"VELKO_MODEL_LIST_URL", server.listUrl()},
                                                  {"VELKO_MODEL_STORE", scene.models().string()}});
      EXPECT_EQ(run.exitCode, 0) << run.err;
      const QImage image(QString::fromStdString(path));
      ASSERT_EQ(image.size(), QSize(560, models ? 560 : 400));
      // Each models row's status column stands 10 beyond its measured detail text.
      const int column =
          60 + static_cast<int>(std::ceil(
                   QFontMetricsF(window::regularFont(11.5))
                       .horizontalAdvance(lang == "de" ? "1,0 KB  ·  MIT" : "1.0 KB  ·  MIT")));
      std::vector<Probe> probes = screen.probes;
      for (Probe& probe : probes)
        probe.x += models && probe.x < 10 ? column : 0;
      probes.push_back(kWindow);
      expectProbes(image, probes);
      if (name == "models-download") {
        // The picture ended the program mid-download: the download stopped, its part is kept.
        EXPECT_FALSE(fs::exists(scene.models() / "mis.bin"));
        EXPECT_TRUE(fs::exists(scene.models() / ".downloads/mis.bin.part"));
      }
    }
  }
  // A picture that cannot be written still ends the run: a screenshot run never hangs.
  Scene scene;
  EXPECT_EQ(runProcess({VELKO_INSTALLER_EXE, "--screenshot",
                        std::string(VELKO_SCREENSHOT_DIR) + "/no/shot.png"},
                       {{"QT_QPA_PLATFORM", "offscreen"}})
                .exitCode,
            0);
}

// Each button style at rest, lit and held, in the window's picture. A button that a rebuild makes
// under a resting pointer gets an enter event, which alone must not light it up.
TEST(WindowPictures, ButtonsDrawTheirStatesAndLightUpOnlyOnAMove) {
  // clang-format off
  playAll({
    {"a disabled primary stays dim", "had:1.0.0 move:primary", "", {}, {{"amber at 0.3", 384, 340, QColor(96, 74, 32)}}},
    {"a secondary under a resting pointer", "had:1.0.0 enter:secondary", "", {},
     {{"no fill", 222, 340, kBackground}, {"outline", 216, 351, QColor(221, 222, 224)}}},
    {"a secondary lit by a move", "had:1.0.0 move:secondary", "", {}, {{"white at 0.08", 222, 340, QColor(46, 54, 63)}}},
    {"a primary under a resting pointer", "ps:26.1 enter:primary", "", {}, {kPrimary}},
    {"a primary lit by a move", "ps:26.1 move:primary", "", {}, {{"lit", 384, 340, QColor(255, 177, 38)}}},
    {"a primary held down", "ps:26.1 move:primary down:primary", "", {}, {{"held", 384, 340, QColor(224, 143, 0)}}},
  });
  // clang-format on
}

}  // namespace
}  // namespace velko::test
