#include "host/window/appearance.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QStyle>
#include <algorithm>
#include <vector>

namespace quillmoor::host {
namespace {

// Light and dark, without an accent, with accents of desktops, and with extreme ones.
std::vector<Colours> allColours() {
    std::vector<Colours> all;
    for (const bool dark : {false, true}) {
        all.push_back(coloursFor(dark, std::nullopt));
        for (const QColor& accent : {QColor(0x308cc6), QColor(0xe95420), QColor(0x3daee9),
                                     QColor(Qt::yellow), QColor(Qt::black), QColor(Qt::white)})
            all.push_back(coloursFor(dark, accent));
    }
    return all;
}

TEST(Appearance, EveryTextCanBeRead) {
    for (const Colours& c : allColours()) {
        SCOPED_TRACE(c.accent.name().toStdString() + " on " + c.card.name().toStdString());
        for (const QColor& ground : {c.window, c.rail, c.card}) {
            EXPECT_GE(contrast(c.text, ground), 4.5);
            EXPECT_GE(contrast(c.secondary, ground), 4.5);
        }
        EXPECT_GE(contrast(c.onAccent, c.accent), 4.5);
    }
}

TEST(Appearance, EveryMarkCanBeSeen) {
    for (const Colours& c : allColours()) {
        SCOPED_TRACE(c.accent.name().toStdString() + " on " + c.card.name().toStdString());
        const QColor warning = warningColour(paletteOf(c));
        for (const QColor& ground : {c.window, c.rail, c.card}) {
            EXPECT_GE(contrast(c.outline, ground), 3.0);
            EXPECT_GE(contrast(c.accent, ground), 3.0);
            EXPECT_GE(contrast(warning, ground), 3.0);
        }
    }
}

TEST(Appearance, ContrastIsThatOfTheGuideline) {
    EXPECT_NEAR(contrast(Qt::black, Qt::white), 21.0, 0.01);
    EXPECT_NEAR(contrast(QColor(0x777777), Qt::white), 4.48, 0.01);
    EXPECT_EQ(contrast(Qt::red, Qt::red), 1.0);
}

TEST(Appearance, AnAccentThatCanBeUsedIsKept) {
    const QColor accent(0x1d6b2f);
    EXPECT_EQ(coloursFor(false, accent).accent, accent);
}

TEST(Appearance, LightAndDarkCanBeForced) {
    QWidget window;
    applyAppearance(window, AppearanceMode::Dark);
    EXPECT_TRUE(isDark(window.palette()));
    applyAppearance(window, AppearanceMode::Light);
    EXPECT_FALSE(isDark(window.palette()));
}

TEST(Appearance, TheSystemsPaletteIsTheDefault) {
    QWidget window;
    QApplication::setPalette(QPalette(QColor(0x202020)));
    applyAppearance(window, AppearanceMode::System);
    EXPECT_TRUE(isDark(window.palette()));
    QApplication::setPalette(QPalette(QColor(0xe0e0e0)));
    applyAppearance(window, AppearanceMode::System);
    EXPECT_FALSE(isDark(window.palette()));
    QApplication::setPalette(QPalette());
}

// The first and the last column of a label with a dark pixel.
std::pair<int, int> inkOf(QLabel& label) {
    label.resize(300, 30);
    const QImage drawn = label.grab().toImage();
    std::pair ink(drawn.width(), -1);
    for (int x = 0; x < drawn.width(); ++x)
        for (int y = 0; y < drawn.height(); ++y)
            if (qGray(drawn.pixel(x, y)) < 128)
                ink = {std::min(ink.first, x), std::max(ink.second, x)};
    return ink;
}

TEST(Appearance, TextBeginsAtTheRightInAWindowFromRightToLeft) {
    QWidget root;
    root.setLayoutDirection(Qt::RightToLeft);
    applyAppearance(root, AppearanceMode::Light);
    for (const char* text : {"English.", "\u05e9\u05dc\u05d5\u05dd."}) {
        QLabel label(QString::fromUtf8(text), &root);
        for (int i = 0; i < 2; ++i) {
            alignLabels(root);
            EXPECT_GT(inkOf(label).first, 150) << text;
        }
    }
}

TEST(Appearance, LabelsOfAWindowFromLeftToRightStayAsTheyAre) {
    QWidget root;
    QLabel label(QString::fromUtf8("שלום"), &root);
    const Qt::Alignment before = label.alignment();
    alignLabels(root);
    EXPECT_EQ(label.alignment(), before);
    EXPECT_FALSE(label.testAttribute(Qt::WA_SetLayoutDirection));
}

TEST(Appearance, TheFontIsTheSystemsWhereInterIsMissing) {
    QFont system;
    system.setFamilies({"Some Family"});
    system.setPointSizeF(14);
    const QFont font = applicationFont(system);
    EXPECT_EQ(font.families(), (QStringList{"Inter", "Some Family"}));
    EXPECT_EQ(font.pointSizeF(), 14);
    system.setPointSizeF(7);
    EXPECT_EQ(applicationFont(system).pointSizeF(), 10);
}

}  // namespace
}  // namespace quillmoor::host
