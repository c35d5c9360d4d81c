// The controller's picture side: rebuild, the shared building blocks and the four main screens,
// each a straight run of elements at fixed frames.
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>

#include "installer/version_compare.h"
#include "window/controller.h"
#include "window/look.h"
#include "window/screen_parts.h"
#include "window/views.h"

namespace velko::window {
namespace {

constexpr int kWidth = 560;
constexpr double kContentWidth = 496;  // the window less 32 on each side

}  // namespace

QString qs(const std::string& text) {
  return QString::fromStdString(text);
}

QLabel* labelIn(QWidget* parent, const QString& text, const QFont& font, const QColor& color,
                const QRectF& frame) {
  auto* label = new QLabel(parent);
  label->setTextFormat(Qt::PlainText);
  label->setText(text);
  label->setWordWrap(true);
  label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  label->setFont(font);
  QPalette palette = label->palette();
  palette.setColor(QPalette::WindowText, color);
  label->setPalette(palette);
  label->setGeometry(frame.toRect());
  return label;
}

QString KVController::text(const char* german, const char* english) const {
  return QString::fromUtf8(_english ? english : german);
}

QString KVController::versionText() const {
  return QStringLiteral("Version %1").arg(qs(_package ? _package->version : ""));
}

KVButton* KVController::buttonIn(QWidget* parent, const QString& title, int64_t style,
                                 std::function<void()> action, const QRect& frame) {
  auto* button = new KVButton(parent);
  button->setText(title);
  button->setStyle(style);
  button->setGeometry(frame);
  connect(button, &KVButton::clicked, this, std::move(action));
  return button;
}

KVButton* KVController::buttonIn(QWidget* parent, const QString& title, int64_t style,
                                 void (KVController::*action)(), const QRect& frame) {
  return buttonIn(
      parent, title, style, [this, action] { (this->*action)(); }, frame);
}

void KVController::addRowIn(QWidget* parent, int y, const QColor& dot, const QString& text) {
  auto* marker = new KVView(parent);
  marker->setGeometry(16, y + 6, 8, 8);
  marker->setShape(dot, 4);
  labelIn(parent, text, regularFont(13), kText, QRectF(34, y, parent->width() - 50, 20));
}

void KVController::symbolCircleIn(QWidget* parent, const QColor& color, const QString& symbol) {
  auto* circle = new KVView(parent);
  circle->setObjectName(QStringLiteral("symbol"));
  circle->setGeometry(32, 158, 44, 44);
  circle->setShape(withAlpha(color, 0.16), 22, color, 1.5);
  labelIn(circle, symbol, boldFont(22), color, QRectF(0, 8, 44, 28))
      ->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
}

void KVController::resizeWindowToHeight(int height) {
  // A fixed size keeps the window's top-left corner: the window grows and shrinks at its bottom.
  _window->setFixedSize(kWidth, height);
  if (_screen != nullptr) _screen->resize(kWidth, height);
}

void KVController::rebuild() {
  // The list keeps its place: read it before its views go. A list already out of the window (the
  // screen was left) leaves the last value standing.
  if (_modelScroll != nullptr && _modelScroll->window() == _window.get()) {
    _modelScrollY = _modelScroll->verticalScrollBar()->value();
  }
  if (_screen != nullptr) {
    // The old views may be inside their own click handler: take them out now, free them later.
    _screen->hide();
    _screen->setParent(nullptr);
    _screen->deleteLater();
  }
  _screen = new KVView(_window.get());
  _screen->setGeometry(_window->rect());
  QWidget* root = _screen;

  auto* logo = new KVLogo(root);
  logo->setFrame(QRect(32, 34, 38, 20));
  QFont brand = boldFont(11);
  brand.setLetterSpacing(QFont::AbsoluteSpacing, 2.6);
  labelIn(root, QStringLiteral("SOLSTICE TOOLS"), brand, dimText(), QRectF(80, 36, 300, 16));

  switch (_mode) {
    case ModePluginMissing:
      buildPluginMissing(root, kContentWidth);
      break;
    case ModeModels:
      buildModels(root, kContentWidth);
      break;
    default:
      buildProduct(root);
      if (_mode == ModeIdle) buildIdle(root, kContentWidth);
      if (_mode == ModeWaiting) buildWaiting(root, kContentWidth);
      if (_mode == ModeDone) buildDone(root, kContentWidth);
      break;
  }
  _screen->show();
}

void KVController::buildProduct(QWidget* root) {
  labelIn(root, qs(_package ? _package->name : ""), boldFont(26), kText, QRectF(32, 78, 496, 34));
  labelIn(root, versionText(), regularFont(13), dimText(), QRectF(32, 114, 496, 18));
}

void KVController::buildIdle(QWidget* root, double w) {
  const bool running = photoshopIsRunning();
  const bool compatible = hasCompatiblePhotoshop();
  const installer::PluginPackage& package = *_package;

  auto* card = new KVCard(root);
  card->setGeometry(QRectF(32, 152, w, 92).toRect());

  QColor dot = kAccent;
  QString photoshopRow;
  if (!compatible && _photoshops.empty()) {
    photoshopRow = text("Kein Photoshop gefunden, nötig ist Version %1 oder neuer",
                        "No Photoshop found, version %1 or newer is required")
                       .arg(qs(package.minHost));
    dot = kAmber;
  } else if (!compatible) {
    const installer::PhotoshopInstall& first = _photoshops.front();
    photoshopRow = text("%1 (%2) ist zu alt, nötig ist %3 oder neuer",
                        "%1 (%2) is too old, %3 or newer is required")
                       .arg(qs(first.name), qs(first.version), qs(package.minHost));
    dot = kAmber;
  } else {
    for (const installer::PhotoshopInstall& install : _photoshops) {
      if (!install.compatible) continue;
      photoshopRow =
          text("%1 (%2) gefunden", "%1 (%2) found").arg(qs(install.name), qs(install.version));
      break;
    }
    if (running) {
      photoshopRow += text(", läuft gerade", ", currently running");
      dot = kAmber;
    }
  }
  addRowIn(card, 16, dot, photoshopRow);

  const bool installed = !_installed.empty();
  const bool same = installed && installer::compareVersions(_installed, package.version) == 0;
  if (!installed) {
    addRowIn(card, 52, dimText(), text("Nicht installiert", "Not installed"));
  } else if (same) {
    addRowIn(card, 52, kAccent,
             text("Installiert: Version %1 (aktuell)", "Installed: version %1 (up to date)")
                 .arg(qs(_installed)));
  } else {
    addRowIn(card, 52, kAmber,
             text("Installiert: Version %1, Version %2 liegt bereit",
                  "Installed: version %1, version %2 is ready")
                 .arg(qs(_installed), qs(package.version)));
  }

  const QString hint =
      running ? text(
                    "Photoshop muss vor dem Installieren beendet sein. Der Installer bittet beim "
                    "Start darum.",
                    "Photoshop must be closed before installing. The installer asks for it when "
                    "you start.")
              : text(
                    "Die Installation gilt für den aktuellen Benutzer und braucht keine "
                    "Administratorrechte.",
                    "The installation applies to the current user and needs no administrator "
                    "rights.");
  labelIn(root, hint, regularFont(12), dimText(), QRectF(32, 258, w, 34));

  buttonIn(root, text("KI-Modelle verwalten …", "Manage AI models …"), KVButtonStyleText,
           &KVController::openModels, QRect(32, 298, 260, 24))
      ->setObjectName(QStringLiteral("models"));
  const QString primary = !installed ? text("Installieren", "Install")
                          : same     ? text("Neu installieren", "Reinstall")
                                     : text("Aktualisieren", "Update");
  KVButton* install = buttonIn(root, primary, KVButtonStylePrimary, &KVController::onPrimary,
                               QRect(378, 334, 150, 34));
  install->setObjectName(QStringLiteral("primary"));
  install->setEnabled(compatible);
  if (installed) {
    buttonIn(root, text("Deinstallieren", "Uninstall"), KVButtonStyleSecondary,
             &KVController::onSecondary, QRect(216, 334, 150, 34))
        ->setObjectName(QStringLiteral("secondary"));
  }
  buttonIn(root,
           compatible ? text("Beenden", "Quit") : text("Trotzdem installieren", "Install anyway"),
           KVButtonStyleText, &KVController::onText, QRect(32, 334, 180, 34))
      ->setObjectName(QStringLiteral("text"));
}

void KVController::buildWaiting(QWidget* root, double w) {
  auto* card = new KVCard(root);
  card->setGeometry(QRectF(32, 152, w, 116).toRect());
  auto* dot = new KVView(card);
  dot->setGeometry(16, 20, 10, 10);
  dot->setShape(kAmber, 5);
  labelIn(card, text("Photoshop läuft", "Photoshop is running"), boldFont(15), kText,
          QRectF(36, 14, w - 52, 22));
  labelIn(card,
          _asked ? text("Warte auf Photoshop…", "Waiting for Photoshop…")
                 : text("Photoshop muss beendet sein, bevor das Plugin installiert wird. Photoshop "
                        "fragt beim Beenden selbst nach ungespeicherter Arbeit.",
                        "Photoshop must be closed before the plugin is installed. Photoshop itself "
                        "asks about unsaved work when quitting."),
          regularFont(13), dimText(), QRectF(36, 42, w - 52, 60));
  KVButton* quit = buttonIn(root, text("Photoshop beenden", "Quit Photoshop"), KVButtonStylePrimary,
                            &KVController::onPrimary, QRect(348, 334, 180, 34));
  quit->setObjectName(QStringLiteral("primary"));
  quit->setEnabled(!_asked);
  buttonIn(root, text("Abbrechen", "Cancel"), KVButtonStyleText, &KVController::onText,
           QRect(32, 334, 120, 34))
      ->setObjectName(QStringLiteral("text"));
}

void KVController::buildDone(QWidget* root, double w) {
  const QString name = qs(_package->name);
  const QString newVersion = qs(_result.newVersion);
  const QString startHint = text(" Photoshop starten: Das Plugin erscheint im Menü „Plugins“.",
                                 " Start Photoshop: the plugin appears in the \"Plugins\" menu.");
  QString title;
  QString body;
  QString symbol = QStringLiteral("✓");
  QColor color = kAccent;
  const bool failed = _result.outcome == installer::ActionOutcome::Failed;
  switch (_result.outcome) {
    case installer::ActionOutcome::Installed:
      title = text("Installiert", "Installed");
      body =
          text("%1 %2 ist installiert.", "%1 %2 is installed.").arg(name, newVersion) + startHint;
      break;
    case installer::ActionOutcome::Updated:
      title = text("Aktualisiert", "Updated");
      body = text(
                 "%1 wurde von Version %2 auf Version %3 aktualisiert. Ältere Versionen sind "
                 "entfernt.",
                 "%1 was updated from version %2 to version %3. Older versions were removed.")
                 .arg(name, qs(_result.previousVersion), newVersion) +
             startHint;
      break;
    case installer::ActionOutcome::Reinstalled:
      title = text("Neu installiert", "Reinstalled");
      body = text("%1 %2 wurde neu installiert.", "%1 %2 was reinstalled.").arg(name, newVersion) +
             startHint;
      break;
    case installer::ActionOutcome::Uninstalled:
      title = text("Deinstalliert", "Uninstalled");
      body =
          text("%1 wurde entfernt. Beim nächsten Start von Photoshop ist das Plugin verschwunden.",
               "%1 was removed. The plugin is gone the next time Photoshop starts.")
              .arg(name);
      break;
    case installer::ActionOutcome::NothingToUninstall:
      title = text("Nichts zu deinstallieren", "Nothing to uninstall");
      body = text("%1 war nicht installiert.", "%1 was not installed.").arg(name);
      symbol = QStringLiteral("i");
      color = dimText();
      break;
    case installer::ActionOutcome::Failed:
      title = text("Das hat nicht geklappt", "That did not work");
      body = _resultAction != 0
                 ? text("Die Deinstallation ist fehlgeschlagen.", "The uninstall failed.")
                 : text(
                       "Die Installation ist fehlgeschlagen. Photoshop und vorhandene Plugins "
                       "bleiben unverändert benutzbar.",
                       "The installation failed. Photoshop and existing plugins remain usable as "
                       "before.");
      symbol = QStringLiteral("!");
      color = kCoral;
      break;
  }
  symbolCircleIn(root, color, symbol);
  labelIn(root, title, boldFont(20), kText, QRectF(92, 158, w - 60, 28));
  labelIn(root, body, regularFont(13), kText, QRectF(92, 190, w - 60, 70));
  if (failed && !_result.detail.empty()) {
    labelIn(root, QStringLiteral("Details: %1").arg(qs(_result.detail)), regularFont(11), dimText(),
            QRectF(92, 262, w - 60, 44));
  }
  buttonIn(root, text("Fertig", "Done"), KVButtonStylePrimary, &KVController::onPrimary,
           QRect(378, 334, 150, 34))
      ->setObjectName(QStringLiteral("primary"));
  if (failed) {
    buttonIn(root, text("Erneut versuchen", "Try again"), KVButtonStyleSecondary,
             &KVController::onSecondary, QRect(196, 334, 170, 34))
        ->setObjectName(QStringLiteral("secondary"));
  }
}

void KVController::buildPluginMissing(QWidget* root, double w) {
  labelIn(root, text("Plugin nicht gefunden", "Plugin not found"), boldFont(26), kText,
          QRectF(32, 78, w, 34));
  symbolCircleIn(root, kCoral, QStringLiteral("!"));
  labelIn(root,
          text("Der Installer findet das Plugin nicht. Bitte direkt aus dem Disk-Image starten und "
               "nicht vorher an einen anderen Ort kopieren.",
               "The installer cannot find the plugin. Please run it directly from the disk image "
               "without copying it elsewhere first."),
          regularFont(13), kText, QRectF(92, 158, w - 60, 80));
  buttonIn(root, text("Beenden", "Quit"), KVButtonStylePrimary, &KVController::onPrimary,
           QRect(378, 334, 150, 34))
      ->setObjectName(QStringLiteral("primary"));
  buttonIn(root, text("KI-Modelle …", "AI models …"), KVButtonStyleSecondary,
           &KVController::onSecondary, QRect(216, 334, 150, 34))
      ->setObjectName(QStringLiteral("secondary"));
}

}  // namespace velko::window
