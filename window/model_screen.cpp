// The models screen's picture: title, summary, the scrolling list of model rows with their state
// or progress, the message line and the three buttons, all from the controller's fields.
#include <QDir>
#include <QFontMetricsF>
#include <QLabel>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

#include "models/format_bytes.h"
#include "window/controller.h"
#include "window/look.h"
#include "window/screen_parts.h"
#include "window/views.h"

namespace velko::window {
namespace {

constexpr int kRowHeight = 56;
constexpr int kListHeight = 296;

using installer::ModelRow;
using installer::ModelRowState;

// `path` with the home folder written as "~".
QString abbreviateHome(const QString& path) {
  const QString home = QDir::homePath();
  if (path == home) return QStringLiteral("~");
  if (!home.isEmpty() && path.startsWith(home + QLatin1Char('/'))) {
    return QLatin1Char('~') + path.mid(home.size());
  }
  return path;
}

// A coloured shape at a fixed frame: dot, bar or separator.
KVView* shapeIn(QWidget* parent, const QRectF& frame, const QColor& fill, double radius) {
  auto* view = new KVView(parent);
  view->setGeometry(frame.toRect());
  view->setShape(fill, radius);
  return view;
}

// What a row at rest shows: its status word, its dot and its one action, if any.
struct RowLook {
  const char* statusDe;
  const char* statusEn;
  QColor dot;
  const char* buttonDe = nullptr;  // no button when null
  const char* buttonEn = nullptr;
  const char* action = nullptr;  // the button's identifier, before the model id
};

RowLook rowLook(const ModelRow& row) {
  // A model this application is too old for can be neither fetched nor deleted from here.
  if (!row.compatible) return {"Braucht eine neuere Version", "Needs a newer version", kAmber};
  switch (row.state) {
    case ModelRowState::Missing:
      return {"Fehlt", "Missing", dimText(), "Laden", "Download", "fetch:"};
    case ModelRowState::Partial:
      return {"Unterbrochen", "Interrupted", kAmber, "Fortsetzen", "Resume", "fetch:"};
    case ModelRowState::Installed:
      if (row.updateAvailable) {
        return {"Update verfügbar", "Update available", kAmber,
                "Aktualisieren",    "Update",           "fetch:"};
      }
      return {"Geladen", "Downloaded", kAccent, "Löschen", "Delete", "remove:"};
    case ModelRowState::Bundled:
      break;
  }
  return {"Im Programm enthalten", "Included with the app", kAccent};
}

}  // namespace

void KVController::buildModels(QWidget* root, double w) {
  const std::vector<ModelRow> rows = _models ? _models->rows() : std::vector<ModelRow>{};
  const bool english = _english;
  const auto bytes = [english](uint64_t n) { return qs(models::formatBytes(n, english)); };
  const long downloaded = std::count_if(rows.begin(), rows.end(), [](const ModelRow& row) {
    return row.state == ModelRowState::Installed || row.state == ModelRowState::Bundled;
  });

  labelIn(root, text("KI-Modelle", "AI models"), boldFont(26), kText, QRectF(32, 78, w, 34));
  QString summary;
  if (!rows.empty()) {
    summary = text("%1 von %2 geladen · %3 belegt", "%1 of %2 downloaded · %3 used")
                  .arg(downloaded)
                  .arg(rows.size())
                  .arg(bytes(_models->installedBytes()));
    if (_listLoading) summary += text(" · Liste wird aktualisiert …", " · updating the list …");
  } else {
    summary = _listLoading ? text("Liste wird geladen …", "Loading the list …")
                           : text("Keine Modell-Liste verfügbar", "No model list available");
  }
  labelIn(root, summary, regularFont(13), dimText(), QRectF(32, 114, w, 18))
      ->setObjectName(QStringLiteral("summary"));

  auto* card = new KVCard(root);
  card->setGeometry(QRectF(32, 148, w, kListHeight).toRect());
  auto* scroll = new KVScrollArea(card);
  scroll->setGeometry(QRectF(0, 0, w, kListHeight).toRect());
  const int documentHeight = std::max(static_cast<int>(rows.size()) * kRowHeight, kListHeight);
  auto* document = new KVView();
  document->setGeometry(QRectF(0, 0, w, documentHeight).toRect());
  if (rows.empty()) {
    labelIn(document,
            _listLoading
                ? text("Die Liste wird vom Solstice-Tools-Server geholt …",
                       "Fetching the list from the Solstice Tools server …")
                : text("Die Liste konnte nicht geladen werden. Prüfe die Internetverbindung und "
                       "öffne den Bereich erneut.",
                       "The list could not be loaded. Check your internet connection and open "
                       "this area again."),
            regularFont(13), dimText(), QRectF(18, 20, w - 36, 60));
  }
  // Looked up once: a font chain asks the font database each time.
  const QFont titleFont = boldFont(13);
  const QFont smallFont = regularFont(11.5);
  int y = 0;
  for (const ModelRow& row : rows) {
    buildModelRow(document, row, y, w, titleFont, smallFont);
    y += kRowHeight;
  }
  scroll->setWidget(document);
  // The scroll area makes its content opaque; the card shows through this list.
  document->setAutoFillBackground(false);
  _modelScroll = scroll;
  // A list that has shrunk cannot stay scrolled past its end.
  scroll->verticalScrollBar()->setRange(0, documentHeight - kListHeight);
  scroll->verticalScrollBar()->setValue(static_cast<int>(
      std::min(_modelScrollY, std::max(0.0, static_cast<double>(documentHeight - kListHeight)))));

  // Work in progress in the text colour, an error in coral, anything else dim.
  const QColor messageColor = _modelBusy                                        ? kText
                              : !_modelMessage.isNull() && _modelMessageIsError ? kCoral
                                                                                : dimText();
  labelIn(root, modelMessageLine(rows), regularFont(12), messageColor, QRectF(32, 452, w, 34))
      ->setObjectName(QStringLiteral("message"));

  buttonIn(root, text("Zurück", "Back"), KVButtonStyleText, &KVController::onText,
           QRect(32, 494, 100, 34))
      ->setObjectName(QStringLiteral("text"));
  buttonIn(root, text("Im Finder zeigen", "Show in Finder"), KVButtonStyleSecondary,
           &KVController::onSecondary, QRect(186, 494, 140, 34))
      ->setObjectName(QStringLiteral("secondary"));
  const uint64_t pending = _models ? _models->pendingBytes() : 0;
  QString primary;
  bool primaryEnabled = true;
  if (_modelBusy) {
    primary = text("Abbrechen", "Cancel");
  } else if (pending > 0) {
    primary = text("Alle laden (%1)", "Download all (%1)").arg(bytes(pending));
    primaryEnabled = !_listLoading;
  } else {
    primary = text("Alle geladen", "All downloaded");
    primaryEnabled = false;
  }
  KVButton* all = buttonIn(root, primary, KVButtonStylePrimary, &KVController::onPrimary,
                           QRect(338, 494, 190, 34));
  all->setObjectName(QStringLiteral("primary"));
  all->setEnabled(primaryEnabled);
}

QString KVController::modelMessageLine(const std::vector<ModelRow>& rows) const {
  if (_modelBusy) {
    QString title;
    for (const ModelRow& row : rows) {
      if (row.id == _busyId) title = qs(row.title);
    }
    const QString sizes =
        _total == 0 ? QString()
                    : QStringLiteral("%1 / %2").arg(qs(models::formatBytes(_recv, _english)),
                                                    qs(models::formatBytes(_total, _english)));
    if (_batchCount >= 1) {
      return text("Modell %1 von %2: %3  %4", "Model %1 of %2: %3  %4")
          .arg(_batchIndex)
          .arg(_batchCount)
          .arg(title, sizes);
    }
    return text("Lädt %1  %2", "Downloading %1  %2").arg(title, sizes);
  }
  if (!_modelMessage.isNull()) return _modelMessage;
  const QString folder = _models ? qs(_models->store.options().modelDir) : QString();
  return text("Ablage: %1", "Stored in: %1").arg(abbreviateHome(folder));
}

void KVController::buildModelRow(QWidget* list, const ModelRow& row, int y, double w,
                                 const QFont& titleFont, const QFont& small) {
  if (y > 0) shapeIn(list, QRectF(14, y, w - 28, 1), withAlpha(kWhite, 0.08), 0);
  labelIn(list, qs(row.title), titleFont, kText, QRectF(14, y + 8, w - 150, 18));

  const QString detail =
      QStringLiteral("%1  ·  %2")
          .arg(qs(row.sizeText), row.license.empty() ? QStringLiteral("–") : qs(row.license));
  const double d = std::ceil(QFontMetricsF(small).horizontalAdvance(detail)) + 4;
  labelIn(list, detail, small, dimText(), QRectF(14, y + 30, d, 16));
  const double x = d + 24;

  const RowLook look = rowLook(row);
  QString button = look.buttonDe != nullptr ? text(look.buttonDe, look.buttonEn) : QString();
  QString identifier = look.action != nullptr ? QLatin1String(look.action) + qs(row.id) : QString();

  const bool busyRow = _modelBusy && row.id == _busyId;
  if (busyRow) {
    const double fraction =
        _total == 0 ? 0 : std::min(1.0, static_cast<double>(_recv) / static_cast<double>(_total));
    KVView* track = shapeIn(list, QRectF(x, y + 36, 120, 4), withAlpha(kWhite, 0.14), 2);
    shapeIn(track, QRectF(0, 0, std::max(4.0, fraction * 120), 4), kAmber, 2);
    labelIn(list,
            _total == 0 ? text("startet …", "starting …")
                        : QStringLiteral("%1 %").arg(static_cast<int>(fraction * 100)),
            small, kText, QRectF(x + 128, y + 30, 90, 16));
    button = text("Abbrechen", "Cancel");
    identifier = QStringLiteral("cancel");
  } else {
    shapeIn(list, QRectF(x, y + 34, 7, 7), look.dot, 3.5)
        ->setObjectName(QStringLiteral("dot:") + qs(row.id));
    labelIn(list, text(look.statusDe, look.statusEn), small, kText,
            QRectF(x + 13, y + 30, w - 150 - d - 20, 16));
  }
  if (button.isEmpty()) return;
  const QString title = qs(row.title);
  KVButton* b = buttonIn(
      list, button, KVButtonStyleSecondary,
      [this, identifier, title] { onModelRow(identifier, title); },
      QRectF(w - 122, y + 12, 108, 32).toRect());
  b->setObjectName(identifier);
  b->setToolTip(title);
  b->setEnabled(busyRow || (!_modelBusy && !_listLoading));
}

}  // namespace velko::window
