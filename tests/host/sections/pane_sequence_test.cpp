#include "host/sections/pane_sequence.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace quillmoor::host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Panes that record their calls and do what a test sets.
class Panes : public SequenceObserver {
  public:
    explicit Panes(std::size_t count) {
        std::vector<SequencedPane*> all;
        for (std::size_t i = 0; i < count; ++i) {
            panes.push_back(std::make_unique<Pane>(*this, i));
            all.push_back(panes.back().get());
        }
        sequence = std::make_unique<PaneSequence>(all, *this);
    }

    struct Pane : SequencedPane {
        Pane(Panes& owner, std::size_t place) : all(owner), index(place) {}
        bool shouldExit(Direction direction) override {
            all.note("asks", index, direction);
            if (whenAsked) whenAsked(direction);
            return mayLeave;
        }
        void didEnter(Direction direction) override {
            if (whenEntered) whenEntered(direction);
        }
        Panes& all;
        std::size_t index;
        bool mayLeave = true;
        std::function<void(Direction)> whenAsked;
        std::function<void(Direction)> whenEntered;
    };

    void note(const std::string& what, std::size_t pane, Direction direction) {
        log.push_back(what + " " + std::to_string(pane) + " " + nameOf(direction));
    }
    void paneReached(std::size_t pane, Direction direction) override {
        note("enters", pane, direction);
    }
    void panePassedOver(std::size_t pane, Direction direction) override {
        note("passes", pane, direction);
    }
    void paneSettled(std::size_t pane) override { log.push_back("shows " + std::to_string(pane)); }
    void paneKept(std::size_t pane, Direction direction) override {
        note("keeps", pane, direction);
    }
    void nothingBeyond(std::size_t pane, Direction direction) override {
        note("end at", pane, direction);
    }
    void panesCircle(std::size_t pane, Direction direction) override {
        note("circles at", pane, direction);
    }

    // Makes a pane pass itself over, always in one direction or in the direction of the move.
    void passesOver(std::size_t pane) {
        panes[pane]->whenEntered = [this, pane](Direction way) { sequence->paneGoes(pane, way); };
    }
    void alwaysGoes(std::size_t pane, Direction way) {
        panes[pane]->whenEntered = [this, pane, way](Direction) { sequence->paneGoes(pane, way); };
    }
    void onto(std::size_t pane) {
        sequence->start();
        for (std::size_t i = 0; i < pane; ++i) sequence->userGoes(Direction::Forward);
        log.clear();
    }

    std::vector<std::unique_ptr<Pane>> panes;
    std::unique_ptr<PaneSequence> sequence;
    std::vector<std::string> log;
};

TEST(PaneSequence, StartsWithTheFirstPaneForward) {
    Panes panes(2);
    panes.sequence->start();
    EXPECT_THAT(panes.log, ElementsAre("enters 0 forward", "shows 0"));
    EXPECT_EQ(panes.sequence->current(), 0U);
}

TEST(PaneSequence, StartsOnceOnly) {
    Panes panes(2);
    panes.onto(1);
    panes.sequence->start();
    EXPECT_THAT(panes.log, IsEmpty());
}

TEST(PaneSequence, WithoutPanesDoesNothing) {
    Panes panes(0);
    panes.sequence->start();
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_THAT(panes.log, IsEmpty());
    EXPECT_EQ(panes.sequence->current(), std::nullopt);
}

TEST(PaneSequence, AsksBeforeLeavingAndPassesTheDirection) {
    Panes panes(3);
    panes.onto(1);
    panes.sequence->userGoes(Direction::Forward);
    panes.sequence->userGoes(Direction::Backward);
    EXPECT_THAT(panes.log, ElementsAre("asks 1 forward", "enters 2 forward", "shows 2",
                                       "asks 2 backward", "enters 1 backward", "shows 1"));
}

TEST(PaneSequence, APaneThatRefusesStays) {
    Panes panes(2);
    panes.onto(0);
    panes.panes[0]->mayLeave = false;
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_THAT(panes.log, ElementsAre("asks 0 forward", "keeps 0 forward"));
    EXPECT_EQ(panes.sequence->current(), 0U);
}

TEST(PaneSequence, NothingIsPastTheLastPaneAndItIsNotAsked) {
    Panes panes(2);
    panes.onto(1);
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_THAT(panes.log, ElementsAre("end at 1 forward"));
}

TEST(PaneSequence, NothingIsBeforeTheFirstPaneAndItIsNotAsked) {
    Panes panes(2);
    panes.onto(0);
    panes.sequence->userGoes(Direction::Backward);
    EXPECT_THAT(panes.log, ElementsAre("end at 0 backward"));
}

TEST(PaneSequence, APaneThatPassesItselfOverIsNeverShown) {
    Panes panes(3);
    panes.passesOver(1);
    panes.onto(0);
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_THAT(panes.log, ElementsAre("asks 0 forward", "enters 1 forward", "passes 1 forward",
                                       "enters 2 forward", "shows 2"));
}

TEST(PaneSequence, APaneIsPassedOverBackwardToo) {
    Panes panes(3);
    panes.passesOver(1);
    panes.onto(0);
    panes.sequence->userGoes(Direction::Forward);
    panes.log.clear();
    panes.sequence->userGoes(Direction::Backward);
    EXPECT_THAT(panes.log, ElementsAre("asks 2 backward", "enters 1 backward", "passes 1 backward",
                                       "enters 0 backward", "shows 0"));
}

