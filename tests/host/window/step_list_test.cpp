#include "host/window/step_list.h"

#include <gtest/gtest.h>

#include <QAccessible>

namespace quillmoor::host {
namespace {

TEST(StepList, StepsBeforeTheCurrentOneAreDone) {
    StepList list({{"One", false}, {"Two", false}, {"Three", false}});
    list.setCurrent(1);
    EXPECT_EQ(list.rows()[0]->state(), StepState::Done);
    EXPECT_EQ(list.rows()[1]->state(), StepState::Current);
    EXPECT_EQ(list.rows()[2]->state(), StepState::Upcoming);
    list.setCurrent(0);
    EXPECT_EQ(list.rows()[0]->state(), StepState::Current);
    EXPECT_EQ(list.rows()[1]->state(), StepState::Upcoming);
}

QString spoken(QWidget* widget) {
    return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
}

TEST(StepList, ScreenReadersHearHowFarEachStepIs) {
    StepList list({{"One", false}, {"Two", true}, {"Three", false}});
    list.setCurrent(1);
    EXPECT_EQ(spoken(&list), "Steps");
    EXPECT_EQ(spoken(list.rows()[0]), "One, done");
    EXPECT_EQ(spoken(list.rows()[1]), "Two, current step, cannot be shown");
    EXPECT_EQ(spoken(list.rows()[2]), "Three, to come");
}

TEST(StepList, ALongTitleWrapsInsteadOfWideningTheList) {
    StepList list({{"A title that is far too long for one line of a narrow list", false}});
    EXPECT_LT(list.minimumSizeHint().width(), 140);
    EXPECT_GT(list.heightForWidth(180), 2 * list.heightForWidth(2000) - 20);
}

TEST(StepList, MarksAreAtTheSideWhereReadingBegins) {
    StepList list({{"One", false}});
    EXPECT_GT(list.rows()[0]->contentsMargins().left(), list.rows()[0]->contentsMargins().right());
    list.setLayoutDirection(Qt::RightToLeft);
    EXPECT_LT(list.rows()[0]->contentsMargins().left(), list.rows()[0]->contentsMargins().right());
}

}  // namespace
}  // namespace quillmoor::host
