// The window suites' main: one offscreen application object around the whole run, made before the
// first test and gone before the process's static objects, which Qt needs in that order.
#include <gtest/gtest.h>

#include <QApplication>

#include "window/look.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  int qtArgc = 1;
  QApplication app(qtArgc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  velko::window::registerFontFolder(VELKO_FONT_DIR);
  return RUN_ALL_TESTS();
}
