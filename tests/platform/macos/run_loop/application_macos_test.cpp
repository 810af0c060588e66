// The library's main thread on Cocoa's run loop.
#include "quillmoor/platform/posix/run_loop/application_posix.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "quillmoor/platform/native_services.h"
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

}  // namespace
}  // namespace quillmoor::platform
