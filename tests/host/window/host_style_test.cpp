#include "host/window/host_style.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPixmap>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <filesystem>
#include <iterator>

namespace quillmoor::host {
namespace {

std::ptrdiff_t threadCount() {
    const std::filesystem::directory_iterator all("/proc/self/task");
    return std::distance(begin(all), end(all));
}

// A tall one, half of whose contents are in sight.
class HostStyleScrollBar : public ::testing::Test {
  protected:
    HostStyleScrollBar() {
        bar_.setStyle(&style_);
        bar_.resize(14, 400);
        bar_.setRange(0, 100);
        bar_.setPageStep(100);
    }
    // The rows in which its middle is not the ground's colour.
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

    HostStyle style_;
    QScrollBar bar_{Qt::Vertical};
};

TEST_F(HostStyleScrollBar, IsDrawnWithoutAThread) {
    const std::ptrdiff_t before = threadCount();
    bar_.grab();
    EXPECT_EQ(threadCount(), before);
}

TEST_F(HostStyleScrollBar, ShowsWhereTheContentsAre) {
    EXPECT_EQ(handle(), std::make_pair(0, 199));
    bar_.setValue(50);
    EXPECT_EQ(handle(), std::make_pair(100, 299));
    bar_.setValue(100);
    EXPECT_EQ(handle(), std::make_pair(200, 399));
    bar_.setPageStep(1);
    EXPECT_EQ(handle(), std::make_pair(376, 399));
}

TEST_F(HostStyleScrollBar, IsEmptyWhenAllIsInSight) {
    bar_.setRange(0, 0);
    EXPECT_EQ(handle(), std::make_pair(-1, -1));
}

TEST_F(HostStyleScrollBar, GoesOnByAPageBesideItsHandle) {
    bar_.setRange(0, 1000);
    QTest::mouseClick(&bar_, Qt::LeftButton, {}, QPoint(7, 390));
    EXPECT_EQ(bar_.value(), 100);
    QTest::mouseClick(&bar_, Qt::LeftButton, {}, QPoint(7, 2));
    EXPECT_EQ(bar_.value(), 0);
}

TEST_F(HostStyleScrollBar, IsDraggedByItsHandle) {
    QTest::mousePress(&bar_, Qt::LeftButton, {}, QPoint(7, 100));
    QTest::mouseMove(&bar_, QPoint(7, 200));
    EXPECT_EQ(bar_.value(), 50);
    QTest::mouseRelease(&bar_, Qt::LeftButton, {}, QPoint(7, 200));
}

}  // namespace
}  // namespace quillmoor::host
