// The two font chains with both Lato faces, with Regular alone and with none, in a child process
// whose fontconfig sees only DejaVu, so that Lato can come from the registration alone.
#include <gtest/gtest.h>

#include "tests/support/test_support.h"

namespace velko::test {
namespace {
namespace fs = std::filesystem;

struct Chain {
  const char* name;
  std::vector<std::pair<const char*, const char*>> files;  // source in the system, name to register
  std::string expected;
};

TEST(WindowFonts, ChainsFallBackWithoutSynthesisingBold) {
  if (!onLinux()) {
    GTEST_SKIP() << "fontconfig picks Qt's system fonts on Linux only, and the faces are read "
                    "from Debian's font folders";
  }
  const fs::path lato = "/usr/share/fonts/truetype/lato";
  const fs::path dejavu = "/usr/share/fonts/truetype/dejavu";
  const std::vector<Chain> chains = {
      {"both faces",
       {{"Lato-Regular.ttf", "Lato-Regular.ttf"}, {"Lato-Bold.ttf", "Lato-Bold.ttf"}},
       "bold Lato 700\nregular Lato 400\n"},
      // The extension is compared in lower case; bold text keeps the regular weight.
      {"Regular alone",
       {{"Lato-Regular.ttf", "Lato-Regular.TTF"}},
       "bold Lato 400\nregular Lato 400\n"},
      // Other files in the folder are no fonts to register.
      {"neither",
       {{"Lato-Bold.ttf", "Lato-Bold.otf"}},
       "bold DejaVu Sans 700\nregular DejaVu Sans 400\n"},
  };
  for (const Chain& chain : chains) {
    SCOPED_TRACE(chain.name);
    TempDir dir;
    fs::create_directories(dir / "system");
    fs::create_directories(dir / "app");
    for (const char* face : {"DejaVuSans.ttf", "DejaVuSans-Bold.ttf"}) {
      fs::copy_file(dejavu / face, dir / "system" / face);
    }
    for (const auto& [source, name] : chain.files)
      fs::copy_file(lato / source, dir / "app" / name);
    writeFile(dir / "fonts.conf", "<?xml version=\"1.0\"?>\n<fontconfig>\n  <dir>" +
                                      (dir / "system").string() + "</dir>\n  <cachedir>" +
                                      (dir / "cache").string() + "</cachedir>\n</fontconfig>\n");
    const ProcessResult run = runProcess({VELKO_FONT_CHAIN_PROBE, (dir / "app").string()},
                                         {{"QT_QPA_PLATFORM", "offscreen"},
                                          {"FONTCONFIG_FILE", (dir / "fonts.conf").string()},
                                          {"HOME", dir.path().string()}});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, chain.expected);
  }
}

}  // namespace
}  // namespace velko::test
