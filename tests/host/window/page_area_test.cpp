#include "host/window/page_area.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QPointer>
#include <QTest>

namespace quillmoor::host {
namespace {

class PageArea : public ::testing::Test {
  protected:
    PageArea() : area_(newPageArea(nullptr)) { area_->resize(400, 300); }
    QWidget* show(int height) {
        auto page = std::make_unique<QWidget>();
        page->setMinimumHeight(height);
        QWidget* const shown = page.get();
        setPage(*area_, std::move(page));
        area_->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(area_.get()));
        return shown;
    }

    std::unique_ptr<QScrollArea> area_;
};

TEST_F(PageArea, TakesTheFocusOnlyWhenItCanBeScrolled) {
    QWidget* const page = show(100);
    EXPECT_EQ(area_->focusPolicy(), Qt::NoFocus);
    page->setMinimumHeight(3000);
    EXPECT_TRUE(QTest::qWaitFor([this] { return area_->focusPolicy() == Qt::StrongFocus; }));
    page->setMinimumHeight(100);
    EXPECT_TRUE(QTest::qWaitFor([this] { return area_->focusPolicy() == Qt::NoFocus; }));
}

TEST_F(PageArea, ShowsAPageThatWasHidden) {
    EXPECT_TRUE(show(100)->isVisible());
}

TEST_F(PageArea, APageThatNeedsLessRoomFillsIt) {
    const QWidget* const page = show(100);
    EXPECT_GT(page->height(), 200);
    EXPECT_GT(page->width(), 300);
}

TEST_F(PageArea, OwnsItsPage) {
    const QPointer<QWidget> page = show(100);
    area_.reset();
    EXPECT_TRUE(page.isNull());
}

TEST_F(PageArea, ALongTextWrapsAndIsNeverCutOffAtTheSide) {
    auto page = std::make_unique<QLabel>(QString("word ").repeated(400));
    page->setWordWrap(true);
    const QLabel* const label = page.get();
    setPage(*area_, std::move(page));
    area_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(area_.get()));
    EXPECT_LE(label->width(), area_->width());
    EXPECT_GE(label->height(), label->heightForWidth(label->width()));
}

}  // namespace
}  // namespace quillmoor::host
