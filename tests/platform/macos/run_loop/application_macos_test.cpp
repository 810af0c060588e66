// The library's main thread on Cocoa's run loop.
#include "quillmoor/platform/posix/run_loop/application_posix.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/native_services.h"
#include "tests/platform/macos/fakes/cocoa_exception.h"
#include "tests/platform/macos/fakes/cocoa_loop.h"

namespace quillmoor::platform {
namespace {

using test::CocoaMode;
using test::runCocoa;
using test::runCocoaUntil;

constexpr CocoaMode kModes[] = {CocoaMode::Default, CocoaMode::ModalPanel,
                                CocoaMode::EventTracking};

void perform(std::function<void()> function, WaitUntilDone wait = WaitUntilDone::No) {
    nativeMainThread()->performOnMainThread(std::move(function), wait);
}

class CocoaRunLoop : public testing::Test {
  protected:
    CocoaRunLoop() { test::startCocoa(); }
};

TEST_F(CocoaRunLoop, RunsACallOnceInTheFirstModeThatRuns) {
    for (const CocoaMode mode : kModes) {
        int runs = 0;
        perform([&] { ++runs; });
        EXPECT_EQ(runs, 0);
        EXPECT_TRUE(runCocoaUntil(mode, [&] { return runs == 1; }));
        for (const CocoaMode later : kModes) runCocoa(later);
        EXPECT_EQ(runs, 1);
    }
}

TEST_F(CocoaRunLoop, RunsACallForTheDefaultModeInThatModeOnly) {
    int runs = 0;
    bool last = false;
    MainRunLoop::postToDefaultMode([&] { ++runs; });
    for (const CocoaMode mode : {CocoaMode::ModalPanel, CocoaMode::EventTracking}) {
        last = false;
        perform([&] { last = true; });
        EXPECT_TRUE(runCocoaUntil(mode, [&] { return last; }));
        EXPECT_EQ(runs, 0);
    }
    EXPECT_TRUE(runCocoaUntil(CocoaMode::Default, [&] { return runs == 1; }));
}

TEST_F(CocoaRunLoop, RunsCallsInTheOrderInWhichTheyCame) {
    std::string order;
    perform([&] { order += 'a'; });
    MainRunLoop::postToDefaultMode([&] { order += 'b'; });
    std::thread([&] { perform([&] { order += 'c'; }); }).join();
    perform([&] { order += 'd'; });
    EXPECT_TRUE(runCocoaUntil(CocoaMode::Default, [&] { return order.size() == 4; }));
    EXPECT_EQ(order, "abcd");
}

TEST_F(CocoaRunLoop, ACallOfAnotherThreadIsOverBeforeItsWaitEnds) {
    for (const CocoaMode mode : kModes) {
        std::atomic<bool> done{false};
        bool ranOnMain = false;
        bool seen = false;
        std::thread other([&] {
            perform([&] { ranOnMain = nativeMainThread()->isMainThread(); }, WaitUntilDone::Yes);
            seen = ranOnMain;
            done = true;
        });
        EXPECT_TRUE(runCocoaUntil(mode, [&] { return done.load(); }));
        other.join();
        EXPECT_TRUE(seen);
    }
}

TEST_F(CocoaRunLoop, RunsTheCallsOfManyThreads) {
    std::atomic<int> waiting{8};
    int runs = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int j = 0; j < 50; ++j) perform([&] { ++runs; });
            perform([&] { ++runs; }, WaitUntilDone::Yes);
            --waiting;
        });
    EXPECT_TRUE(runCocoaUntil(CocoaMode::Default, [&] { return waiting == 0; }));
    for (std::thread& each : threads) each.join();
    EXPECT_EQ(runs, 8 * 51);
}

TEST_F(CocoaRunLoop, RunsWhatWasQueuedBeforeTheRunLoopWasUsed) {
    bool onMain = false;
    std::thread([&] { perform([&] { onMain = nativeMainThread()->isMainThread(); }); }).join();
    EXPECT_TRUE(runCocoaUntil(CocoaMode::Default, [&] { return onMain; }));
}

TEST_F(CocoaRunLoop, ACallThatRunsTheRunLoopRunsTheCallsBehindIt) {
    for (const CocoaMode mode : kModes) {
        bool first = false;
        bool second = false;
        perform([&] { first = runCocoaUntil(mode, [&] { return second; }); });
        perform([&] { second = true; });
        EXPECT_TRUE(runCocoaUntil(mode, [&] { return first; }));
    }
}

// GNUstep's run loop reports what is raised in it and goes on.
TEST_F(CocoaRunLoop, WhatACallThrowsIsRaisedInCocoa) {
    for (const CocoaMode mode : kModes) {
        const test::RecordedLog log;
        bool isLast = false;
        perform([] { throw Exception("Bad", "a call"); });
        perform([] { throw 1; });
        perform([&] { isLast = true; });
        EXPECT_TRUE(runCocoaUntil(mode, [&] { return isLast; }));
        ASSERT_EQ(log.lines().size(), 2U);
        EXPECT_NE(log.lines()[0].find("'Bad' (reason 'a call')"), std::string::npos);
        EXPECT_NE(log.lines()[1].find("'int' (reason 'int')"), std::string::npos);
    }
}

