// Registers the fonts of one folder and prints what the two font chains resolve to, one line each:
// "<chain> <family> <weight>". Run by the font chain test under a fontconfig set-up of its own.
#include <QFontInfo>
#include <QGuiApplication>

#include <cstdio>

#include "window/look.h"

int main(int argc, char** argv) {
  if (argc != 2) return 64;
  const char* folder = argv[1];
  int qtArgc = 1;
  QGuiApplication app(qtArgc, argv);
  velko::window::registerFontFolder(folder);
  const QFontInfo bold(velko::window::boldFont(13));
  const QFontInfo regular(velko::window::regularFont(13));
  std::printf("bold %s %d\n", bold.family().toUtf8().constData(), bold.weight());
  std::printf("regular %s %d\n", regular.family().toUtf8().constData(), regular.weight());
  return 0;
}
