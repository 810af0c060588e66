#include "quillmoor/platform/main_thread.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/main_run_loop.h"
#include "quillmoor/platform/platform.h"
#include "tests/children/child_tools.h"
#include "tests/support/few_descriptors.h"

namespace quillmoor::platform {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

MainThread& mainThread() {
    return *native().mainThread;
}

void serveUntil(const std::atomic<bool>& done) {
    const auto end = steady_clock::now() + 10s;
    while (!done && steady_clock::now() < end)
        MainRunLoop::run(RunLoopMode::Default, steady_clock::now() + 1ms);
}

TEST(MainThread, PerformingFromTheMainThreadWithoutWaitingIsPutOff) {
    bool ran = false;
    mainThread().performOnMainThread([&] { ran = true; }, WaitUntilDone::No);
    EXPECT_FALSE(ran);
    MainRunLoop::drain(RunLoopMode::Default);
    EXPECT_TRUE(ran);
}

TEST(MainThread, PerformingIsServedInTheModalModeToo) {
    std::atomic<bool> done{false};
    std::thread other([&] {
        mainThread().performOnMainThread([] {}, WaitUntilDone::Yes);
        done = true;
    });
    const auto end = steady_clock::now() + 10s;
    while (!done && steady_clock::now() < end)
        MainRunLoop::run(RunLoopMode::ModalPanel, steady_clock::now() + 1ms);
    other.join();
    EXPECT_TRUE(done);
}

TEST(MainThread, WhoWaitsIsReleasedWhenTheFunctionThrows) {
    std::atomic<bool> done{false};
    std::thread other([&] {
        mainThread().performOnMainThread([] { throw std::runtime_error("out"); },
                                         WaitUntilDone::Yes);
        done = true;
    });
    EXPECT_THROW(serveUntil(done), std::runtime_error);
    other.join();
    EXPECT_TRUE(done);
}

TEST(MainThread, TheCallersSignalsStayAsTheyWere) {
    sigset_t before;
    sigset_t after;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &before);
    mainThread().detachNewThread([] {});
    ::pthread_sigmask(SIG_SETMASK, nullptr, &after);
    for (int number = 1; number < SIGRTMAX; ++number)
        EXPECT_EQ(::sigismember(&before, number), ::sigismember(&after, number)) << number;
}

TEST(MainThread, ADetachedThreadIsNotLeftBehind) {
    std::thread([] {}).join();  // with the first thread a sanitizer starts its own
    const int before = test::threadCount();
    for (int i = 0; i < 20; ++i) mainThread().detachNewThread([] {});
    EXPECT_TRUE(test::eventually([&] { return test::threadCount() <= before; }));
}

// The limit on processes does not apply to root.
TEST(UserMainThread, ThrowsWhenNoThreadCanBeStarted) {
    if (test::kSanitized) GTEST_SKIP() << "the sanitizer's own threads count";
    if (::geteuid() == 0) GTEST_SKIP() << "limits do not apply to root";
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NPROC, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &none), 0);
    bool thrown = false;
    try {
        mainThread().detachNewThread([] {});
    } catch (const Exception&) {
        thrown = true;
    }
    ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &before), 0);
    EXPECT_TRUE(thrown);
}

// The run loop has no descriptors yet, since it was not used.
TEST(MainThread, WithoutDescriptorsWaitsForAnEventThatCannotCome) {
    const test::FewDescriptors none(0);
    const auto begin = steady_clock::now();
    EXPECT_FALSE(mainThread().sendNextEvent(20ms));
    EXPECT_GE(steady_clock::now() - begin, 20ms);
}

void say(const char* text) {
    std::fputs(text, stderr);
    std::fflush(stderr);
}
void sayFirst() {
    say("first;");
}
void saySecond() {
    say("second;");
}
void removeSecond() {
    say("removing;");
    mainThread().removeTerminationObserver(saySecond);
    mainThread().addTerminationObserver(removeSecond);
}

TEST(MainThreadDeathTest, ObserversAreCalledOnceInOrderAtTheEndOfTheProcess) {
    EXPECT_EXIT(
        {
            mainThread().addTerminationObserver(sayFirst);
            mainThread().addTerminationObserver(saySecond);
            mainThread().addTerminationObserver(sayFirst);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^first;second;$");
}

TEST(MainThreadDeathTest, AnObserverMayRemoveOthersAndAddItself) {
    EXPECT_EXIT(
        {
            mainThread().addTerminationObserver(removeSecond);
            mainThread().addTerminationObserver(saySecond);
            mainThread().addTerminationObserver(sayFirst);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^removing;first;$");
}

}  // namespace
}  // namespace quillmoor::platform
