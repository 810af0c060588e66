#include "host/installer_controller.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QLabel>
#include <QTest>
#include <QTimer>
#include <cstdlib>

#include "tests/host/support/bundle_maker.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::host {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsSupersetOf;

class Controller : public ::testing::Test {
  protected:
    void SetUp() override { ::setenv("INSTALLER_TEST_RECORD", (folder_ / "record").c_str(), 1); }

    // Shows the window with Introduction, a bundle for each class, Summary.
    void open(const std::vector<std::string>& paneClasses,
              const std::vector<std::string>& actions = {}) {
        std::vector<std::string> bundles;
        for (const std::string& each : paneClasses)
            bundles.push_back(makeBundle(folder_, each + ".bundle", each, actions));
        openPlan(planForBundles(bundles));
    }
    void openPlan(const std::vector<PlannedSection>& plan) {
        controller_ = std::make_unique<InstallerController>(plan, InstallerController::Setting{},
                                                            transcript_);
        controller_->start();
        controller_->showWindow();
    }
    QString shownTitle() const { return controller_->shownTitle(); }
    template <typename Widget = QPushButton>
    Widget* find(const char* name) {
        return qobject_cast<Widget*>(controller_->window().widgetNamed(name));
    }
    // The calls that the plug-ins recorded about entering and leaving.
    std::vector<std::string> visits() const {
        std::vector<std::string> lines;
        for (const std::string& line : test::linesOf(folder_ / "record"))
            if (line.find(" entered ") != std::string::npos ||
                line.find(" asked ") != std::string::npos)
                lines.push_back(line);
        return lines;
    }
    std::vector<std::string> transcript() const { return test::linesOf(folder_ / "transcript"); }

    test::TempFolder folder_;
    Transcript transcript_{folder_ / "transcript"};
    std::unique_ptr<InstallerController> controller_;
};

TEST_F(Controller, GoesThroughThePanesInBothDirections) {
    open({"Shows"});
    EXPECT_EQ(shownTitle(), "Introduction");
    controller_->userContinues();
    EXPECT_EQ(shownTitle(), "Shows");
    controller_->userContinues();
    EXPECT_EQ(shownTitle(), "Summary");
    controller_->userGoesBack();
    controller_->userGoesBack();
    EXPECT_EQ(shownTitle(), "Introduction");
    EXPECT_THAT(visits(), ElementsAre("Shows entered 0", "Shows asked 0", "Shows entered 1",
                                      "Shows asked 1"));
}

TEST_F(Controller, NothingHappensPastTheEnds) {
    open({"Shows"});
    controller_->userGoesBack();
    EXPECT_EQ(shownTitle(), "Introduction");
    for (int i = 0; i < 4; ++i) controller_->userContinues();
    EXPECT_EQ(shownTitle(), "Summary");
    EXPECT_THAT(transcript(), IsSupersetOf({"nothing beyond: “Introduction” backward",
                                            "nothing beyond: “Summary” forward"}));
}

TEST_F(Controller, ThePanesControlsAreSeenOnceItIsShown) {
    open({"Shows"});
    EXPECT_FALSE(find("uninstallBtn")->isVisible());
    controller_->userContinues();
    for (const char* name : {"titleText", "descriptionText", "uninstallBtn"})
        EXPECT_TRUE(find<QWidget>(name)->isVisible()) << name;
}

TEST_F(Controller, APaneThatPassesItselfOverIsNeverShown) {
    open({"PassesOver"});
    // Every title that the window shows.
    QStringList titles;
    auto* title = find<QLabel>("paneTitle");
    class Watcher : public QObject {
      public:
        Watcher(QLabel* label, QStringList& all) : label_(label), all_(all) {}
        bool eventFilter(QObject*, QEvent*) override {
            if (all_.isEmpty() || all_.back() != label_->text()) all_.append(label_->text());
            return false;
        }
        QLabel* label_;
        QStringList& all_;
    } watcher(title, titles);
    title->installEventFilter(&watcher);
    controller_->userContinues();
    QTest::qWait(1);
    EXPECT_EQ(shownTitle(), "Summary");
    controller_->userGoesBack();
    QTest::qWait(1);
    EXPECT_EQ(shownTitle(), "Introduction");
    EXPECT_FALSE(titles.contains("PassesOver"));
    EXPECT_TRUE(titles.contains("Summary"));
    EXPECT_THAT(visits(), ElementsAre("PassesOver entered 0", "PassesOver entered 1"));
}

TEST_F(Controller, TheOldPaneStaysOnScreenWhileTheNextOneIsEntered) {
    open({"Pumps"});
    bool seen = true;
    QTimer::singleShot(0, &controller_->window(), [&] {
        seen = find("uninstallBtn")->isVisible();
        // The user is ignored meanwhile.
        find("continueButton")->click();
    });
    controller_->userContinues();
    EXPECT_FALSE(seen);
    EXPECT_EQ(shownTitle(), "Pumps");
    EXPECT_THAT(visits(), ElementsAre("Pumps entered 0"));
}

TEST_F(Controller, APaneMayRefuseToBeLeft) {
    open({"Refuses"});
    controller_->userContinues();
    controller_->userContinues();
    EXPECT_EQ(shownTitle(), "Refuses");
    controller_->userGoesBack();
    EXPECT_EQ(shownTitle(), "Refuses");
    EXPECT_THAT(transcript(), Contains("kept: “Refuses” may not be left forward"));
}

