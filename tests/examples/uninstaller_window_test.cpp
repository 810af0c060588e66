#include "examples/tallyframe-uninstaller/uninstaller_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>

#include "tests/support/temp_folder.h"

namespace quillmoor::tallyframe {
namespace {

// One item, which does not exist when it is to be moved.
std::vector<Item> items() {
    return {{Item::Kind::Application, "/nonexistent/Tallyframe.app"}};
}

class Uninstaller : public ::testing::Test {
  protected:
    void open(UninstallerWindow& window) {
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }
    static QPushButton* find(const UninstallerWindow& window, const char* name) {
        return window.findChild<QPushButton*>(name);
    }
    static void press(Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); }
};

TEST_F(Uninstaller, ReturnPressesTheButtonThatHasTheFocus) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        UninstallerWindow window(items());
        open(window);
        find(window, "moveButton")->setFocus();
        press(key);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !window.isUnanswered(); }, 20000));
        EXPECT_TRUE(window.isVisible());
    }
}

TEST_F(Uninstaller, BeginsWithTheFocusOnCancel) {
    UninstallerWindow window(items());
    open(window);
    EXPECT_EQ(QApplication::focusWidget(), find(window, "closeButton"));
    press(Qt::Key_Return);
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(window.isUnanswered());
}

TEST_F(Uninstaller, TheButtonThatReturnPressesIsTheDefault) {
    UninstallerWindow window(items());
    open(window);
    EXPECT_TRUE(find(window, "closeButton")->isDefault());
    EXPECT_FALSE(find(window, "moveButton")->isDefault());
    press(Qt::Key_Backtab);
    EXPECT_EQ(QApplication::focusWidget(), find(window, "moveButton"));
    EXPECT_FALSE(find(window, "closeButton")->isDefault());
    EXPECT_TRUE(find(window, "moveButton")->isDefault());
}

TEST_F(Uninstaller, AfterTheReportReturnClosesIt) {
    UninstallerWindow window(items());
    open(window);
    find(window, "moveButton")->setFocus();
    press(Qt::Key_Return);
    ASSERT_TRUE(QTest::qWaitFor([&] { return find(window, "moveButton")->isHidden(); }, 20000));
    press(Qt::Key_Return);
    EXPECT_FALSE(window.isVisible());
    EXPECT_FALSE(window.isSomethingLeft());
}

TEST_F(Uninstaller, EscapeCancels) {
    UninstallerWindow window(items());
    open(window);
    press(Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(window.isUnanswered());
}

TEST_F(Uninstaller, AsksNothingIfNothingIsFound) {
    UninstallerWindow window({});
    open(window);
    press(Qt::Key_Return);
    EXPECT_FALSE(window.isVisible());
    EXPECT_FALSE(window.isUnanswered());
}

}  // namespace
}  // namespace quillmoor::tallyframe
