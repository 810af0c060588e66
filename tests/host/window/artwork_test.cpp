#include "host/window/artwork.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QImage>

#include "host/window/appearance.h"

namespace quillmoor::host {
namespace {

const QPalette kPalette = paletteOf(coloursFor(false, std::nullopt));
const QColor kAccent = kPalette.color(QPalette::Highlight);

QImage drawn(Artwork::Picture picture) {
    Artwork artwork(picture, 100);
    artwork.setPalette(kPalette);
    QImage image(artwork.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    artwork.render(&image, {}, {}, QWidget::DrawChildren);
    return image;
}

TEST(Artwork, ThePackageIsSharpAtEveryScale) {
    const QPixmap picture = packagePicture(48, 2, kPalette);
    EXPECT_EQ(picture.size(), QSize(96, 96));
    EXPECT_EQ(picture.devicePixelRatio(), 2);
}

TEST(Artwork, ThePackageHasARoundedBackground) {
    const QImage picture = packagePicture(100, 1, kPalette).toImage();
    for (const QPoint corner : {QPoint(0, 0), QPoint(99, 0), QPoint(0, 99), QPoint(99, 99)})
        EXPECT_EQ(picture.pixelColor(corner).alpha(), 0);
    for (const QPoint edge : {QPoint(50, 1), QPoint(1, 50), QPoint(98, 50), QPoint(50, 98)})
        EXPECT_EQ(picture.pixelColor(edge).alpha(), 255);
    EXPECT_GT(picture.pixelColor(50, 2).lightness(), picture.pixelColor(50, 97).lightness());
}

TEST(Artwork, ThePackagesLidIsWhiteButForItsTape) {
    const QImage picture = packagePicture(100, 1, kPalette).toImage();
    EXPECT_GT(picture.pixelColor(30, 36).lightness(), 240);
    EXPECT_LT(picture.pixelColor(50, 34).lightness(), 220);
}

TEST(Artwork, TheTickIsOnADiscOfTheAccent) {
    const QImage picture = drawn(Artwork::Picture::Tick);
    EXPECT_EQ(picture.pixelColor(2, 2).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(50, 10), kAccent);
    EXPECT_EQ(picture.pixelColor(44, 67), kPalette.color(QPalette::HighlightedText));
}

TEST(Artwork, TheWarningIsATriangleWithAMark) {
    const QImage picture = drawn(Artwork::Picture::Warning);
    EXPECT_EQ(picture.pixelColor(5, 30).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(25, 80), warningColour(kPalette));
    EXPECT_EQ(picture.pixelColor(50, 50), kPalette.color(QPalette::Base));
}

TEST(Artwork, IsIgnoredByScreenReaders) {
    Artwork artwork(Artwork::Picture::Tick, 20);
    QAccessibleInterface* const spoken = QAccessible::queryAccessibleInterface(&artwork);
    EXPECT_TRUE(spoken->text(QAccessible::Name).isEmpty());
    EXPECT_FALSE(spoken->state().focusable);
    EXPECT_EQ(artwork.size(), QSize(20, 20));
}

}  // namespace
}  // namespace quillmoor::host
