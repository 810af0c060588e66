#include "quillmoor/platform/main_run_loop.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "quillmoor/platform/posix/ground/wake_descriptor_posix.h"
#include "quillmoor/platform/posix/run_loop/main_thread_posix.h"

namespace quillmoor::platform {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr RunLoopMode kDefault = RunLoopMode::Default;
constexpr RunLoopMode kModal = RunLoopMode::ModalPanel;

bool isReadable(RunLoopMode mode) {
    pollfd polled{MainRunLoop::descriptor(mode), POLLIN, 0};
    return ::poll(&polled, 1, 0) == 1;
}

void runOnce(RunLoopMode mode) {
    MainRunLoop::run(mode, steady_clock::now());
}

TEST(MainRunLoop, RunsAFunctionOfAllModesOnceInTheFirstModeThatRuns) {
    int runs = 0;
    MainRunLoop::postToAllModes([&] { ++runs; });
    runOnce(kModal);
    runOnce(kDefault);
    EXPECT_EQ(runs, 1);
}

TEST(MainRunLoop, WhatIsPostedToTheDefaultModeWaitsWhileAModalPanelIsUp) {
    int runs = 0;
    MainRunLoop::postToDefaultMode([&] { ++runs; });
    runOnce(kModal);
    EXPECT_EQ(runs, 0);
    runOnce(kDefault);
    EXPECT_EQ(runs, 1);
}

TEST(MainRunLoop, RunsInTheOrderOfPosting) {
    std::string order;
    MainRunLoop::postToDefaultMode([&] { order += 'a'; });
    MainRunLoop::postToAllModes([&] { order += 'b'; });
    MainRunLoop::postToDefaultMode([&] { order += 'c'; });
    MainRunLoop::drain(kDefault);
    EXPECT_EQ(order, "abc");
}

TEST(MainRunLoop, TheModalModeTakesItsOwnFromBetweenTheOthers) {
    std::string order;
    MainRunLoop::postToDefaultMode([&] { order += 'a'; });
    MainRunLoop::postToAllModes([&] { order += 'b'; });
    MainRunLoop::postToDefaultMode([&] { order += 'c'; });
    MainRunLoop::postToAllModes([&] { order += 'd'; });
    runOnce(kModal);
    EXPECT_EQ(order, "bd");
    runOnce(kDefault);
    EXPECT_EQ(order, "bdac");
}

TEST(MainRunLoop, ADescriptorIsReadableExactlyWhileSomethingIsQueuedForItsMode) {
    EXPECT_FALSE(isReadable(kDefault));
    EXPECT_FALSE(isReadable(kModal));
    MainRunLoop::postToDefaultMode([] {});
    EXPECT_TRUE(isReadable(kDefault));
    EXPECT_FALSE(isReadable(kModal));
    MainRunLoop::postToAllModes([] {});
    EXPECT_TRUE(isReadable(kModal));
    runOnce(kModal);
    EXPECT_TRUE(isReadable(kDefault));
    EXPECT_FALSE(isReadable(kModal));
    MainRunLoop::postToAllModes([] {});
    MainRunLoop::drain(kDefault);
    EXPECT_FALSE(isReadable(kDefault));
    EXPECT_FALSE(isReadable(kModal));
}

TEST(MainRunLoop, DrainingDoesNothingWhileAnotherModeIsOnTop) {
    std::string order;
    MainRunLoop::postToAllModes([&] {
        MainRunLoop::postToDefaultMode([&] { order += 'd'; });
        MainRunLoop::drain(kDefault);
        order += 'm';
    });
    runOnce(kModal);
    EXPECT_EQ(order, "m");
    MainRunLoop::drain(kModal);
    MainRunLoop::drain(kDefault);
    EXPECT_EQ(order, "md");
}

TEST(MainRunLoop, ANestedRunPushesAndPopsItsMode) {
    std::string order;
    MainRunLoop::postToDefaultMode([&] {
        MainRunLoop::postToAllModes([&] { order += 'i'; });
        runOnce(kModal);
        MainRunLoop::postToDefaultMode([&] { order += 'n'; });
        MainRunLoop::drain(kDefault);
        order += 'o';
    });
    MainRunLoop::drain(kDefault);
    EXPECT_EQ(order, "ino");
}

TEST(MainRunLoop, DrainingInsideAFunctionRunsTheRestAndNothingTwice) {
    std::string order;
    MainRunLoop::postToDefaultMode([&] {
        order += '[';
        MainRunLoop::drain(kDefault);
        order += ']';
    });
    MainRunLoop::postToDefaultMode([&] { order += 'b'; });
    MainRunLoop::postToDefaultMode([&] { order += 'c'; });
    MainRunLoop::drain(kDefault);
    EXPECT_EQ(order, "[bc]");
}

TEST(MainRunLoop, DrainingEndsThoughAFunctionPostsItselfAgain) {
    int runs = 0;
    std::function<void()> again = [&] {
        if (++runs < 1000) MainRunLoop::postToDefaultMode(again);
    };
    MainRunLoop::postToDefaultMode(again);
    MainRunLoop::drain(kDefault);
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(isReadable(kDefault));
    while (isReadable(kDefault)) MainRunLoop::drain(kDefault);
    EXPECT_EQ(runs, 1000);
}

TEST(MainRunLoop, AnExceptionLeavesTheRestQueuedAndTheModesAsTheyWere) {
    int runs = 0;
    MainRunLoop::postToAllModes([] { throw std::runtime_error("out"); });
    MainRunLoop::postToAllModes([&] { ++runs; });
    EXPECT_THROW(runOnce(kModal), std::runtime_error);
    EXPECT_EQ(runs, 0);
    EXPECT_TRUE(isReadable(kModal));
    MainRunLoop::drain(kDefault);
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(isReadable(kDefault));
    EXPECT_FALSE(isReadable(kModal));
}

TEST(MainRunLoop, RunningServesWhatOtherThreadsPostMeanwhile) {
    std::atomic<int> runs{0};
    std::vector<std::thread> posters;
    for (int i = 0; i < 4; ++i)
        posters.emplace_back([&, i] {
            for (int n = 0; n < 500; ++n)
                if ((n + i) % 2 == 0)
                    MainRunLoop::postToAllModes([&] { ++runs; });
                else
                    MainRunLoop::postToDefaultMode([&] { ++runs; });
        });
    const auto end = steady_clock::now() + 10s;
    for (int turn = 0; runs < 2000 && steady_clock::now() < end; ++turn)
        MainRunLoop::run(turn % 3 == 0 ? kModal : kDefault, steady_clock::now() + 1ms);
    for (std::thread& poster : posters) poster.join();
    EXPECT_EQ(runs, 2000);
    EXPECT_FALSE(isReadable(kDefault));
    EXPECT_FALSE(isReadable(kModal));
}

TEST(MainRunLoop, RunningLastsUntilItsTime) {
    const auto start = steady_clock::now();
    MainRunLoop::run(kDefault, start + 20ms);
    EXPECT_GE(steady_clock::now() - start, 20ms);
}

TEST(MainRunLoop, ServingReturnsWhenTheDescriptorIsReadable) {
    posix::WakeDescriptor wake;
    std::string order;
    MainRunLoop::postToDefaultMode([&] {
        order += 'a';
        wake.signal();
        MainRunLoop::postToDefaultMode([&] { order += 'b'; });
    });
    posix::serveDefaultModeUntilReadable(wake.get(), -1);
    EXPECT_EQ(order, "a");
    MainRunLoop::drain(kDefault);
    EXPECT_EQ(order, "ab");
}

TEST(MainRunLoop, ServingTakesTheDefaultModeAlsoBelowAModalPanel) {
    posix::WakeDescriptor wake;
    bool served = false;
    MainRunLoop::postToAllModes([&] {
        MainRunLoop::postToDefaultMode([&] {
            served = true;
            wake.signal();
        });
        posix::serveDefaultModeUntilReadable(wake.get(), 10'000);
    });
    runOnce(kModal);
    EXPECT_TRUE(served);
}

TEST(MainRunLoop, ServingWithoutADescriptorEndsWithItsTime) {
    posix::serveDefaultModeUntilReadable(-1, 1);
    EXPECT_FALSE(isReadable(kDefault));
}

}  // namespace
}  // namespace quillmoor::platform
