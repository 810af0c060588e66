#include "host/window/artwork.h"

#include <QPainterPath>

#include "host/window/appearance.h"

namespace quillmoor::host {
namespace {

// A point of the square, in parts of its side.
QPointF at(const QRectF& box, double across, double down) {
    return {box.x() + across * box.width(), box.y() + down * box.height()};
}

// A filled shape with these corners.
QPainterPath face(const QRectF& box, std::initializer_list<std::pair<double, double>> corners) {
    QPolygonF polygon;
    for (const auto& [across, down] : corners) polygon.append(at(box, across, down));
    QPainterPath path;
    path.addPolygon(polygon);
    path.closeSubpath();
    return path;
}

QColor white(double opacity) {
    return QColor::fromRgbF(1, 1, 1, static_cast<float>(opacity));
}

}  // namespace

void paintPackage(QPainter& painter, const QRectF& box, const QPalette& palette) {
    const QColor accent = palette.color(QPalette::Highlight);
    QLinearGradient ground(box.topLeft(), box.bottomLeft());
    ground.setColorAt(0, accent.lighter(118));
    ground.setColorAt(1, accent.darker(118));
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(box, box.width() * .23, box.width() * .23);

    // An open view of a closed box: lid, left and right side, and the tape across the lid.
    painter.fillPath(face(box, {{.5, .2}, {.78, .345}, {.5, .49}, {.22, .345}}), white(.98));
    painter.fillPath(face(box, {{.22, .385}, {.48, .52}, {.48, .81}, {.22, .675}}), white(.82));
    painter.fillPath(face(box, {{.78, .385}, {.52, .52}, {.52, .81}, {.78, .675}}), white(.62));
    QColor tape = accent;
    tape.setAlphaF(.55F);
    painter.fillPath(face(box, {{.405, .249}, {.685, .394}, {.595, .441}, {.315, .296}}), tape);
}

void paintTick(QPainter& painter, const QRectF& box, const QColor& disc, const QColor& tick) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(disc);
    painter.drawEllipse(box);
    QPainterPath path(at(box, .29, .52));
    path.lineTo(at(box, .44, .67));
    path.lineTo(at(box, .72, .36));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(tick, box.width() * .1, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(path);
}

void paintWarning(QPainter& painter, const QRectF& box, const QColor& colour, const QColor& mark) {
    // The stroke of the outline rounds the corners.
    const QPainterPath triangle = face(box, {{.5, .14}, {.92, .86}, {.08, .86}});
    painter.setBrush(colour);
    painter.setPen(QPen(colour, box.width() * .12, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(triangle);
    painter.setPen(QPen(mark, box.width() * .09, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(at(box, .5, .38), at(box, .5, .6));
    painter.drawPoint(at(box, .5, .77));
}

Artwork::Artwork(Picture picture, int side, QWidget* parent) : QWidget(parent), picture_(picture) {
    setFixedSize(side, side);
}

void Artwork::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box(rect());
    switch (picture_) {
        case Picture::Package:
            return paintPackage(painter, box, palette());
        case Picture::Tick:
            return paintTick(painter, box, palette().color(QPalette::Highlight),
                             palette().color(QPalette::HighlightedText));
        case Picture::Warning:
            return paintWarning(painter, box, warningColour(palette()),
                                palette().color(QPalette::Base));
    }
}

QPixmap packagePicture(int side, qreal scale, const QPalette& palette) {
    QPixmap picture(QSize(side, side) * scale);
    // Before it is painted on: the painter then counts in points.
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    paintPackage(painter, QRectF(0, 0, side, side), palette);
    return picture;
}

}  // namespace quillmoor::host
