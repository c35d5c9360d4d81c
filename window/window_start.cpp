// Starting the window: a dark application whatever the desktop's theme, and one controller.
#include "window/window_start.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

#include <utility>

#include "window/controller.h"
#include "window/look.h"

namespace velko::window {
namespace {

// Qt's own controls (tool tips, the window frame where Qt draws it) follow the same dark palette.
QPalette darkPalette() {
  QPalette palette;
  palette.setColor(QPalette::Window, kWindowBackground);
  palette.setColor(QPalette::Base, kCard);
  palette.setColor(QPalette::Button, kCard);
  palette.setColor(QPalette::WindowText, kText);
  palette.setColor(QPalette::Text, kText);
  palette.setColor(QPalette::ButtonText, kText);
  palette.setColor(QPalette::ToolTipBase, kCard);
  palette.setColor(QPalette::ToolTipText, kText);
  palette.setColor(QPalette::Highlight, kAccent);
  return palette;
}

}  // namespace

int runWindow(const char* programName, const std::filesystem::path& fontFolder,
              ControllerOptions options) {
  int argc = 1;
  char* argv[] = {const_cast<char*>(programName), nullptr};
  QApplication app(argc, argv);
  registerFontFolder(fontFolder);
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  QApplication::setPalette(darkPalette());
  KVController controller(std::move(options));
  controller.launch();
  return QApplication::exec();
}

}  // namespace velko::window

extern "C" int velkoRunWindow(const char* programName, const std::filesystem::path& fontFolder,
                              velko::window::ControllerOptions& options) {
  return velko::window::runWindow(programName, fontFolder, std::move(options));
}
