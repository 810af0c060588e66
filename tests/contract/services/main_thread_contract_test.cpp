#include "quillmoor/platform/main_thread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>

#include "tests/children/child_tools.h"
#include "tests/contract/services/back_end.h"
#include "tests/contract/services/system_run_loop.h"

namespace quillmoor::platform {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

class MainThreadContract : public testing::TestWithParam<BackEnd> {
  protected:
    static MainThread& mainThread() { return *GetParam().platform().mainThread; }

    static void serve(RunLoopMode mode) {
        if (serveOfSystem != nullptr) return serveOfSystem(mode);
        MainRunLoop::run(mode, steady_clock::now() + 1ms);
    }

    // Until then, for ten seconds at most.
    static void serveUntil(const std::atomic<bool>& done, RunLoopMode mode) {
        const auto end = steady_clock::now() + 10s;
        while (!done && steady_clock::now() < end) serve(mode);
    }
};
using MainThreadContractDeathTest = MainThreadContract;

TEST_P(MainThreadContract, TheProcesssFirstThreadAloneIsTheMainOne) {
    EXPECT_TRUE(mainThread().isMainThread());
    bool other = true;
    std::thread([&] { other = mainThread().isMainThread(); }).join();
    EXPECT_FALSE(other);
}

TEST_P(MainThreadContract, WaitingOnTheMainThreadRunsAtOnce) {
    bool ran = false;
    mainThread().performOnMainThread([&] { ran = true; }, WaitUntilDone::Yes);
    EXPECT_TRUE(ran);
}

TEST_P(MainThreadContract, RunsACallOnceInTheFirstModeThatRuns) {
    for (const RunLoopMode mode : {RunLoopMode::Default, RunLoopMode::ModalPanel}) {
        int runs = 0;
        mainThread().performOnMainThread([&] { ++runs; }, WaitUntilDone::No);
        EXPECT_EQ(runs, 0);
        serve(mode);
        EXPECT_EQ(runs, 1);
        serve(RunLoopMode::Default);
        serve(RunLoopMode::ModalPanel);
        EXPECT_EQ(runs, 1);
    }
}

TEST_P(MainThreadContract, CallsRunInTheOrderInWhichTheyCame) {
    std::string order;
    for (const char name : {'a', 'b', 'c'})
        mainThread().performOnMainThread([&order, name] { order += name; }, WaitUntilDone::No);
    serve(RunLoopMode::Default);
    EXPECT_EQ(order, "abc");
}

TEST_P(MainThreadContract, ACallOfAnotherThreadRunsOnTheMainThreadBeforeItsWaitEnds) {
    for (const RunLoopMode mode : {RunLoopMode::Default, RunLoopMode::ModalPanel}) {
        std::atomic<bool> done{false};
        bool ranOnMain = false;
        bool seen = false;
        std::thread other([&] {
            mainThread().performOnMainThread([&] { ranOnMain = mainThread().isMainThread(); },
                                             WaitUntilDone::Yes);
            seen = ranOnMain;
            done = true;
        });
        serveUntil(done, mode);
        other.join();
        EXPECT_TRUE(seen);
    }
}

TEST_P(MainThreadContract, APreparedCallRunsOnceItIsQueuedAndNotBefore) {
    int runs = 0;
    PreparedCall call = mainThread().prepareCall([&] { ++runs; });
    serve(RunLoopMode::Default);
    EXPECT_EQ(runs, 0);
    mainThread().queue(std::move(call));
    serve(RunLoopMode::ModalPanel);
    serve(RunLoopMode::Default);
    EXPECT_EQ(runs, 1);
}

TEST_P(MainThreadContract, APreparedCallThatIsDroppedNeverRuns) {
    int runs = 0;
    {
        const PreparedCall dropped = mainThread().prepareCall([&] { ++runs; });
    }
    serve(RunLoopMode::Default);
    EXPECT_EQ(runs, 0);
}

TEST_P(MainThreadContract, WithoutAHostThereIsNoNextEventButCallsAreServed) {
    int runs = 0;
    mainThread().performOnMainThread([&] { ++runs; }, WaitUntilDone::No);
    EXPECT_FALSE(mainThread().sendNextEvent(1ms));
    EXPECT_EQ(runs, 1);
}

TEST_P(MainThreadContract, AnotherThreadGetsNoNextEventAndServesNothing) {
    int runs = 0;
    mainThread().performOnMainThread([&] { ++runs; }, WaitUntilDone::No);
    bool had = true;
    std::thread([&] { had = mainThread().sendNextEvent(1ms); }).join();
    EXPECT_FALSE(had);
    EXPECT_EQ(runs, 0);
    serve(RunLoopMode::Default);
}

TEST_P(MainThreadContract, ADetachedThreadRunsBesideTheMainOneAndBlocksEverySignal) {
    std::atomic<bool> done{false};
    std::atomic<bool> onMain{true};
    std::atomic<int> open{0};
    mainThread().detachNewThread([&] {
        onMain = mainThread().isMainThread();
        sigset_t blocked;
        ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        for (const int number : {SIGTERM, SIGINT, SIGCHLD, SIGALRM, SIGUSR1, SIGPIPE})
            if (::sigismember(&blocked, number) != 1) ++open;
        done = true;
    });
    ASSERT_TRUE(test::eventually([&] { return done.load(); }));
    EXPECT_FALSE(onMain);
    EXPECT_EQ(open, 0);
}

void sayFirst() {
    std::fputs("first;", stderr);
}
void saySecond() {
    std::fputs("second;", stderr);
}

TEST_P(MainThreadContractDeathTest, ObserversAreCalledOnceAtTheNormalEndOfTheProgram) {
    EXPECT_EXIT(
        {
            mainThread().addTerminationObserver(sayFirst);
            mainThread().addTerminationObserver(saySecond);
            mainThread().addTerminationObserver(sayFirst);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^first;second;$");
}

TEST_P(MainThreadContractDeathTest, AnObserverThatWasRemovedIsNotCalled) {
    EXPECT_EXIT(
        {
            mainThread().addTerminationObserver(sayFirst);
            mainThread().addTerminationObserver(saySecond);
            mainThread().removeTerminationObserver(sayFirst);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^second;$");
}

INSTANTIATE_TEST_SUITE_P(All, MainThreadContract, backEnds(), nameOf<BackEnd>);
INSTANTIATE_TEST_SUITE_P(All, MainThreadContractDeathTest, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
