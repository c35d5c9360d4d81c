// Small helpers that every screen builder of the controller uses.
#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

#include <string>

class QLabel;
class QWidget;

namespace velko::window {

QString qs(const std::string& text);

// A word-wrapping label at a fixed frame; text that does not fit is cut by the frame.
QLabel* labelIn(QWidget* parent, const QString& text, const QFont& font, const QColor& color,
                const QRectF& frame);

}  // namespace velko::window
