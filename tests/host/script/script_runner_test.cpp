#include "host/script/script_runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <optional>

#include "tests/host/support/bundle_maker.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::host {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using Outcome = ScriptRunner::Outcome;

// A window with a label, a line edit and a button.
class Target : public ScriptTarget {
  public:
    Target() {
        label_.setObjectName("label");
        line_.setObjectName("line");
        button_.setObjectName("button");
        window_.resize(100, 50);
        window_.show();
        QObject::connect(&button_, &QPushButton::clicked, [this] { ++pressed; });
    }
    void userContinues() override { ++step; }
    void userGoesBack() override { --step; }
    QString shownTitle() const override { return "Step " + QString::number(step); }
    QWidget* widgetNamed(const QString& name) const override {
        return window_.findChild<QWidget*>(name);
    }
    QImage picture() override { return window_.grab().toImage(); }

    int step = 1;
    int pressed = 0;

  private:
    QWidget window_;
    QLabel label_{QString::fromUtf8("a/\u200bb"), &window_};
    QLineEdit line_{"typed", &window_};
    QPushButton button_{"&Save && close", &window_};
};

class ScriptRuns : public ::testing::Test {
  protected:
    // Runs the script to its end.
    Outcome run(const std::string& script, const std::string& pictures = "") {
        std::optional<Outcome> outcome;
        ScriptRunner runner(parseScript(script), {"script", pictures}, target_, transcript_,
                            [&](Outcome ended) {
                                EXPECT_FALSE(outcome.has_value());
                                outcome = ended;
                            });
        runner.start();
        EXPECT_TRUE(QTest::qWaitFor([&] { return outcome.has_value(); }, 60'000));
        QCoreApplication::processEvents();
        return outcome.value_or(Outcome::Failed);
    }
    std::vector<std::string> transcript() const { return test::linesOf(folder_ / "transcript"); }

    test::TempFolder folder_;
    Transcript transcript_{folder_ / "transcript"};
    Target target_;
};

TEST_F(ScriptRuns, NothingHappensBeforeTheEventLoopRuns) {
    bool ended = false;
    ScriptRunner runner(parseScript("continue\n"), {"script", ""}, target_, transcript_,
                        [&ended](Outcome) { ended = true; });
    runner.start();
    EXPECT_EQ(target_.step, 1);
    EXPECT_TRUE(QTest::qWaitFor([&ended] { return ended; }, 60'000));
    EXPECT_EQ(target_.step, 2);
}

TEST_F(ScriptRuns, StepsAreCarriedOutInTheirOrder) {
    EXPECT_EQ(run("continue\ncontinue\nback\nexpect pane Step 2\nnote done\n"), Outcome::AtEnd);
    EXPECT_THAT(transcript(), ElementsAre("continue: “Step 1”", "continue: “Step 2”",
                                          "back: “Step 3”", "note: done"));
}

TEST_F(ScriptRuns, NoStepFollowsQuit) {
    EXPECT_EQ(run("quit\ncontinue\n"), Outcome::Quit);
    EXPECT_EQ(target_.step, 1);
}

TEST_F(ScriptRuns, NoStepFollowsOneThatFails) {
    EXPECT_EQ(run("continue\n\npress nothing\ncontinue\n"), Outcome::Failed);
    EXPECT_EQ(target_.step, 2);
    EXPECT_EQ(transcript().back(), "problem: script:3: there is no interface element “nothing”");
}

TEST_F(ScriptRuns, TextsAreComparedAsPeopleSeeThem) {
    EXPECT_EQ(run("expect text label a/b\nexpect text line typed\n"
                  "expect text button Save & close\n"),
              Outcome::AtEnd);
}

TEST_F(ScriptRuns, AButtonIsPressedOnlyWhenAUserCouldPressIt) {
    EXPECT_EQ(run("press button\n"), Outcome::AtEnd);
    target_.widgetNamed("button")->setEnabled(false);
    EXPECT_EQ(run("press button\n"), Outcome::Failed);
    EXPECT_THAT(transcript().back(), EndsWith("“button” cannot be pressed now"));
    target_.widgetNamed("button")->hide();
    EXPECT_EQ(run("press button\n"), Outcome::Failed);
    EXPECT_THAT(transcript().back(), EndsWith("“button” is not on screen"));
    EXPECT_EQ(target_.pressed, 1);
}

TEST_F(ScriptRuns, APictureGoesToItsFolder) {
    EXPECT_EQ(run("snapshot one\n", folder_ / "new/pictures"), Outcome::AtEnd);
    EXPECT_EQ(QImage(QString::fromStdString(folder_ / "new/pictures/one.png")).size(),
              QSize(100, 50));
}

TEST_F(ScriptRuns, APictureNeedsAFolder) {
    EXPECT_EQ(run("snapshot one\n"), Outcome::Failed);
    EXPECT_THAT(transcript().back(), EndsWith("a picture needs the option --pictures"));
}

TEST_F(ScriptRuns, WaitsForAFileUntilItExistsOrTheTimeIsOver) {
    const std::string path = folder_ / "awaited";
    const std::string script = "wait file " + path + " 60000\n";
    QTimer::singleShot(30, [this] { folder_.writeFile("awaited", ""); });
    EXPECT_EQ(run(script), Outcome::AtEnd);
    EXPECT_EQ(run("wait gone " + path + " 0\n"), Outcome::Failed);
    EXPECT_THAT(transcript().back(), EndsWith("still exists"));
}

TEST_F(ScriptRuns, WaitsForTheEndOfACommand) {
    EXPECT_EQ(run("run touch " + (folder_ / "made") + "\nwait file " + (folder_ / "made") +
                  " 0\nrun false\n"),
              Outcome::Failed);
    EXPECT_THAT(transcript(), ElementsAre("ran: touch with status 0", "ran: false with status 1",
                                          "problem: script:3: “false” ended with status 1"));
}

}  // namespace
}  // namespace quillmoor::host
