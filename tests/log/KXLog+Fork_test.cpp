// A process that is copied while another thread makes its first log call.
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

#include "tests/log/log_fixture.h"

namespace quillmoor {
namespace {

// Holds the set-up of the log in the middle until a fork has begun, and a little longer.
class SlowSetUp : public test::ForwardingMainThread {
  public:
    test::Gate gate;
    void addTerminationObserver(void (*)()) override {
        gate.waitUntilOpen();
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
};

SlowSetUp& slowSetUp() {
    static auto* const slow = new SlowSetUp;
    return *slow;
}

// The status of a child that does `body` and ends, with 0 if that is true.
int statusOfChild(const std::function<bool()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(30);
        ::_exit(body() ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status;
}

TEST(ForkDuringTheFirstLogCall, LeavesAChildThatLogsNothingAndEnds) {
    const test::TempFolder home;
    test::ScopedPlatform platform;
    platform->mainThread = &slowSetUp();
    std::thread caller([] { KXLog::sharedController(); });
    slowSetUp().gate.waitForSomebody();
    ASSERT_EQ(::pthread_atfork([] { slowSetUp().gate.open(); }, nullptr, nullptr), 0);
    const int status = statusOfChild([] {
        KXLog::appendLog("from the child");
        KXLog::appendLogAndPrint(" ");
        KXLog::createNewLog();
        KXLog::finishWriting();
        return KXLog::sharedController()->writeQueue() == nullptr;
    });
    EXPECT_EQ(status, 0);
    caller.join();
    EXPECT_NE(KXLog::sharedController()->writeQueue(), nullptr);
}

using LogOfAForkedChild = test::LogTest;

// Else it would shift the files that its parent writes to.
TEST_F(LogOfAForkedChild, StartsNoNewFile) {
    KXLog::createNewLog();
    KXLog::finishWriting();
    const int status = statusOfChild([] {
        KXLog::createNewLog();
        return KXLog::sharedController()->fileHandle() != nullptr;
    });
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(test::somethingAt(logPath(2)));
}

TEST_F(LogOfAForkedChild, WithoutAControllerDoesNothing) {
    static KXLog* const taken = KXLog::allocWithZone();  // kept: it is never released
    EXPECT_NE(taken, nullptr);
    EXPECT_EQ(KXLog::sharedController(), nullptr);
    const int status = statusOfChild([] {
        KXLog::appendLog("lost");
        return KXLog::sharedController() == nullptr;
    });
    EXPECT_EQ(status, 0);
}

// Sets the log up only when all threads have asked for it.
class AwaitedSetUp : public test::ForwardingMainThread {
  public:
    static constexpr int kThreads = 8;
    std::atomic<int> asking{0};
    void addTerminationObserver(void (*)()) override {
        while (asking < kThreads) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
};

// Each of the threads has registered for forks.
TEST_F(LogOfAForkedChild, IsDroppedOnceAfterAFirstCallOnManyThreads) {
    static AwaitedSetUp setUp;
    platform_->mainThread = &setUp;
    std::vector<std::thread> threads;
    for (int i = 0; i < AwaitedSetUp::kThreads; ++i)
        threads.emplace_back([] {
            ++setUp.asking;
            KXLog::sharedController();
        });
    for (std::thread& thread : threads) thread.join();
    ::alarm(60);  // a fork that waits for itself would never end
    const int status =
        statusOfChild([] { return KXLog::sharedController()->writeQueue() == nullptr; });
    ::alarm(0);
    EXPECT_EQ(status, 0);
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1)).size(), 4U);
}

}  // namespace
}  // namespace quillmoor
