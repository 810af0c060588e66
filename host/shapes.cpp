#include "host/shapes.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quillmoor::host {
namespace {

constexpr int kStrip = 8;

// Pieces meet without a seam only where they end between two pixels of the screen.
bool piecesMeet(const QPainter& painter) {
    const qreal scale = painter.device()->devicePixelRatio();
    return scale == std::floor(scale) && painter.transform().type() <= QTransform::TxTranslate;
}

std::array<QRect, 4> corners(const QRect& shape, int side) {
    const QSize size(side, side);
    std::array<QRect, 4> boxes;
    boxes.fill(QRect(shape.topLeft(), size));
    boxes[1].moveTopRight(shape.topRight());
    boxes[2].moveBottomLeft(shape.bottomLeft());
    boxes[3].moveBottomRight(shape.bottomRight());
    return boxes;
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
        for (const QRect& corner : corners(shape, radius)) {
            painter.setClipRect(corner);
            painter.drawRoundedRect(shape, radius, radius);
        }
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
