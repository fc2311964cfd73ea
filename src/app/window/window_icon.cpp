// Drawn in a 64-unit square and scaled, so each size is sharp rather than a shrunk bitmap.
#include "window_icon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace tabvet {

// An image rather than a pixmap: it needs no display, so the build can export it for the desktop's menus.
QImage ApplicationIconImage(int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size / 64.0, size / 64.0);
    // The table: a header row and three rows of two columns.
    p.setPen(QPen(QColor(0x1f, 0x3a, 0x5f), 3));
    p.setBrush(QColor(0xf4, 0xf6, 0xf9));
    p.drawRoundedRect(QRectF(4, 8, 52, 48), 4, 4);
    p.fillRect(QRectF(5.5, 9.5, 49, 10), QColor(0x3b, 0x6e, 0xa8));
    for (const double y : {31.0, 43.0}) {
        p.drawLine(QPointF(4, y), QPointF(56, y));
    }
    p.drawLine(QPointF(24, 19), QPointF(24, 56));
    // The check mark, over the lower right corner.
    QPainterPath check;
    check.moveTo(30, 42);
    check.lineTo(41, 53);
    check.lineTo(61, 27);
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(Qt::white, 11, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.drawPath(check);
    p.setPen(QPen(QColor(0x2e, 0x9d, 0x4a), 6.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.drawPath(check);
    p.end();
    return image;
}

QIcon ApplicationIcon() {
    QIcon icon;
    for (const int size : kApplicationIconSizes) {
        icon.addPixmap(QPixmap::fromImage(ApplicationIconImage(size)));
    }
    return icon;
}

}  // namespace tabvet
