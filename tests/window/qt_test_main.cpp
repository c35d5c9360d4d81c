// The window suites' main: one offscreen application around the run, or the font chains' probe.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFontInfo>

#include "window/look.h"

// The application comes before the first test and goes before the static objects, as Qt needs.
int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  int qtArgc = 1;
  QApplication app(qtArgc, argv);
  if (argc == 3 && std::string(argv[1]) == "--font-chain") {  // the chains with these fonts
    velko::window::registerFontFolder(argv[2]);
    for (const QFontInfo font : {velko::window::boldFont(13), velko::window::regularFont(13)})
      std::printf("%s %d\n", font.family().toUtf8().constData(), font.weight());
    return 0;
  }
  ::testing::InitGoogleTest(&argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  velko::window::registerFontFolder(VELKO_FONT_DIR);
  return RUN_ALL_TESTS();
}
