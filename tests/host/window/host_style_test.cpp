#include "host/window/host_style.h"

#include <gtest/gtest.h>

#include <QFocusFrame>
#include <QPushButton>

namespace quillmoor::host {
namespace {

TEST(HostStyle, UnderlinesMnemonicsOnlyOnRequest) {
    HostStyle style;
    QWidget window;
    EXPECT_EQ(style.styleHint(QStyle::SH_UnderlineShortcut, nullptr, nullptr, nullptr), 0);
    style.setMnemonicsShown(true, window);
    EXPECT_EQ(style.styleHint(QStyle::SH_UnderlineShortcut, nullptr, nullptr, nullptr), 1);
    style.setMnemonicsShown(false, window);
    EXPECT_EQ(style.styleHint(QStyle::SH_UnderlineShortcut, nullptr, nullptr, nullptr), 0);
}

TEST(HostStyle, AFocusFrameSurroundsItsButton) {
    HostStyle style;
    QWidget window;
    QPushButton button("Button", &window);
    button.move(20, 20);
    QFocusFrame frame(&window);
    frame.setStyle(&style);
    frame.setWidget(&button);
    constexpr int room = HostStyle::kFocusRoom;
    EXPECT_EQ(frame.geometry(), button.geometry().adjusted(-room, -room, room, room));
}

TEST(HostStyle, AWindowWithAStyleSheetPassesItsPaletteOn) {
    const HostStyle style;
    QWidget window;
    QWidget child(&window);
    window.setStyleSheet("QLabel { margin: 1px; }");
    child.ensurePolished();
    window.setPalette(QPalette(Qt::darkGreen));
    EXPECT_EQ(child.palette(), window.palette());
}

}  // namespace
}  // namespace quillmoor::host
