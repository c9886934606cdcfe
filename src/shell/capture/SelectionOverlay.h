#pragma once

#include <QPixmap>
#include <QPoint>
#include <QRect>
#include <QWidget>

namespace folvane {

// A frameless full-screen window over one screen, showing the picture of that
// screen as it was when the capture began, dimmed. The user drags a rectangle
// (shown undimmed, with its size in pixels); releasing the button takes it,
// Enter takes the whole screen, Escape or the right button cancels.
class SelectionOverlay final : public QWidget {
    Q_OBJECT
  public:
    // `frozen` is the screen's picture in device pixels; the overlay covers
    // `geometry`, the screen's area in the desktop's coordinates.
    SelectionOverlay(const QPixmap& frozen, const QRect& geometry, QWidget* parent = nullptr);

    // The part of the frozen picture under `area` (the overlay's own
    // coordinates), in device pixels.
    QImage crop(const QRect& area) const;
    // The dragged area while the button is down, empty otherwise.
    QRect selection() const { return selection_; }

  signals:
    void taken(QImage picture);
    void cancelled();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QPixmap frozen_;
    QPoint anchor_;
    QRect selection_;
    bool dragging_ = false;
};

}  // namespace folvane
