// The window suites' main: one offscreen application around the run, or the font chains' probe.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFontInfo>

#include <cstdio>
#include <cstring>

#include "window/look.h"

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  int qtArgc = 1;
  QApplication app(qtArgc, argv);
  // Made before the first test and gone before the static objects, as Qt needs. With
  // "--font-chain <folder>", it prints what the two chains resolve to with that folder's fonts.
  if (argc == 3 && std::strcmp(argv[1], "--font-chain") == 0) {
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
