#include "host/host_style.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPixmap>
#include <QScrollBar>
#include <QStyleFactory>
#include <filesystem>
#include <iterator>
#include <memory>

namespace quillmoor::host {
namespace {

std::ptrdiff_t threadCount() {
    const std::filesystem::directory_iterator all("/proc/self/task");
    return std::distance(begin(all), end(all));
}

QImage drawnBy(QStyle& style) {
    QScrollBar bar(Qt::Vertical);
    bar.setStyle(&style);
    bar.resize(14, 400);
    bar.setRange(0, 100);
    bar.setPageStep(50);
    return bar.grab().toImage();
}

TEST(HostStyle, DrawsATallScrollBarWithoutAThread) {
    HostStyle style;
    const std::ptrdiff_t before = threadCount();
    const QImage drawn = drawnBy(style);
    EXPECT_EQ(threadCount(), before);
    const std::unique_ptr<QStyle> toolkits(QStyleFactory::create("Fusion"));
    EXPECT_EQ(drawn, drawnBy(*toolkits));
}

}  // namespace
}  // namespace quillmoor::host
