// Pictures of every main screen in both languages, made by the shipped program's --screenshot on
// the offscreen platform and once on a real X display, checked by pixels at fixed places. The
// pictures stay in build/screenshots for a person to look at.
#include <QApplication>
#include <QColor>
#include <QEnterEvent>
#include <QFontMetricsF>
#include <QImage>
#include <QMouseEvent>

#include <cmath>

#include "tests/window/mixed_models.h"
#include "tests/window/window_fixture.h"
#include "window/look.h"

namespace velko::test {
namespace {

struct Probe {
  const char* what;
  int x, y;
  QColor color;
};

// The palette over the window background, as the pictures must show it.
const QColor kBackground(28, 37, 46);
const QColor kCardColor(38, 50, 62);
const QColor kAmberColor(255, 161, 0);
const QColor kAmberDisabled(96, 74, 32);  // amber at 0.3 over the background
const QColor kAccentCircle(26, 60, 77);   // accent at 0.16 over the background
const QColor kCoralCircle(64, 48, 54);    // coral at 0.16 over the background
const QColor kAccentStroke(16, 182, 239);

const Probe kWindow{"window background", 5, 5, kBackground};
const Probe kLogoCrossing{"logo stroke where the curve crosses itself", 51, 44, kAccentStroke};
const Probe kLogoTip{"logo stroke at its right tip", 68, 44, kAccentStroke};
// The loops reach about 12 above and below the centre, past the 20-high frame, and are not cut.
const Probe kLogoTop{"logo stroke at the top of its right loop", 61, 32, kAccentStroke};
const Probe kLogoBottom{"logo stroke at the bottom of its left loop", 40, 55, kAccentStroke};
const Probe kPrimaryAtRest{"primary button at rest", 384, 340, kAmberColor};
const Probe kCard{"card", 40, 160, kCardColor};
const Probe kCoralSymbol{"coral symbol circle", 40, 180, kCoralCircle};

void expectProbes(const QImage& image, const std::vector<Probe>& probes) {
  for (const Probe& probe : probes) {
    const QColor got = image.pixelColor(probe.x, probe.y);
    EXPECT_TRUE(std::abs(got.red() - probe.color.red()) <= 3 &&
                std::abs(got.green() - probe.color.green()) <= 3 &&
                std::abs(got.blue() - probe.color.blue()) <= 3)
        << probe.what << " at " << probe.x << "," << probe.y << ": " << got.name().toStdString()
        << " instead of " << probe.color.name().toStdString();
  }
}

struct Screen {
  const char* name;
  std::function<std::vector<std::string>(const Scene&)> args;  // besides --lang and --screenshot
  QSize size;
  std::vector<Probe> probes;
};

std::vector<std::string> withPackage(const Scene& scene, std::vector<std::string> more) {
  std::vector<std::string> args = {"--plugin", (scene.dir_ / "pkg").string(), "--uxp-base-dir",
                                   scene.uxp().string()};
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

QImage shoot(const std::vector<std::string>& args, const std::string& file,
             const std::map<std::string, std::optional<std::string>>& env,
             std::vector<std::string> prefix = {}) {
  std::vector<std::string> argv = std::move(prefix);
  argv.push_back(VELKO_INSTALLER_EXE);
  argv.insert(argv.end(), args.begin(), args.end());
  const std::string path = std::string(VELKO_SCREENSHOT_DIR) + "/" + file;
  fs::create_directories(VELKO_SCREENSHOT_DIR);
  fs::remove(path);
  argv.insert(argv.end(), {"--screenshot", path});
  const ProcessResult run = runProcess(argv, env);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  return QImage(QString::fromStdString(path));
}

TEST(WindowPictures, EveryMainScreenInBothLanguages) {
  const std::vector<Screen> screens = {
      {"idle",
       [](const Scene& scene) {
         scene.addPhotoshop("Adobe Photoshop 2025", "26.1");
         return withPackage(scene, {});
       },
       {560, 400},
       {kWindow, kLogoCrossing, kLogoTip, kLogoTop, kLogoBottom, kCard, kPrimaryAtRest}},
      {"idle-no-photoshop",
       [](const Scene& scene) { return withPackage(scene, {}); },
       {560, 400},
       {kWindow, kCard, {"primary disabled", 384, 340, kAmberDisabled}}},
      {"installed",
       [](const Scene& scene) {
         return withPackage(scene, {"--auto", "install"});
       },
       {560, 400},
       {kWindow, kLogoCrossing, {"accent symbol circle", 40, 180, kAccentCircle}, kPrimaryAtRest}},
      // The later --uxp-base-dir wins.
      {"failed",
       [](const Scene& scene) {
         return withPackage(scene,
                            {"--uxp-base-dir", scene.blockedUxp().string(), "--auto", "install"});
       },
       {560, 400},
       {kWindow, kCoralSymbol, kPrimaryAtRest}},
      {"plugin-missing",
       [](const Scene& scene) {
         return std::vector<std::string>{"--plugin", (scene.dir_ / "none").string()};
       },
       {560, 400},
       {kWindow, kLogoCrossing, kCoralSymbol, kPrimaryAtRest}},
      {"models",
       [](const Scene& scene) { return withPackage(scene, {"--models"}); },
       {560, 560},
       {kWindow, kLogoCrossing, {"background below the old bottom", 300, 450, kBackground}}},
  };
  for (const Screen& screen : screens) {
    for (const char* lang : {"de", "en"}) {
      SCOPED_TRACE(std::string(screen.name) + " " + lang);
      Scene scene;
      std::vector<std::string> args = screen.args(scene);
      args.insert(args.end(), {"--lang", lang, "--shot-delay", "0"});
      // The models screen asks for its list: a closed loopback port refuses at once.
      const QImage image = shoot(args, std::string(screen.name) + "-" + lang + ".png",
                                 {{"QT_QPA_PLATFORM", "offscreen"},
                                  {"VELKO_MODEL_LIST_URL", "http://127.0.0.1:9/models.json"}});
      ASSERT_EQ(image.size(), screen.size);
      expectProbes(image, screen.probes);
    }
  }
}

// The waiting screen cannot be reached from the command line: it is pressed to, in-process.
TEST(WindowPictures, WaitingScreenInBothLanguages) {
  for (const bool english : {false, true}) {
    SCOPED_TRACE(english ? "en" : "de");
    Scene scene;
    scene.addPhotoshop("Adobe Photoshop 2025", "26.1");
    window::ControllerOptions options = scene.options(english);
    options.assumeRunning = true;
    Window window(options);
    window.press("primary");
    const QImage image = window.widget().grab().toImage();
    fs::create_directories(VELKO_SCREENSHOT_DIR);
    image.save(QString(VELKO_SCREENSHOT_DIR) + (english ? "/waiting-en.png" : "/waiting-de.png"));
    ASSERT_EQ(image.size(), QSize(560, 400));
    expectProbes(image, {kWindow,
                         kLogoCrossing,
                         kCard,
                         {"amber dot", 53, 177, kAmberColor},
                         {"primary button at rest", 356, 340, kAmberColor}});
  }
}

// The button table state by state, read off the window's picture at fixed places, with the
// pointer's events as Qt delivers them.
TEST(WindowPictures, ButtonsDrawTheirStates) {
  const QColor kOutline(221, 222, 224);      // white at 0.85 over the background
  const QColor kSecondaryHover(46, 54, 63);  // white at 0.08 over the background
  Scene scene;
  scene.preinstall("1.0.0");
  Window noPhotoshop(scene.options());  // "Aktualisieren" disabled, "Deinstallieren" enabled
  scene.addPhotoshop("Adobe Photoshop 2025", "26.1");
  Window compatible(scene.options());
  const auto button = [](Window& window, const char* name) {
    return window.widget().findChild<window::KVButton*>(name);
  };
  const struct {
    Window& window;
    const char* button;
    bool hovering, down;
    Probe probe;
  } states[] = {
      {noPhotoshop, "primary", true, false, {"disabled primary hovered", 384, 340, kAmberDisabled}},
      {noPhotoshop,
       "secondary",
       false,
       false,
       {"secondary at rest: no fill", 222, 340, kBackground}},
      {noPhotoshop, "secondary", false, false, {"secondary at rest: outline", 216, 351, kOutline}},
      {noPhotoshop, "secondary", true, false, {"secondary hovered", 222, 340, kSecondaryHover}},
      {compatible, "primary", true, false, {"primary hovered", 384, 340, QColor(255, 177, 38)}},
      {compatible, "primary", true, true, {"primary held down", 384, 340, QColor(224, 143, 0)}},
  };
  for (const auto& state : states) {
    SCOPED_TRACE(state.probe.what);
    window::KVButton* b = button(state.window, state.button);
    ASSERT_NE(b, nullptr);
    // The pointer comes to rest over the button, as over one a rebuild has just made: Qt sends
    // it an enter event, which alone must not light it up. Only a move over it does.
    const QPointF centre = QRectF(b->rect()).center();
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(b, &leave);
    QEnterEvent enter(centre, centre, b->mapToGlobal(centre));
    QApplication::sendEvent(b, &enter);
    if (state.hovering) {
      QMouseEvent move(QEvent::MouseMove, centre, b->mapToGlobal(centre), Qt::NoButton,
                       Qt::NoButton, Qt::NoModifier);
      QApplication::sendEvent(b, &move);
    }
    b->setDown(state.down);
    expectProbes(state.window.widget().grab().toImage(), {state.probe});
  }
}

TEST(WindowPictures, FailedPictureWriteStillQuits) {
  Scene scene;
  const ProcessResult run = runProcess(
      {VELKO_INSTALLER_EXE, "--screenshot", (scene.dir_ / "missing" / "shot.png").string()},
      {{"QT_QPA_PLATFORM", "offscreen"}});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_FALSE(fs::exists(scene.dir_ / "missing"));
}

// The models screen with eight models in mixed states, at rest and during a batch download that
// the picture's quit interrupts.
TEST(WindowPictures, ModelsScreenWithAListInBothLanguages) {
  if (!VELKO_LIST_KEY_IS_DEVELOPMENT_KEY) {
    GTEST_SKIP() << "the executable trusts another key than the development key";
  }
  const QColor kDimOnCard(164, 168, 173);  // text at 0.62 over the card
  for (const bool atRest : {true, false}) {
    for (const char* lang : {"de", "en"}) {
      SCOPED_TRACE(std::string(atRest ? "at rest " : "downloading ") + lang);
      Scene scene;
      const fs::path models = scene.dir_ / "models";
      ModelServer server;
      publishMixedModels(server, models, scene.dir_ / "outside");
      // The batch starts with "mis", which comes slowly enough to be caught in the picture.
      server.http.route("/m/mis.bin", {HttpMode::Trickle, std::string(1000, 'x'), 100});

      std::vector<std::string> args =
          withPackage(scene, {"--models", "--lang", lang, "--shot-delay", atRest ? "0" : "1.5"});
      if (!atRest) args.insert(args.end(), {"--auto", "models-fetch-all"});
      const QImage image =
          shoot(args, std::string(atRest ? "models-list-" : "models-download-") + lang + ".png",
                {{"QT_QPA_PLATFORM", "offscreen"},
                 {"VELKO_MODEL_LIST_URL", server.listUrl()},
                 {"VELKO_MODEL_STORE", models.string()},
                 {"VELKO_MODEL_DIR", (scene.dir_ / "outside").string()}});
      ASSERT_EQ(image.size(), QSize(560, 560));

      // Each row's status column stands 10 beyond its measured detail text.
      const QString detail = std::string(lang) == "de" ? "1,0 KB  ·  MIT" : "1.0 KB  ·  MIT";
      const int x = 32 +
                    static_cast<int>(std::ceil(
                        QFontMetricsF(window::regularFont(11.5)).horizontalAdvance(detail))) +
                    4 + 24;
      std::vector<Probe> probes = {kWindow, kLogoCrossing, {"card", 300, 151, kCardColor}};
      if (atRest) {
        probes.insert(probes.end(), {{"missing dot", x + 3, 185, kDimOnCard},
                                     {"partial dot", x + 3, 241, kAmberColor},
                                     {"installed dot", x + 3, 297, kAccentStroke},
                                     {"primary button at rest", 344, 500, kAmberColor}});
      } else {
        probes.insert(probes.end(), {{"amber progress bar", x + 1, 185, kAmberColor},
                                     {"partial dot", x + 3, 241, kAmberColor}});
      }
      expectProbes(image, probes);
      if (!atRest) {
        // The picture ended the program mid-download: the download stopped, its part is kept.
        EXPECT_FALSE(fs::exists(models / "mis.bin"));
        EXPECT_TRUE(fs::exists(models / ".downloads" / "mis.bin.part"));
      }
    }
  }
}

// The program on a real X server: no --cli word opens the window, which draws and quits.
TEST(WindowPictures, RealWindowUnderXvfb) {
  if (!onLinux()) GTEST_SKIP() << "Xvfb and Qt's xcb platform are Linux's";
  Scene scene;
  scene.addPhotoshop("Adobe Photoshop 2025", "26.1");
  const QImage image =
      shoot(withPackage(scene, {"--lang", "de"}), "xvfb-idle-de.png", {{"QT_QPA_PLATFORM", "xcb"}},
            {"/usr/bin/xvfb-run", "-a", "-s", "-screen 0 1280x800x24"});
  ASSERT_EQ(image.size(), QSize(560, 400));
  expectProbes(image, {kWindow, kLogoCrossing, kCard, kPrimaryAtRest});
}

}  // namespace
}  // namespace velko::test
