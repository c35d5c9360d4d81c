// The window's look: the screens' pictures, kept in build/screenshots, the buttons and the fonts.
#include "tests/window/window_fixture.h"

namespace velko::test {
namespace {

TEST(WindowPictures, TheProgramDrawsEveryScreenAndButtonsTheirStates) {
  // The palette over the window background, as the pictures must show it.
  const QColor kBackground(28, 37, 46), kCard(38, 50, 62), kAmber(255, 161, 0),
      kAccent(16, 182, 239), kCoralCircle(64, 48, 54), kDimOnCard(164, 168, 173);
  const Probe kLogo{"logo's crossing", 51, 44, kAccent}, kWindow{"window", 5, 5, kBackground},
      kPrimary{"primary at rest", 384, 340, kAmber}, kCardAt{"card", 40, 160, kCard};
  // clang-format off
  std::vector<Scenario> pictures = {
    // The logo's loops reach about 12 above and below its centre, past its 20-high frame.
    {"idle", "ps:26.1 shot:idle", "", {}, {kWindow, kLogo, kCardAt, kPrimary, {"logo tip", 68, 44,
     kAccent}, {"logo top", 61, 32, kAccent}, {"logo bottom", 40, 55, kAccent}}},
    {"idle on a real X server", "ps:26.1 xcb shot:xvfb-idle", "", {},
     {kWindow, kLogo, kCardAt, kPrimary}},
    {"installed", "auto:install shot:installed", "", {},
     {kWindow, kLogo, {"accent circle", 40, 180, QColor(26, 60, 77)}, kPrimary}},
    {"failed", "blocked auto:install shot:failed", "", {},
     {kWindow, {"coral circle", 40, 180, kCoralCircle}, kPrimary}},
    {"plug-in missing", "no-package shot:plugin-missing", "", {},
     {kWindow, kLogo, {"coral circle", 40, 180, kCoralCircle}, kPrimary}},
    {"a picture that cannot be written still ends the run", "shot:missing/shot", ""},
    // Each button style at rest, lit and held, in-process. A button that a rebuild makes under a
    // resting pointer gets an enter event, which alone must not light it up.
    {"secondary lit, primary at rest", "ps:26.1 had:1.0.0 move:secondary enter:primary", "", {},
     {{"secondary lit: white at 0.08", 222, 340, QColor(46, 54, 63)}, kPrimary}},
    {"primary lit, secondary at rest", "ps:26.1 had:1.0.0 move:primary enter:secondary", "", {},
     {{"primary lit", 384, 340, QColor(255, 177, 38)}, {"secondary unfilled", 222, 340,
     kBackground}, {"secondary's outline", 216, 351, QColor(221, 222, 224)}}},
    {"a disabled primary stays dim", "had:1.0.0 move:primary", "", {},
     {{"amber at 0.3", 384, 340, QColor(96, 74, 32)}}},
    {"a primary held down", "ps:26.1 move:primary down:primary", "", {},
     {{"held", 384, 340, QColor(224, 143, 0)}}},
  };
  // The served eight, "mis" slow enough to be caught mid-download when the picture ends the run.
  if (VELKO_LIST_KEY_IS_DEVELOPMENT_KEY) pictures.insert(pictures.end(), {
    {"models", "served on-models shot:models-list", "", {},
     {kWindow, kLogo, {"card", 300, 151, kCard}, {"below the old bottom", 300, 450, kBackground},
      {"primary at rest", 344, 500, kAmber}, {"missing dot", -3, 185, kDimOnCard},
      {"partial dot", -3, 241, kAmber}, {"installed dot", -3, 297, kAccent}}},
    {"models downloading", "served slow:mis.bin on-models auto:models-fetch-all "
     "shot:models-download kept:mis.bin", "", {},
     {kWindow, {"amber progress bar", -1, 185, kAmber}, {"partial dot", -3, 241, kAmber}}},
  });
  // clang-format on
  playAll(pictures);
}

// The chains' answers, bold then regular, with Lato faces registered from a folder under the
// names there: the extension counts in lower case, other files are no fonts, bold text keeps the
// regular weight rather than a synthesised bold.
TEST(WindowFonts, ChainsFallBackWithoutSynthesisingBold) {
  if (!onLinux()) GTEST_SKIP() << "fontconfig picks Qt's system fonts on Linux only";
  playAll(
      {{"both faces", "fonts:Lato-Regular.ttf=a.ttf,Lato-Bold.ttf=b.ttf", "Lato 700\nLato 400\n"},
       {"Regular alone", "fonts:Lato-Regular.ttf=a.TTF", "Lato 400\nLato 400\n"},
       {"neither", "fonts:Lato-Bold.ttf=b.otf", "DejaVu Sans 700\nDejaVu Sans 400\n"}});
}

}  // namespace
}  // namespace velko::test