TEST_F(Controller, APaneMayRefuseAndThenContinue) {
    open({"RefusesAndGoes"});
    controller_->userContinues();
    controller_->userGoesBack();
    EXPECT_EQ(shownTitle(), "Summary");
}

TEST_F(Controller, AnActionMayContinue) {
    open({"Shows"}, {"next:"});
    controller_->userContinues();
    QTest::mouseClick(find("next"), Qt::LeftButton);
    EXPECT_EQ(shownTitle(), "Summary");
    EXPECT_THAT(visits(), ElementsAre("Shows entered 0"));
}

TEST_F(Controller, PressingTwiceActsTwice) {
    open({"Shows"});
    controller_->userContinues();
    QTest::mouseClick(find("uninstallBtn"), Qt::LeftButton);
    QTest::mouseClick(find("uninstallBtn"), Qt::LeftButton);
    const auto lines = test::linesOf(folder_ / "record");
    EXPECT_EQ(std::ranges::count(lines, "Shows action uninstall:"), 2);
}

TEST_F(Controller, ContinueKeepsTheFirstFocus) {
    open({"Shows"});
    ASSERT_TRUE(QTest::qWaitForWindowActive(&controller_->window()));
    controller_->userContinues();
    EXPECT_EQ(QApplication::focusWidget(), find("continueButton"));
}

TEST_F(Controller, PanesThatCircleAreStopped) {
    open({"AlwaysNext", "AlwaysPrevious"});
    controller_->userContinues();
    EXPECT_EQ(shownTitle(), "AlwaysNext");
    EXPECT_THAT(transcript().back(), "on screen: “AlwaysNext”");
}

TEST_F(Controller, APaneWithNothingBeyondItStays) {
    const auto bundle = makeBundle(folder_, "X.bundle", "PassesOver");
    openPlan({{PlannedSection::Kind::Summary, "", ""}, {PlannedSection::Kind::Bundle, bundle, ""}});
    controller_->userContinues();
    EXPECT_EQ(shownTitle(), "PassesOver");
    EXPECT_FALSE(find("uninstallBtn")->isVisible());
}

TEST_F(Controller, ABundleThatCannotBeLoadedIsReplacedByTheReason) {
    const auto good = makeBundle(folder_, "Good.bundle", "Shows");
    ::testing::internal::CaptureStderr();
    openPlan(planForBundles({folder_ / "Bad.bundle", good}));
    const std::string message =
        "“" + folder_.path() + "/Bad.bundle” cannot be loaded: there is no such bundle";
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "installer-host: " + message + "\n");
    EXPECT_THAT(transcript(), Contains("problem: " + message));
    EXPECT_TRUE(controller_->hasProblems());
    controller_->userContinues();
    EXPECT_EQ(shownTitle(), "Bad");
    EXPECT_EQ(find<QLabel>("problemText")->text(),
              "“Bad.bundle” cannot be loaded: there is no such bundle.");
    controller_->userContinues();
    EXPECT_EQ(shownTitle(), "Shows");
}

TEST_F(Controller, TheProductsNameIsTheBundlesByDefault) {
    test::BundleParts parts;
    parts.interfaceFile = test::interfaceFor("Shows");
    parts.info["InstallerProductName"] = "Tape";
    const auto plan = planForBundles({makeBundle(folder_, "X.bundle", parts)});
    openPlan(plan);
    EXPECT_EQ(controller_->window().windowTitle(), "Install Tape");
    InstallerController::Setting setting;
    setting.product = "Other";
    const InstallerController other(plan, setting, transcript_);
    EXPECT_EQ(const_cast<InstallerController&>(other).window().windowTitle(), "Install Other");
}

TEST_F(Controller, RecordsWhatHappens) {
    open({"Shows"});
    controller_->userContinues();
    find("uninstallBtn")->click();
    EXPECT_THAT(transcript(),
                ElementsAre("sections: “Introduction”, “Shows”, “Summary”",
                            "entered: “Introduction” forward", "on screen: “Introduction”",
                            "entered: “Shows” forward", "shown: titleText",
                            "shown: descriptionText", "shown: uninstallBtn", "on screen: “Shows”",
                            "action: uninstall: from uninstallBtn"));
}

TEST_F(Controller, ContinuesToTheFirstPlugInAutomatically) {
    const auto plan = planForBundles({makeBundle(folder_, "X.bundle", "PassesOver")});
    controller_ =
        std::make_unique<InstallerController>(plan, InstallerController::Setting{}, transcript_);
    controller_->start();
    controller_->continueToPlugin();
    controller_->showWindow();
    EXPECT_EQ(shownTitle(), "Summary");
    EXPECT_EQ(visits().size(), 1U);
}

TEST_F(Controller, WithoutAPlugInItContinuesToTheEnd) {
    controller_ = std::make_unique<InstallerController>(
        planForBundles({}), InstallerController::Setting{}, transcript_);
    controller_->start();
    controller_->continueToPlugin();
    EXPECT_EQ(shownTitle(), "Summary");
}

TEST_F(Controller, WidgetsAreDestroyedBeforeTheirPanes) {
    open({"Shows"});
    controller_->userContinues();
    controller_.reset();
    EXPECT_EQ(test::linesOf(folder_ / "record").back(), "Shows destroyed");
    // A control that is shown afterwards records nothing.
    EXPECT_EQ(transcript().back(), "on screen: “Shows”");
}

}  // namespace
}  // namespace quillmoor::host
