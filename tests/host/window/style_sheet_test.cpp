#include "host/window/style_sheet.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>

namespace quillmoor::host {
namespace {

const Colours kLight = coloursFor(false, std::nullopt);
const Colours kDark = coloursFor(true, std::nullopt);

TEST(StyleSheet, EveryPlaceholderIsReplaced) {
    for (const Colours& colours : {kLight, kDark})
        EXPECT_FALSE(styleSheetFor(colours, QApplication::font()).contains('@'));
}

TEST(StyleSheet, TextStylesFollowTheProperty) {
    QWidget root;
    QLabel title(&root);
    QLabel heading(&root);
    QLabel body(&root);
    title.setProperty("textStyle", "title");
    heading.setProperty("textStyle", "heading");
    body.setProperty("textStyle", "no such style");
    root.setStyleSheet(styleSheetFor(kLight, root.font()));
    for (QLabel* label : {&title, &heading, &body}) label->ensurePolished();
    EXPECT_GT(title.font().pointSizeF(), heading.font().pointSizeF());
    EXPECT_GT(heading.font().pointSizeF(), root.font().pointSizeF());
    EXPECT_EQ(title.font().weight(), QFont::DemiBold);
    EXPECT_EQ(body.font(), root.font());
}

// The colour of a button in the middle of its left end, where there is no text.
class StyleSheetButton : public ::testing::TestWithParam<bool> {
  protected:
    StyleSheetButton() {
        window_.setStyleSheet(styleSheetFor(colours_, QApplication::font()));
        button_.resize(120, 34);
    }
    QColor fill() { return button_.grab().toImage().pixelColor(8, 17); }

    const Colours& colours_ = GetParam() ? kDark : kLight;
    QWidget window_;
    QPushButton button_{"Button", &window_};
};

TEST_P(StyleSheetButton, HasTheAccentWhenItIsTheDefault) {
    EXPECT_EQ(fill(), colours_.card);
    button_.setDefault(true);
    EXPECT_EQ(fill(), colours_.accent);
}

TEST_P(StyleSheetButton, LooksDisabledEvenAsTheDefault) {
    button_.setEnabled(false);
    EXPECT_EQ(fill(), colours_.window);
    button_.setDefault(true);
    EXPECT_EQ(fill(), colours_.window);
}

TEST_P(StyleSheetButton, ShowsThatItIsPressed) {
    button_.setDown(true);
    EXPECT_NE(fill(), colours_.card);
    button_.setDefault(true);
    EXPECT_NE(fill(), colours_.accent);
}

INSTANTIATE_TEST_SUITE_P(Both, StyleSheetButton, ::testing::Bool());

// A tall scroll bar, half of whose contents are visible.
class StyleSheetScrollBar : public ::testing::Test {
  protected:
    StyleSheetScrollBar() {
        bar_.setStyleSheet(styleSheetFor(kLight, QApplication::font()));
        bar_.resize(14, 400);
        bar_.setRange(0, 100);
        bar_.setPageStep(100);
    }
    // The rows in which its middle does not have the background's colour.
    std::pair<int, int> handle() {
        const QImage drawn = bar_.grab().toImage();
        int first = -1;
        int last = -1;
        for (int y = 0; y < drawn.height(); ++y) {
            if (drawn.pixel(7, y) == drawn.pixel(0, 0)) continue;
            if (first < 0) first = y;
            last = y;
        }
        return {first, last};
    }

    QScrollBar bar_{Qt::Vertical};
};

TEST_F(StyleSheetScrollBar, ShowsWhereTheContentsAre) {
    EXPECT_EQ(handle(), std::make_pair(0, 199));
    bar_.setValue(50);
    EXPECT_EQ(handle(), std::make_pair(100, 299));
    bar_.setValue(100);
    EXPECT_EQ(handle(), std::make_pair(200, 399));
    bar_.setPageStep(1);
    EXPECT_EQ(handle(), std::make_pair(376, 399));
}

TEST_F(StyleSheetScrollBar, GoesOnByAPageBesideItsHandle) {
    bar_.setRange(0, 1000);
    QTest::mouseClick(&bar_, Qt::LeftButton, {}, QPoint(7, 390));
    EXPECT_EQ(bar_.value(), 100);
    QTest::mouseClick(&bar_, Qt::LeftButton, {}, QPoint(7, 2));
    EXPECT_EQ(bar_.value(), 0);
}

TEST_F(StyleSheetScrollBar, IsDraggedByItsHandle) {
    QTest::mousePress(&bar_, Qt::LeftButton, {}, QPoint(7, 100));
    QTest::mouseMove(&bar_, QPoint(7, 200));
    EXPECT_EQ(bar_.value(), 50);
    QTest::mouseRelease(&bar_, Qt::LeftButton, {}, QPoint(7, 200));
}

}  // namespace
}  // namespace quillmoor::host
