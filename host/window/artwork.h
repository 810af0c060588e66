// The window's pictures, drawn as shapes, so that they are sharp at every scale.
#pragma once

#include <QPainter>
#include <QPixmap>
#include <QWidget>

namespace quillmoor::host {

// Each fills the square `box`.
void paintPackage(QPainter& painter, const QRectF& box, const QPalette& palette);
void paintTick(QPainter& painter, const QRectF& box, const QColor& disc, const QColor& tick);
void paintWarning(QPainter& painter, const QRectF& box, const QColor& colour, const QColor& mark);

// A picture whose meaning is always given in words as well. Screen readers ignore it.
class Artwork : public QWidget {
  public:
    enum class Picture { Package, Tick, Warning };
    Artwork(Picture picture, int side, QWidget* parent = nullptr);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Picture picture_;
};

// Returns the package as a picture of `side` points with `scale` pixels each, for the toolkit's
// icons.
QPixmap packagePicture(int side, qreal scale, const QPalette& palette);

}  // namespace quillmoor::host
