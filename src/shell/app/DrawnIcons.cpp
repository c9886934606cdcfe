#include "shell/app/DrawnIcons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QWidget>
#include <array>
#include <functional>

namespace folvane::drawn_icons {
namespace {

// The icon at the usual toolbar sizes, each drawn on a 24-unit grid.
QIcon draw(const QWidget& widget, const std::function<void(QPainter&)>& paint) {
    const QColor ink = widget.palette().color(QPalette::ButtonText);
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size / 24.0, size / 24.0);
        QPen pen(ink, 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
        painter.setPen(pen);
        paint(painter);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

}  // namespace

QIcon microphone(const QWidget& widget) {
    return draw(widget, [](QPainter& p) {
        p.drawRoundedRect(QRectF(9, 3, 6, 11), 3, 3);  // the capsule
        QPainterPath cradle;
        cradle.moveTo(6, 11);
        cradle.arcTo(QRectF(6, 5, 12, 12), 180, 180);
        p.drawPath(cradle);
        p.drawLine(QPointF(12, 17), QPointF(12, 21));
        p.drawLine(QPointF(9, 21), QPointF(15, 21));
    });
}

QIcon viewfinder(const QWidget& widget) {
    return draw(widget, [](QPainter& p) {
        // Four corners of a frame, and lines of text inside it.
        for (const auto& [x, y, dx, dy] : {std::array{3, 3, 1, 1}, std::array{21, 3, -1, 1},
                                           std::array{3, 21, 1, -1}, std::array{21, 21, -1, -1}}) {
            p.drawLine(QPointF(x, y), QPointF(x + 5 * dx, y));
            p.drawLine(QPointF(x, y), QPointF(x, y + 5 * dy));
        }
        p.drawLine(QPointF(8, 9), QPointF(16, 9));
        p.drawLine(QPointF(8, 12), QPointF(16, 12));
        p.drawLine(QPointF(8, 15), QPointF(13, 15));
    });
}

}  // namespace folvane::drawn_icons
