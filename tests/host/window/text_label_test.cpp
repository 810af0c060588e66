#include "host/window/text_label.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

namespace quillmoor::host {
namespace {

const char* const kLong =
    "A text of several words that does not stand on one line.\n\nAnd a second paragraph.";

// The dark pixels of a label, as columns from the left.
std::pair<int, int> extentOf(QLabel& label, int width, int height) {
    label.resize(width, height);
    QImage image(label.size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    label.render(&image);
    int left = width;
    int right = -1;
    for (int x = 0; x < width; ++x)
        for (int y = 0; y < height; ++y)
            if (qGray(image.pixel(x, y)) < 128) {
                left = std::min(left, x);
                right = std::max(right, x);
            }
    return {left, right};
}

TEST(TextLabel, TakesAsMuchRoomAsTheToolkitsLabel) {
    for (const int width : {90, 150, 333, 1000}) {
        TextLabel ours(kLong);
        QLabel theirs(kLong);
        ours.setWordWrap(true);
        theirs.setWordWrap(true);
        EXPECT_NEAR(ours.heightForWidth(width), theirs.heightForWidth(width), 8) << width;
    }
}

TEST(TextLabel, ANarrowLabelIsHigher) {
    TextLabel label(kLong);
    label.setWordWrap(true);
    EXPECT_GT(label.heightForWidth(100), label.heightForWidth(400));
    EXPECT_EQ(label.heightForWidth(2000), label.heightForWidth(4000));
}

TEST(TextLabel, WithoutWrappingTheWidthIsThatOfTheLongestParagraph) {
    TextLabel label(kLong);
    QLabel theirs(kLong);
    EXPECT_NEAR(label.sizeHint().width(), theirs.sizeHint().width(), 4);
    EXPECT_EQ(label.minimumSizeHint(), label.sizeHint());
}

TEST(TextLabel, NoWordIsCutOff) {
    TextLabel label("one Donaudampfschifffahrtsgesellschaft two");
    label.setWordWrap(true);
    TextLabel word("Donaudampfschifffahrtsgesellschaft");
    EXPECT_GE(label.minimumSizeHint().width(), word.sizeHint().width() - 1);
}

TEST(TextLabel, ANewTextIsShown) {
    TextLabel label("i");
    const auto before = extentOf(label, 300, 30);
    label.setText("a longer text");
    EXPECT_GT(extentOf(label, 300, 30).second, before.second);
}

TEST(TextLabel, ANewFontIsUsed) {
    TextLabel label("text");
    const QSize before = label.sizeHint();
    QFont larger = label.font();
    larger.setPointSizeF(larger.pointSizeF() * 2);
    label.setFont(larger);
    EXPECT_GT(label.sizeHint().width(), before.width());
}

TEST(TextLabel, TextStandsAtTheSideAtWhichReadingBegins) {
    TextLabel label("text");
    EXPECT_LT(extentOf(label, 300, 30).second, 150);
    label.setLayoutDirection(Qt::RightToLeft);
    EXPECT_GT(extentOf(label, 300, 30).first, 150);
}

TEST(TextLabel, TextFromRightToLeftIsTheToolkits) {
    const QString hebrew = QString::fromUtf8("שלום עולם");
    TextLabel label(hebrew);
    QLabel theirs(hebrew);
    EXPECT_EQ(label.sizeHint(), theirs.sizeHint());
}

TEST(TextLabel, RichTextIsTheToolkits) {
    TextLabel label("<b>bold</b>");
    QLabel theirs("<b>bold</b>");
    EXPECT_EQ(label.sizeHint(), theirs.sizeHint());
    label.setTextFormat(Qt::PlainText);
    EXPECT_GT(label.sizeHint().width(), theirs.sizeHint().width());
}

TEST(TextLabel, AnEmptyLabelIsTheToolkits) {
    EXPECT_EQ(TextLabel().sizeHint(), QLabel().sizeHint());
}

}  // namespace
}  // namespace quillmoor::host
