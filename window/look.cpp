// The palette's derived colours, font registration and the two font chains.
#include "window/look.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QScreen>
#include <QString>

#include <algorithm>
#include <cctype>
#include <system_error>

namespace velko::window {
namespace {

// Layout sizes are pixels; QFont takes points for fractional sizes, so convert at the screen's
// logical resolution.
QFont sized(QFont font, double pixels) {
  const QScreen* screen = QGuiApplication::primaryScreen();
  const double dpi = screen != nullptr ? screen->logicalDotsPerInchY() : 96.0;
  font.setPointSizeF(pixels * 72.0 / dpi);
  return font;
}

bool hasLato(const char* style) {
  return QFontDatabase::styles(QStringLiteral("Lato")).contains(QString::fromLatin1(style));
}

QFont lato(QFont::Weight weight) {
  QFont font(QStringLiteral("Lato"));
  font.setWeight(weight);
  return font;
}

}  // namespace

QColor withAlpha(QColor color, double alpha) {
  color.setAlphaF(static_cast<float>(alpha));
  return color;
}

QColor dimText() {
  return withAlpha(kText, 0.62);
}

void registerFontFolder(const std::filesystem::path& folder) {
  std::error_code ec;
  for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end;
       it.increment(ec)) {
    std::string extension = it->path().extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension != ".ttf") continue;
    QFontDatabase::addApplicationFont(QString::fromStdString(it->path().string()));
  }
}

QFont boldFont(double pixels) {
  if (hasLato("Bold")) return sized(lato(QFont::Bold), pixels);
  if (hasLato("Regular")) return sized(lato(QFont::Normal), pixels);
  QFont system = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
  system.setWeight(QFont::Bold);
  return sized(system, pixels);
}

QFont regularFont(double pixels) {
  if (hasLato("Regular")) return sized(lato(QFont::Normal), pixels);
  return sized(QFontDatabase::systemFont(QFontDatabase::GeneralFont), pixels);
}

}  // namespace velko::window
