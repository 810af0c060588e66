// Shapes filled in pieces. The toolkit starts threads to fill a shape that is more than a few dozen
// pixels high, and to start them takes longer than to draw the whole window.
#pragma once

#include <QBrush>
#include <QPainter>
#include <QPainterPath>
#include <QRect>

namespace quillmoor::host {

// A small shape with slanting or round edges.
void fillShape(QPainter& painter, const QPainterPath& shape, const QBrush& fill);

// A rectangle of any size with round corners.
void fillRounded(QPainter& painter, const QRect& shape, int radius, const QBrush& fill);

// The same with an edge of one pixel inside `shape`.
void fillRoundedWithEdge(QPainter& painter, const QRect& shape, int radius, const QBrush& fill,
                         const QBrush& edge);

}  // namespace quillmoor::host
