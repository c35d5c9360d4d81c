// The window's view classes: plain and coloured views, the background, the card, the logo and the
// drawn button. Each draws only from its own few fields; none holds state of the screen.
#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QScrollArea>
#include <QTimer>
#include <QWidget>

#include <cstdint>

namespace velko::window {

// A plain container, or with a fill, a border and a corner radius a dot, bar or symbol circle.
class KVView : public QWidget {
  Q_OBJECT
 public:
  using QWidget::QWidget;
  // Paints the whole rectangle as a rounded shape; an invalid colour paints nothing.
  void setShape(QColor fill, double radius, QColor border = QColor(), double borderWidth = 0);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QColor _fill;
  QColor _border;
  double _radius = 0;
  double _borderWidth = 0;
};

// The window's content: the window background, and a handle to drag the window by.
class KVRoot : public KVView {
  Q_OBJECT
 public:
  using KVView::KVView;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
};

// A flat rounded panel in the card colour.
class KVCard : public KVView {
  Q_OBJECT
 public:
  using KVView::KVView;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

// The brand's mark: an upright lemniscate stroked in the accent colour. The curve is sized from its
// layout frame but reaches past that frame's top and bottom, and a widget cannot paint outside its
// own rectangle; so the widget is larger than the frame by kOverhang on every side.
class KVLogo : public KVView {
  Q_OBJECT
 public:
  using KVView::KVView;
  static constexpr int kOverhang = 4;
  // Places the logo by its layout frame.
  void setFrame(const QRect& frame);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

// A scroll area with no frame and no background whose vertical bar floats over the content, takes
// no room from it, and shows only while the content moves.
class KVScrollArea : public QScrollArea {
  Q_OBJECT
 public:
  explicit KVScrollArea(QWidget* parent);

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  QScrollBar* _overlay;
  QTimer _hide;
};

enum KVButtonStyle : int64_t {
  KVButtonStylePrimary = 0,    // the screen's main action, filled
  KVButtonStyleSecondary = 1,  // outlined
  KVButtonStyleText = 2,       // text only, aligned left
};

// A button drawn by hand in one of the three styles; it follows the pointer for its hover look,
// which starts off in every new button and comes on with the pointer's first move over it.
class KVButton : public QAbstractButton {
  Q_OBJECT
 public:
  explicit KVButton(QWidget* parent = nullptr);
  int64_t style() const { return _style; }
  void setStyle(int64_t style) { _style = style; }

 protected:
  void mouseMoveEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  bool _hovering = false;
  int64_t _style = KVButtonStylePrimary;
};

}  // namespace velko::window