TEST(PaneSequence, SeveralPanesInARowArePassedOver) {
    Panes panes(5);
    for (const std::size_t pane : {1U, 2U, 3U}) panes.passesOver(pane);
    panes.onto(0);
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_EQ(panes.sequence->current(), 4U);
    panes.sequence->userGoes(Direction::Backward);
    EXPECT_EQ(panes.sequence->current(), 0U);
}

TEST(PaneSequence, AVeryLongRowIsPassedOverWithoutNesting) {
    Panes panes(100'000);
    for (std::size_t pane = 1; pane + 1 < panes.panes.size(); ++pane) panes.passesOver(pane);
    panes.onto(0);
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_EQ(panes.sequence->current(), 99'999U);
}

TEST(PaneSequence, TheFirstPaneMayPassItselfOver) {
    Panes panes(2);
    panes.passesOver(0);
    panes.sequence->start();
    EXPECT_THAT(panes.log,
                ElementsAre("enters 0 forward", "passes 0 forward", "enters 1 forward", "shows 1"));
}

TEST(PaneSequence, APaneStaysWhenNothingIsBeyondIt) {
    Panes panes(2);
    panes.passesOver(1);
    panes.onto(0);
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_THAT(panes.log,
                ElementsAre("asks 0 forward", "enters 1 forward", "end at 1 forward", "shows 1"));
}

TEST(PaneSequence, APaneStaysWhenNothingIsBeforeIt) {
    Panes panes(2);
    panes.passesOver(0);
    panes.sequence->start();
    panes.log.clear();
    panes.sequence->userGoes(Direction::Backward);
    EXPECT_THAT(panes.log, ElementsAre("asks 1 backward", "enters 0 backward", "end at 0 backward",
                                       "shows 0"));
}

TEST(PaneSequence, PanesThatPassOneAnotherOverEndlesslyAreStopped) {
    Panes panes(3);
    panes.alwaysGoes(1, Direction::Forward);
    panes.alwaysGoes(2, Direction::Backward);
    panes.onto(0);
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_THAT(panes.log, ElementsAre("asks 0 forward", "enters 1 forward", "passes 1 forward",
                                       "enters 2 forward", "passes 2 backward", "enters 1 backward",
                                       "circles at 1 forward", "shows 1"));
}

TEST(PaneSequence, OnlyTheFirstWishOfAPaneCounts) {
    Panes panes(3);
    panes.panes[1]->whenEntered = [&](Direction) {
        panes.sequence->paneGoes(1, Direction::Backward);
        panes.sequence->paneGoes(1, Direction::Forward);
    };
    panes.onto(0);
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_EQ(panes.sequence->current(), 0U);
}

TEST(PaneSequence, OnlyTheCurrentPaneMayMove) {
    Panes panes(3);
    panes.onto(1);
    panes.sequence->paneGoes(0, Direction::Forward);
    panes.sequence->paneGoes(2, Direction::Backward);
    EXPECT_THAT(panes.log, IsEmpty());
    EXPECT_EQ(panes.sequence->current(), 1U);
}

TEST(PaneSequence, APaneThatMovesOnIsNotAsked) {
    Panes panes(2);
    panes.onto(0);
    panes.panes[0]->mayLeave = false;
    panes.sequence->paneGoes(0, Direction::Forward);
    EXPECT_THAT(panes.log, ElementsAre("enters 1 forward", "shows 1"));
}

TEST(PaneSequence, APaneThatMovesPastTheEndStays) {
    Panes panes(2);
    panes.onto(1);
    panes.sequence->paneGoes(1, Direction::Forward);
    EXPECT_THAT(panes.log, ElementsAre("end at 1 forward"));
}

TEST(PaneSequence, APaneThatRefusesMayMoveElsewhere) {
    Panes panes(3);
    panes.onto(1);
    panes.panes[1]->mayLeave = false;
    panes.panes[1]->whenAsked = [&](Direction) {
        panes.sequence->paneGoes(1, Direction::Backward);
    };
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_THAT(panes.log,
                ElementsAre("asks 1 forward", "keeps 1 forward", "enters 0 backward", "shows 0"));
}

TEST(PaneSequence, AWishWhileAgreeingToLeaveIsDropped) {
    Panes panes(3);
    panes.onto(1);
    panes.panes[1]->whenAsked = [&](Direction) {
        panes.sequence->paneGoes(1, Direction::Backward);
    };
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_EQ(panes.sequence->current(), 2U);
}

TEST(PaneSequence, TheUserIsIgnoredWhileAPaneIsEntered) {
    Panes panes(3);
    panes.panes[1]->whenEntered = [&](Direction) {
        EXPECT_TRUE(panes.sequence->travelling());
        panes.sequence->userGoes(Direction::Forward);
    };
    panes.onto(0);
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_EQ(panes.sequence->current(), 1U);
    EXPECT_FALSE(panes.sequence->travelling());
}

TEST(PaneSequence, APaneIsEnteredAgainOnEveryVisit) {
    Panes panes(2);
    int visits = 0;
    panes.panes[1]->whenEntered = [&](Direction) { ++visits; };
    panes.onto(1);
    panes.sequence->userGoes(Direction::Backward);
    panes.sequence->userGoes(Direction::Forward);
    EXPECT_EQ(visits, 2);
}

}  // namespace
}  // namespace quillmoor::host
