// Drawing of the view classes: the palette's fills, the logo curve and the button table.
#include "window/views.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QWindow>

#include <cmath>
#include <numbers>

#include "window/look.h"

namespace velko::window {
void KVView::setShape(QColor fill, double radius, QColor border, double borderWidth) {
  _fill = fill;
  _radius = radius;
  _border = border;
  _borderWidth = borderWidth;
}

void KVView::paintEvent(QPaintEvent*) {
  if (!_fill.isValid() && !_border.isValid()) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  // The border lies inside the bounds, as a layer draws it.
  const double inset = _border.isValid() ? _borderWidth / 2 : 0;
  const QRectF shape = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
  painter.setBrush(_fill.isValid() ? QBrush(_fill) : Qt::NoBrush);
  painter.setPen(_border.isValid() ? QPen(_border, _borderWidth) : Qt::NoPen);
  painter.drawRoundedRect(shape, _radius - inset, _radius - inset);
}

void KVRoot::paintEvent(QPaintEvent*) {
  QPainter(this).fillRect(rect(), kWindowBackground);
}

void KVRoot::mousePressEvent(QMouseEvent* event) {
  // Presses on labels and cards fall through to here: the whole background moves the window.
  if (event->button() == Qt::LeftButton && window()->windowHandle() != nullptr) {
    window()->windowHandle()->startSystemMove();
  }
}

void KVCard::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(kCard);
  painter.drawRoundedRect(QRectF(rect()), 4, 4);
}

void KVLogo::setFrame(const QRect& frame) {
  setGeometry(frame.adjusted(-kOverhang, -kOverhang, kOverhang, kOverhang));
}

void KVLogo::paintEvent(QPaintEvent*) {
  // The layout frame's width sets the size; its centre is the widget's centre.
  const double w = width() - 2 * kOverhang;
  const double a = w * 0.5 - 1.5;
  const QPointF centre(width() * 0.5, height() * 0.5);
  QPainterPath path(QPointF(centre.x() + a, centre.y()));
  // 120 segments, one every 3 degrees; the 1.9 stretches the figure upright, past the frame's
  // height on purpose.
  for (int i = 2; i <= 240; i += 2) {
    const double t = i * std::numbers::pi / 120;
    const double s = std::sin(t);
    const double c = std::cos(t);
    const double d = 1 + s * s;
    path.lineTo(centre.x() + a * c / d, centre.y() + 1.9 * (a * s * c / d));
  }
  path.closeSubpath();
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(kAccent, 2.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::NoBrush);
  painter.drawPath(path);
}

KVScrollArea::KVScrollArea(QWidget* parent)
    : QScrollArea(parent), _overlay(new QScrollBar(Qt::Vertical, this)) {
  setFrameShape(QFrame::NoFrame);
  setAutoFillBackground(false);
  viewport()->setAutoFillBackground(false);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  // The area's own bar keeps the offset and takes the wheel; it is never shown.
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  _overlay->setStyleSheet(QStringLiteral(
      "QScrollBar:vertical { background: transparent; width: 6px; margin: 0; }"
      "QScrollBar::handle:vertical { background: rgba(255, 255, 255, 90); border-radius: 3px;"
      " min-height: 24px; }"
      "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
      "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }"));
  _overlay->hide();
  _hide.setSingleShot(true);
  _hide.setInterval(1000);
  connect(&_hide, &QTimer::timeout, _overlay, &QWidget::hide);
  QScrollBar* inner = verticalScrollBar();
  connect(inner, &QScrollBar::rangeChanged, _overlay, &QScrollBar::setRange);
  connect(_overlay, &QScrollBar::valueChanged, inner, &QScrollBar::setValue);
  connect(inner, &QScrollBar::valueChanged, this, [this](int value) {
    _overlay->setValue(value);
    if (_overlay->maximum() <= 0) return;
    _overlay->show();
    _overlay->raise();
    _hide.start();
  });
}

void KVScrollArea::resizeEvent(QResizeEvent* event) {
  QScrollArea::resizeEvent(event);
  _overlay->setGeometry(width() - 8, 2, 6, height() - 4);
}

KVButton::KVButton(QWidget* parent) : QAbstractButton(parent) {
  setAttribute(Qt::WA_Hover);
  setMouseTracking(true);       // moves arrive without a pressed button: they set the hover look
  setFocusPolicy(Qt::NoFocus);  // the window is used with the pointer alone
}

// Qt also sends an enter event to a button made under a pointer that rests; the screens are
// rebuilt up to ten times a second during a download, so only a real move sets the hover look.
void KVButton::mouseMoveEvent(QMouseEvent* event) {
  if (!_hovering && rect().contains(event->position().toPoint())) {
    _hovering = true;
    update();
  }
  QAbstractButton::mouseMoveEvent(event);
}

void KVButton::leaveEvent(QEvent*) {
  _hovering = false;
  update();
}

void KVButton::paintEvent(QPaintEvent*) {
  const bool pressed = isDown();
  const bool enabled = isEnabled();
  QColor fill;
  QColor stroke;
  QColor textColor;
  switch (_style) {
    case KVButtonStylePrimary:
      fill = !enabled    ? withAlpha(kAmber, 0.3)
             : pressed   ? kAmberPressed
             : _hovering ? kAmberHover
                         : kAmber;
      textColor = enabled ? kWindowBackground : withAlpha(kText, 0.45);
      break;
    case KVButtonStyleSecondary:
      stroke = withAlpha(kWhite, enabled ? 0.85 : 0.3);
      if (enabled && _hovering) fill = withAlpha(kWhite, pressed ? 0.16 : 0.08);
      textColor = enabled ? kText : withAlpha(kText, 0.4);
      break;
    default:
      textColor = !enabled ? withAlpha(kText, 0.3) : _hovering ? kText : dimText();
      break;
  }
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF shape = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  painter.setBrush(fill.isValid() ? QBrush(fill) : Qt::NoBrush);
  painter.setPen(stroke.isValid() ? QPen(stroke, 1) : Qt::NoPen);
  if (fill.isValid() || stroke.isValid()) painter.drawRoundedRect(shape, 4, 4);

  const QFont font = _style == KVButtonStylePrimary ? boldFont(13) : regularFont(13);
  painter.setFont(font);
  painter.setPen(textColor);
  const double textHeight = QFontMetricsF(font).height();
  const QRectF textRect(0, (height() - textHeight) * 0.5, width(), textHeight);
  const Qt::Alignment align = _style == KVButtonStyleText ? Qt::AlignLeft : Qt::AlignHCenter;
  painter.drawText(textRect, int(align | Qt::AlignVCenter), text());
}

}  // namespace velko::window
