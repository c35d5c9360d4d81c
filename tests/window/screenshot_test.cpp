// The window's look: the screens' pictures, kept in build/screenshots, the buttons and the fonts.
#include "tests/window/window_fixture.h"

namespace velko::test {
namespace {

// The palette over the window background, as the pictures must show it.
const QColor kBackground(28, 37, 46), kCard(38, 50, 62), kAmber(255, 161, 0), kAccent(16, 182, 239);
const Probe kLogo{"logo's crossing", 51, 44, kAccent},
    kPrimary{"primary at rest", 384, 340, kAmber}, kWindow{"window", 5, 5, kBackground},
    kCoralCircle{"coral circle", 40, 180, QColor(64, 48, 54)};

TEST(WindowPictures, TheProgramDrawsEveryScreenAndButtonsTheirStates) {
  const Probe kCardAt = {"card", 40, 160, kCard};
  // clang-format off
  std::vector<Scenario> pictures = {
    // The logo's loops reach about 12 above and below its centre, past its 20-high frame.
    {"idle", "ps:26.1 shot:idle", "", {}, {kWindow, kLogo, kCardAt, kPrimary,
     {"logo tip", 68, 44, kAccent}, {"logo top", 61, 32, kAccent}, {"logo bottom", 40, 55, kAccent}}},
    {"idle on a real X server", "ps:26.1 xcb shot:xvfb-idle", "", {},
     {kWindow, kLogo, kCardAt, kPrimary}},
    {"installed", "auto:install shot:installed", "", {},
     {kWindow, kLogo, {"accent circle", 40, 180, QColor(26, 60, 77)}, kPrimary}},
    {"failed", "blocked auto:install shot:failed", "", {}, {kWindow, kCoralCircle, kPrimary}},
    {"plug-in missing", "no-package shot:plugin-missing", "", {},
     {kWindow, kLogo, kCoralCircle, kPrimary}},
    {"a picture that cannot be written still ends the run", "shot:missing/shot", ""},
    // Each button style at rest, lit and held, in-process. A button that a rebuild makes under a
    // resting pointer gets an enter event, which alone must not light it up.
    {"a disabled primary stays dim", "had:1.0.0 move:primary", "", {},
     {{"amber at 0.3", 384, 340, QColor(96, 74, 32)}}},
    {"a secondary under a resting pointer", "had:1.0.0 enter:secondary", "", {},
     {{"no fill", 222, 340, kBackground}, {"outline", 216, 351, QColor(221, 222, 224)}}},
    {"a secondary lit by a move", "had:1.0.0 move:secondary", "", {},
     {{"white at 0.08", 222, 340, QColor(46, 54, 63)}}},
    {"a primary under a resting pointer", "ps:26.1 enter:primary", "", {}, {kPrimary}},
    {"a primary lit by a move", "ps:26.1 move:primary", "", {},
     {{"lit", 384, 340, QColor(255, 177, 38)}}},
    {"a primary held down", "ps:26.1 move:primary down:primary", "", {},
     {{"held", 384, 340, QColor(224, 143, 0)}}},
  };
  // The served eight, "mis" slow enough to be caught mid-download when the picture ends the
  // program.
  if (VELKO_LIST_KEY_IS_DEVELOPMENT_KEY) pictures.insert(pictures.end(), {
    {"models", "served on-models delay:0 shot:models-list", "", {},
     {kWindow, kLogo, {"card", 300, 151, kCard}, {"below the old bottom", 300, 450, kBackground},
      {"primary at rest", 344, 500, kAmber}, {"missing dot", -3, 185, QColor(164, 168, 173)},
      {"partial dot", -3, 241, kAmber}, {"installed dot", -3, 297, kAccent}}},
    {"models downloading",
     "served slow:mis.bin on-models delay:1.5 auto:models-fetch-all shot:models-download", "", {},
     {kWindow, {"amber progress bar", -1, 185, kAmber}, {"partial dot", -3, 241, kAmber}},
     [](QWidget*, const fs::path& models) {
       EXPECT_FALSE(fs::exists(models / "mis.bin"));
       EXPECT_TRUE(fs::exists(models / ".downloads/mis.bin.part"));
     }},
  });
  // clang-format on
  playAll(pictures);
}

// The chains with both Lato faces, Regular alone and neither, in a child process (this program)
// whose fontconfig sees only DejaVu, so that Lato can come from the registration alone.
TEST(WindowFonts, ChainsFallBackWithoutSynthesisingBold) {
  if (!onLinux()) GTEST_SKIP() << "fontconfig picks Qt's system fonts on Linux only";
  const fs::path fonts = "/usr/share/fonts/truetype";
  using Faces = std::map<std::string, std::string>;  // Lato faces and the names they get
  // clang-format off
  const std::vector<std::tuple<const char*, Faces, const char*>> chains = {  // then bold, regular
      {"both", {{"Lato-Regular.ttf", "Lato-Regular.ttf"}, {"Lato-Bold.ttf", "Lato-Bold.ttf"}},
       "Lato 700\nLato 400\n"},
      // The extension is compared in lower case; bold text keeps the regular weight.
      {"Regular alone", {{"Lato-Regular.ttf", "Lato-Regular.TTF"}}, "Lato 400\nLato 400\n"},
      // Other files in the folder are no fonts to register.
      {"neither", {{"Lato-Bold.ttf", "Lato-Bold.otf"}}, "DejaVu Sans 700\nDejaVu Sans 400\n"}};
  // clang-format on
  for (const auto& [name, faces, expected] : chains) {
    SCOPED_TRACE(name);
    TempDir dir;
    for (const char* face : {"DejaVuSans.ttf", "DejaVuSans-Bold.ttf"})
      writeFile(dir / "system" / face, *readFile(fonts / "dejavu" / face));
    for (const auto& [face, as] : faces)
      writeFile(dir / "app" / as, *readFile(fonts / "lato" / face));
    writeFile(dir / "fonts.conf", "<fontconfig><dir>" + (dir / "system").string() +
                                      "</dir><cachedir>" + (dir / "cache").string() +
                                      "</cachedir></fontconfig>");
    const ProcessResult run = runProcess(
        {fs::read_symlink("/proc/self/exe").string(), "--font-chain", (dir / "app").string()},
        {{"FONTCONFIG_FILE", (dir / "fonts.conf").string()}, {"HOME", dir.path().string()}});
    EXPECT_EQ(run.out, expected) << run.err;
  }
}

}  // namespace
}  // namespace velko::test
