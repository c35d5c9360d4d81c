// Times the idle screen's work of one second: reading the disk state anew, rebuilding every view
// and painting them, on the offscreen platform.
#include <QApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <cstdlib>

#include "installer/plugin_package.h"
#include "window/controller.h"
#include "window/look.h"

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: window_tick <plugin folder> <font folder> <ticks>\n");
    return 64;
  }
  qputenv("QT_QPA_PLATFORM", "offscreen");
  int qtArgc = 1;
  QApplication app(qtArgc, argv);
  velko::window::registerFontFolder(argv[2]);
  velko::window::ControllerOptions options;
  options.package = velko::installer::readPluginPackage(argv[1]);
  if (!options.package) return 2;
  velko::window::KVController controller(options);
  controller.launch();
  QApplication::processEvents();

  const int ticks = std::atoi(argv[3]);
  QElapsedTimer timer;
  timer.start();
  for (int i = 0; i < ticks; ++i) {
    controller.tick();
    QApplication::processEvents();  // frees the old views and paints the new ones
  }
  std::printf("one idle tick (refresh, rebuild, paint): %.3f ms over %d ticks\n",
              timer.nsecsElapsed() / 1e6 / ticks, ticks);
  return 0;
}
