#include "host/window/shapes.h"

#include <algorithm>
#include <cmath>

namespace quillmoor::host {
namespace {

constexpr int kStrip = 8;

// Pieces meet without a seam only where they end between two pixels of the screen.
bool piecesMeet(const QPainter& painter) {
    const qreal scale = painter.device()->devicePixelRatio();
    return scale == std::floor(scale) && painter.transform().type() <= QTransform::TxTranslate;
}

// A quarter of a disc: 0 is the upper right one, the others follow against the clock.
QPainterPath corner(const QRectF& disc, int quarter) {
    QPainterPath path(disc.center());
    path.arcTo(disc, quarter * 90, 90);
    path.closeSubpath();
    return path;
}

void fillCorners(QPainter& painter, const QRectF& shape, int radius, const QBrush& fill) {
    QRectF disc(shape.topLeft(), QSizeF(2 * radius, 2 * radius));
    painter.fillPath(corner(disc, 1), fill);
    disc.moveRight(shape.right());
    painter.fillPath(corner(disc, 0), fill);
    disc.moveBottom(shape.bottom());
    painter.fillPath(corner(disc, 3), fill);
    disc.moveLeft(shape.left());
    painter.fillPath(corner(disc, 2), fill);
}

}  // namespace

void fillShape(QPainter& painter, const QPainterPath& shape, const QBrush& fill) {
    const QRect box = shape.boundingRect().toAlignedRect();
    painter.save();
    for (int top = box.top(); top <= box.bottom(); top += kStrip) {
        painter.setClipRect(box.left(), top, box.width(), std::min(kStrip, box.bottom() - top + 1));
        painter.fillPath(shape, fill);
    }
    painter.restore();
}

void fillRounded(QPainter& painter, const QRect& shape, int radius, const QBrush& fill) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    if (piecesMeet(painter)) {
        painter.fillRect(shape.adjusted(radius, 0, -radius, 0), fill);
        painter.fillRect(shape.adjusted(0, radius, -shape.width() + radius, -radius), fill);
        painter.fillRect(shape.adjusted(shape.width() - radius, radius, 0, -radius), fill);
        fillCorners(painter, shape, radius, fill);
    } else {
        painter.drawRoundedRect(shape, radius, radius);
    }
    painter.restore();
}

void fillRoundedWithEdge(QPainter& painter, const QRect& shape, int radius, const QBrush& fill,
                         const QBrush& edge) {
    fillRounded(painter, shape, radius, edge);
    fillRounded(painter, shape.adjusted(1, 1, -1, -1), radius - 1, fill);
}

}  // namespace quillmoor::host
