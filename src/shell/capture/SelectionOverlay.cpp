#include "shell/capture/SelectionOverlay.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cstdlib>

namespace folvane {
namespace {

const QString helpText =
    QStringLiteral("Drag to select an area. Enter takes the whole screen, Escape cancels.");

// The area between the two corners the pointer went through: a drag of 200
// pixels to the right is 200 pixels wide.
QRect spanned(QPoint from, QPoint to) {
    return QRect(QPoint(std::min(from.x(), to.x()), std::min(from.y(), to.y())),
                 QSize(std::abs(to.x() - from.x()), std::abs(to.y() - from.y())));
}

}  // namespace

SelectionOverlay::SelectionOverlay(const QPixmap& frozen, const QRect& geometry, QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Tool),
      frozen_(frozen) {
    setObjectName(QStringLiteral("screenshotSelection"));
    setWindowTitle(QStringLiteral("Screenshot"));
    setAccessibleName(QStringLiteral("Screenshot selection"));
    setAccessibleDescription(helpText);
    setAttribute(Qt::WA_DeleteOnClose, false);
    setCursor(Qt::CrossCursor);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setGeometry(geometry);
}

QImage SelectionOverlay::crop(const QRect& area) const {
    const qreal ratio = frozen_.devicePixelRatio();
    const QRect pixels(qRound(area.x() * ratio), qRound(area.y() * ratio),
                       qRound(area.width() * ratio), qRound(area.height() * ratio));
    return frozen_.copy(pixels.intersected(frozen_.rect())).toImage();
}

void SelectionOverlay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.drawPixmap(rect(), frozen_);
    const QColor dim(0, 0, 0, 110);
    if (selection_.isEmpty()) {
        painter.fillRect(rect(), dim);
        QFont font = painter.font();
        font.setPointSizeF(font.pointSizeF() * 1.3);
        painter.setFont(font);
        const QRect box = painter.fontMetrics()
                              .boundingRect(helpText)
                              .adjusted(-14, -8, 14, 8)
                              .translated(rect().center() - QPoint(0, height() / 4));
        const QRect centred = box.translated(-box.width() / 2, 0);
        painter.fillRect(centred, QColor(0, 0, 0, 170));
        painter.setPen(Qt::white);
        painter.drawText(centred, Qt::AlignCenter, helpText);
        return;
    }
    // Dim everything around the selection, leaving it as it is on the screen.
    QRegion around(rect());
    around -= QRegion(selection_);
    for (const QRect& part : around) painter.fillRect(part, dim);
    painter.setPen(QPen(QColor(60, 150, 255), 1));
    painter.drawRect(selection_.adjusted(0, 0, -1, -1));

    const qreal ratio = frozen_.devicePixelRatio();
    const QString size = QStringLiteral("%1 × %2")
                             .arg(qRound(selection_.width() * ratio))
                             .arg(qRound(selection_.height() * ratio));
    const QRect text = painter.fontMetrics().boundingRect(size).adjusted(-6, -3, 6, 3);
    QPoint at = selection_.bottomLeft() + QPoint(0, 6);
    if (at.y() + text.height() > height()) at = selection_.topLeft() - QPoint(0, text.height() + 6);
    if (at.y() < 0) at = selection_.topLeft() + QPoint(6, 6);
    const QRect label(at, text.size());
    painter.fillRect(label, QColor(0, 0, 0, 190));
    painter.setPen(Qt::white);
    painter.drawText(label, Qt::AlignCenter, size);
}

void SelectionOverlay::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::RightButton) {
        emit cancelled();
        return;
    }
    if (event->button() != Qt::LeftButton) return;
    dragging_ = true;
    anchor_ = event->position().toPoint();
    selection_ = QRect();
    update();
}

void SelectionOverlay::mouseMoveEvent(QMouseEvent* event) {
    if (!dragging_) return;
    selection_ = spanned(anchor_, event->position().toPoint()).intersected(rect());
    update();
}

void SelectionOverlay::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !dragging_) return;
    dragging_ = false;
    selection_ = spanned(anchor_, event->position().toPoint()).intersected(rect());
    // A click without a drag selects nothing; the overlay waits for a drag.
    if (selection_.width() < 2 || selection_.height() < 2) {
        selection_ = QRect();
        update();
        return;
    }
    emit taken(crop(selection_));
}

void SelectionOverlay::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Escape:
            emit cancelled();
            return;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            emit taken(crop(rect()));
            return;
        default:
            QWidget::keyPressEvent(event);
    }
}

}  // namespace folvane