// A modal panel's event may run the run loop in its default mode again.
TEST_F(CocoaRunLoop, TheModeThatCocoaRunsDecidesWhatRuns) {
    bool served = false;
    bool modalServed = false;
    perform([&] {
        MainRunLoop::postToDefaultMode([&] { served = true; });
        runCocoa(CocoaMode::ModalPanel);
        EXPECT_FALSE(served);
        modalServed = runCocoaUntil(CocoaMode::Default, [&] { return served; });
    });
    EXPECT_TRUE(runCocoaUntil(CocoaMode::ModalPanel, [&] { return modalServed; }));
}

TEST_F(CocoaRunLoop, ACallThatQueuesItselfLetsOthersRun) {
    int runs = 0;
    std::function<void()> again = [&] {
        if (++runs < 100) perform(again);
    };
    bool timer = false;
    perform(again);
    test::callByTimer([&] { timer = true; });
    EXPECT_TRUE(runCocoaUntil(CocoaMode::Default, [&] { return timer; }));
    EXPECT_TRUE(runCocoaUntil(CocoaMode::Default, [&] { return runs == 100; }));
}

TEST_F(CocoaRunLoop, WhatTheLibrarysOwnWaitHasRunDoesNotRunAgain) {
    int runs = 0;
    for (int i = 0; i < 3; ++i) perform([&] { ++runs; });
    MainRunLoop::run(RunLoopMode::Default, std::chrono::steady_clock::now());
    EXPECT_EQ(runs, 3);
    runCocoa(CocoaMode::Default);
    EXPECT_EQ(runs, 3);
    perform([&] { ++runs; });
    EXPECT_TRUE(runCocoaUntil(CocoaMode::Default, [&] { return runs == 4; }));
}

using std::chrono::milliseconds;

// One event, and the wait of a modal panel.
class CocoaEvents : public CocoaRunLoop {
  protected:
    static bool send(int longest) {
        return nativeMainThread()->sendNextEvent(milliseconds(longest));
    }
    test::FakeApplication application_;
};

TEST_F(CocoaEvents, ASentEventIsTheOneThatTheApplicationReturned) {
    application_.hasEvent = true;
    int sent = 0;
    application_.whenSent = [&](bool same) { sent += same ? 1 : 100; };
    EXPECT_TRUE(send(10));
    EXPECT_EQ(sent, 1);
    EXPECT_EQ(application_.asked, "all NSModalPanelRunLoopMode dequeue");
}

TEST_F(CocoaEvents, WhatAnEventRaisesIsThrown) {
    application_.hasEvent = true;
    application_.whenSent = [](bool) { test::raiseCocoaException("Bad", "an event"); };
    try {
        send(10);
        FAIL() << "nothing was thrown";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.name() + ": " + exception.reason(), "Bad: an event");
    }
}

TEST_F(CocoaEvents, WithoutAnEventNothingIsSent) {
    application_.whenSent = [](bool) { ADD_FAILURE(); };
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(send(20));
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(19));
}

TEST_F(CocoaEvents, AnotherThreadAsksForNone) {
    application_.hasEvent = true;
    std::thread([&] { EXPECT_FALSE(send(1)); }).join();
    EXPECT_EQ(application_.asked, "");
}

TEST_F(CocoaEvents, TheWaitRunsWhatIsQueuedForModalPanelsOnly) {
    int modal = 0;
    int other = 0;
    MainRunLoop::postToDefaultMode([&] { ++other; });
    perform([&] { ++modal; });
    send(0);
    EXPECT_EQ(modal, 1);
    std::thread([&] { perform([&] { ++modal; }); }).join();
    send(1);
    EXPECT_EQ(modal, 2);
    EXPECT_EQ(other, 0);
    EXPECT_TRUE(runCocoaUntil(CocoaMode::Default, [&] { return other == 1; }));
}

void sayEnd() {
    std::fputs("end;", stderr);
}

using CocoaTerminationDeathTest = CocoaRunLoop;

TEST_F(CocoaTerminationDeathTest, ObserversAreCalledOnceWhenTheApplicationTerminates) {
    EXPECT_EXIT(
        {
            test::FakeApplication application;
            nativeMainThread()->addTerminationObserver(sayEnd);
            test::announceTermination();
            std::fputs("announced;", stderr);
            test::announceTermination();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^end;announced;$");
}

TEST_F(CocoaTerminationDeathTest, AnExitThatTheApplicationDoesNotAnnounceCallsNone) {
    EXPECT_EXIT(
        {
            // Never destroyed, as in an application.
            new test::FakeApplication;
            nativeMainThread()->addTerminationObserver(sayEnd);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^$");
}

TEST_F(CocoaTerminationDeathTest, AnObserverOfAnotherThreadIsCalledOnTheMainThread) {
    EXPECT_EXIT(
        {
            std::thread([] { nativeMainThread()->addTerminationObserver(sayEnd); }).join();
            // Made later.
            new test::FakeApplication;
            test::announceTermination();
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "^end;$");
}

TEST_F(CocoaTerminationDeathTest, WithoutAnApplicationTheExitOfTheProcessCallsThem) {
    EXPECT_EXIT(
        {
            nativeMainThread()->addTerminationObserver(sayEnd);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^end;$");
}

}  // namespace
}  // namespace quillmoor::platform
