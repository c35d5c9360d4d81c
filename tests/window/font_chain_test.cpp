// The two font chains with both Lato faces, with Regular alone and with none.
#include <gtest/gtest.h>

#include "tests/support/test_support.h"

namespace velko::test {
namespace {
namespace fs = std::filesystem;

TEST(WindowFonts, ChainsFallBackWithoutSynthesisingBold) {
  if (!onLinux()) {
    GTEST_SKIP() << "fontconfig picks Qt's system fonts on Linux only, and the faces are read "
                    "from Debian's font folders";
  }
  const struct {
    const char* name;
    std::vector<std::pair<const char*, const char*>> files;  // Lato face, name to register
    const char* expected;                                    // bold, then regular
  } chains[] = {
      {"both faces",
       {{"Lato-Regular.ttf", "Lato-Regular.ttf"}, {"Lato-Bold.ttf", "Lato-Bold.ttf"}},
       "Lato 700\nLato 400\n"},
      // The extension is compared in lower case; bold text keeps the regular weight.
      {"Regular alone", {{"Lato-Regular.ttf", "Lato-Regular.TTF"}}, "Lato 400\nLato 400\n"},
      // Other files in the folder are no fonts to register.
      {"neither", {{"Lato-Bold.ttf", "Lato-Bold.otf"}}, "DejaVu Sans 700\nDejaVu Sans 400\n"},
  };
  // In a child process (this suite's own program) whose fontconfig sees only DejaVu, so that Lato
  // can come from the registration alone.
  for (const auto& chain : chains) {
    SCOPED_TRACE(chain.name);
    TempDir dir;
    fs::create_directories(dir / "system");
    fs::create_directories(dir / "app");
    for (const char* face : {"DejaVuSans.ttf", "DejaVuSans-Bold.ttf"})
      fs::copy_file(fs::path("/usr/share/fonts/truetype/dejavu") / face, dir / "system" / face);
    for (const auto& [face, name] : chain.files)
      fs::copy_file(fs::path("/usr/share/fonts/truetype/lato") / face, dir / "app" / name);
    writeFile(dir / "fonts.conf", "<?xml version=\"1.0\"?>\n<fontconfig><dir>" +
                                      (dir / "system").string() + "</dir><cachedir>" +
                                      (dir / "cache").string() + "</cachedir></fontconfig>\n");
    const ProcessResult run = runProcess(
        {fs::read_symlink("/proc/self/exe").string(), "--font-chain", (dir / "app").string()},
        {{"FONTCONFIG_FILE", (dir / "fonts.conf").string()}, {"HOME", dir.path().string()}});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, chain.expected);
  }
}

}  // namespace
}  // namespace velko::test
