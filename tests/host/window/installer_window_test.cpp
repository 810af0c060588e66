#include "host/window/installer_window.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QLabel>
#include <QMessageBox>
#include <QScreen>
#include <QStyle>
#include <QTest>
#include <QTimer>

namespace quillmoor::host {
namespace {

class Window : public ::testing::Test {
  protected:
    void SetUp() override {
        window_.onContinue = [this] { ++continued_; };
        window_.onGoBack = [this] { ++wentBack_; };
        for (std::size_t step = 0; step < 3; ++step) {
            auto page = std::make_unique<QPushButton>("On page");
            page->setObjectName("pageButton" + QString::number(step));
            auto holder = std::make_unique<QWidget>();
            page.release()->setParent(holder.get());
            window_.setPage(step, std::move(holder));
        }
        window_.showStep(0);
        window_.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
    }
    template <typename Widget = QPushButton>
    Widget* find(const char* name) {
        return window_.findChild<Widget*>(name);
    }
    static QAccessibleInterface& spoken(QWidget* widget) {
        return *QAccessible::queryAccessibleInterface(widget);
    }

    InstallerWindow window_{
        ProductName::of("Tape"), {{"One", false}, {"Two", false}, {"Three", true}}, {}};
    int continued_ = 0;
    int wentBack_ = 0;
};

TEST_F(Window, NamesTheStepAndTheProduct) {
    window_.showStep(1);
    EXPECT_EQ(find<QLabel>("paneTitle")->text(), "Two");
    EXPECT_EQ(find<QLabel>("stepProgress")->text(), "Step 2 of 3");
    EXPECT_EQ(window_.windowTitle(), "Install Tape");
}

TEST_F(Window, OnlyTheButtonThatReturnPressesIsHighlighted) {
    window_.showStep(1);
    EXPECT_TRUE(find("continueButton")->isDefault());
    EXPECT_FALSE(find("goBackButton")->isDefault());
    for (const char* name : {"goBackButton", "pageButton1"}) {
        find(name)->setFocus();
        EXPECT_TRUE(find(name)->isDefault()) << name;
        EXPECT_FALSE(find("continueButton")->isDefault()) << name;
        find("continueButton")->setFocus();
        EXPECT_FALSE(find(name)->isDefault()) << name;
        EXPECT_TRUE(find("continueButton")->isDefault()) << name;
    }
}

TEST_F(Window, ShowsOnlyTheCurrentPage) {
    window_.showStep(1);
    EXPECT_FALSE(find("pageButton0")->isVisible());
    EXPECT_TRUE(find("pageButton1")->isVisible());
    window_.showStep(0);
    EXPECT_TRUE(find("pageButton0")->isVisible());
    EXPECT_FALSE(find("pageButton1")->isVisible());
}

TEST_F(Window, TheFocusBeginsOnContinue) {
    EXPECT_EQ(QApplication::focusWidget(), find("continueButton"));
    QTest::keyClick(&window_, Qt::Key_Tab);
    EXPECT_NE(QApplication::focusWidget(), find("continueButton"));
    window_.showStep(1);
    EXPECT_EQ(QApplication::focusWidget(), find("continueButton"));
    window_.showStep(2);
    EXPECT_EQ(QApplication::focusWidget(), find("closeButton"));
}

TEST_F(Window, TabGoesFromThePageToGoBackToContinue) {
    window_.showStep(1);
    QStringList order;
    for (int i = 0; i < 3; ++i) {
        QTest::keyClick(&window_, Qt::Key_Tab);
        order.append(QApplication::focusWidget()->objectName());
    }
    EXPECT_EQ(order, (QStringList{"pageButton1", "goBackButton", "continueButton"}));
}

TEST_F(Window, ReturnContinues) {
    QTest::keyClick(&window_, Qt::Key_Return);
    QTest::keyClick(&window_, Qt::Key_Enter);
    EXPECT_EQ(continued_, 2);
}

TEST_F(Window, ReturnPressesTheButtonThatHasTheFocus) {
    window_.showStep(1);
    find("goBackButton")->setFocus();
    QTest::keyClick(find("goBackButton"), Qt::Key_Return);
    EXPECT_EQ(wentBack_, 1);
    EXPECT_EQ(continued_, 0);
}

TEST_F(Window, ReturnOnAPagesButtonPressesIt) {
    int pressed = 0;
    QObject::connect(find("pageButton0"), &QPushButton::clicked, &window_, [&] { ++pressed; });
    find("pageButton0")->setFocus();
    QTest::keyClick(find("pageButton0"), Qt::Key_Return);
    EXPECT_EQ(pressed, 1);
    EXPECT_EQ(continued_, 0);
}

TEST_F(Window, MnemonicsPressTheButtons) {
    window_.showStep(1);
    QTest::keyClick(&window_, Qt::Key_C, Qt::AltModifier);
    QTest::keyClick(&window_, Qt::Key_B, Qt::AltModifier);
    // A button that is pressed by its mnemonic is first shown pressed.
    EXPECT_TRUE(QTest::qWaitFor([this] { return continued_ == 1 && wentBack_ == 1; }, 5000));
}

TEST_F(Window, MnemonicsAreUnderlinedWhileAltIsHeld) {
    const auto underlined = [] {
        return QApplication::style()->styleHint(QStyle::SH_UnderlineShortcut);
    };
    EXPECT_EQ(underlined(), 0);
    QTest::keyPress(&window_, Qt::Key_Alt);
    EXPECT_EQ(underlined(), 1);
    QTest::keyRelease(&window_, Qt::Key_Alt);
    EXPECT_EQ(underlined(), 0);
}

TEST_F(Window, TheMousePressesTheButtons) {
    window_.showStep(1);
    QTest::mouseClick(find("continueButton"), Qt::LeftButton);
    QTest::mouseClick(find("goBackButton"), Qt::LeftButton);
    EXPECT_EQ(continued_, 1);
    EXPECT_EQ(wentBack_, 1);
}

TEST_F(Window, EscapeClosesTheWindow) {
    QTest::keyClick(&window_, Qt::Key_Escape);
    EXPECT_FALSE(window_.isVisible());
}

TEST_F(Window, TheFirstStepHasNoWayBackAndTheLastNoContinue) {
    EXPECT_FALSE(find("goBackButton")->isEnabled());
    EXPECT_TRUE(find("continueButton")->isVisible());
    EXPECT_FALSE(find("closeButton")->isVisible());
    window_.showStep(2);
    EXPECT_TRUE(find("goBackButton")->isEnabled());
    EXPECT_FALSE(find("continueButton")->isVisible());
    EXPECT_TRUE(find("closeButton")->isVisible());
    QTest::mouseClick(find("closeButton"), Qt::LeftButton);
    EXPECT_FALSE(window_.isVisible());
    EXPECT_EQ(continued_, 0);
}

TEST_F(Window, ScreenReadersHearTheStepWithTheButton) {
    window_.showStep(1);
    EXPECT_EQ(spoken(find("continueButton")).text(QAccessible::Name), "Continue");
    EXPECT_EQ(spoken(find("continueButton")).text(QAccessible::Description), "Two, Step 2 of 3");
    EXPECT_EQ(spoken(find("goBackButton")).text(QAccessible::Name), "Go Back");
    EXPECT_EQ(spoken(find("goBackButton")).text(QAccessible::Description), "Back to One");
    EXPECT_EQ(spoken(&window_).text(QAccessible::Name), "Install Tape");
    EXPECT_EQ(spoken(find<QLabel>("paneTitle")).role(), QAccessible::StaticText);
}

TEST_F(Window, AWidgetIsFoundOnTheShownPageFirst) {
    auto* other = new QPushButton(&window_);
    other->setObjectName("pageButton1");
    window_.showStep(1);
    EXPECT_NE(window_.widgetNamed("pageButton1"), other);
    EXPECT_EQ(window_.widgetNamed("nothing"), nullptr);
}

TEST_F(Window, APageThatNeedsMoreRoomScrollsAndTakesTheFocus) {
    auto* area = find("pageButton0")->window()->findChild<QScrollArea*>();
    EXPECT_EQ(area->focusPolicy(), Qt::NoFocus);
    auto tall = std::make_unique<QWidget>();
    tall->setMinimumHeight(3000);
    InstallerWindow window(ProductName::of("Tape"), {{"One", false}}, {});
    window.setPage(0, std::move(tall));
    window.showStep(0);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_EQ(window.findChild<QScrollArea*>()->focusPolicy(), Qt::StrongFocus);
}

TEST_F(Window, TheFocusCanBeSeen) {
    window_.showStep(1);
    const QImage with = window_.grab().toImage();
    find("goBackButton")->setFocus();
    EXPECT_NE(window_.grab().toImage(), with);
}

TEST_F(Window, AFrameSurroundsTheFocusedButton) {
    window_.showStep(1);
    for (const char* name : {"goBackButton", "pageButton1", "continueButton"}) {
        find(name)->setFocus();
        const auto* frame = window_.findChild<QFocusFrame*>();
        ASSERT_NE(frame, nullptr);
        EXPECT_EQ(frame->widget(), find(name));
        EXPECT_TRUE(frame->isVisible());
        EXPECT_TRUE(frame->geometry().contains(find(name)->geometry()));
    }
}

TEST_F(Window, TheFrameOutlivesItsButton) {
    auto* other = new QPushButton(find("pageButton0")->parentWidget());
    other->show();
    other->setFocus();
    delete other;
    delete find("pageButton0")->parentWidget();
    find("continueButton")->setFocus();
    EXPECT_EQ(window_.findChild<QFocusFrame*>()->widget(), find("continueButton"));
}

TEST_F(Window, ADisabledButtonLooksDisabled) {
    const QImage disabled = find("goBackButton")->grab().toImage();
    window_.showStep(1);
    EXPECT_NE(find("goBackButton")->grab().toImage(), disabled);
}

TEST_F(Window, FollowsTheSystemsPalette) {
    EXPECT_FALSE(isDark(window_.palette()));
    QApplication::setPalette(QPalette(QColor(0x202020)));
    QTest::qWait(1);
    EXPECT_TRUE(isDark(window_.palette()));
    QApplication::setPalette(QPalette());
}

// Closes a window that asks first and presses the named button. Returns whether the window closed.
bool closesAfter(InstallerWindow& window, const QString& answer) {
    bool asked = false;
    QTimer::singleShot(0, &window, [&] {
        const auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box == nullptr) return;
        for (QAbstractButton* button : box->buttons()) {
            if (button->text() != answer) continue;
            asked = true;
            button->click();
        }
    });
    const bool closed = window.close();
    EXPECT_TRUE(asked) << answer.toStdString();
    return closed;
}

TEST(WindowInUse, EverythingInItTakesItsColours) {
    InstallerWindow window(ProductName::of("Tape"), {{"One", false}, {"Two", false}},
                           {AppearanceMode::Dark});
    for (std::size_t step = 0; step < 2; ++step) {
        auto page = std::make_unique<QWidget>();
        (new QLabel("On page", page.get()))->setObjectName("label" + QString::number(step));
        window.setPage(step, std::move(page));
    }
    window.showStep(1);
    window.show();
    for (const char* name : {"paneTitle", "stepProgress", "step1", "label0", "label1"})
        EXPECT_EQ(window.findChild<QLabel*>(name)->palette().color(QPalette::PlaceholderText),
                  window.palette().color(QPalette::PlaceholderText))
            << name;
}

TEST(WindowInUse, AsksBeforeItIsLeftEarly) {
    InstallerWindow window(ProductName::of("Tape"), {{"One", false}, {"Two", false}},
                           {AppearanceMode::Dark, InstallerWindow::Confirm::Yes});
    window.showStep(0);
    window.show();
    EXPECT_FALSE(closesAfter(window, "&Stay"));
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(closesAfter(window, "&Leave"));
    EXPECT_FALSE(window.isVisible());
}

TEST(WindowInUse, DoesNotAskOnTheLastStep) {
    InstallerWindow window(ProductName::of("Tape"), {{"One", false}},
                           {AppearanceMode::Dark, InstallerWindow::Confirm::Yes});
    window.showStep(0);
    window.show();
    EXPECT_TRUE(window.close());
}

// The toolkit's screen in memory has 800 by 800 points; the window's own width is 820.
TEST(WindowInUse, IsFittedToTheScreenOnRequest) {
    for (const auto fit : {InstallerWindow::FitScreen::No, InstallerWindow::FitScreen::Yes}) {
        InstallerWindow window(ProductName::of("Tape"), {{"One", false}},
                               {AppearanceMode::Dark, InstallerWindow::Confirm::No, fit});
        window.showStep(0);
        window.show();
        const bool fits = fit == InstallerWindow::FitScreen::Yes;
        const int screen = window.screen()->availableSize().width();
        EXPECT_EQ(window.width(), fits ? screen - 16 : 820);
        EXPECT_EQ(window.height(), 530);
        EXPECT_EQ(window.minimumSize(), QSize(660, 440));
    }
}

TEST(WindowInUse, WithoutAProductsNameItIsDescribed) {
    InstallerWindow window(ProductName::of(""), {{"One", false}}, {});
    EXPECT_EQ(window.windowTitle(), "Install the product");
}

TEST(WindowInUse, ItsLayoutIsMirroredForLanguagesFromRightToLeft) {
    QApplication::setLayoutDirection(Qt::RightToLeft);
    InstallerWindow window(ProductName::of("Tape"), {{"One", false}, {"Two", false}}, {});
    window.showStep(0);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const auto at = [&](const char* name) {
        return window.findChild<QWidget*>(name)->mapTo(&window, QPoint()).x();
    };
    EXPECT_LT(at("continueButton"), at("goBackButton"));
    EXPECT_GT(at("step1"), at("goBackButton"));
    QApplication::setLayoutDirection(Qt::LeftToRight);
}

}  // namespace
}  // namespace quillmoor::host
