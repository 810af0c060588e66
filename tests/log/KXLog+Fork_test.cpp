// A process that is copied while another thread makes its first log call.
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/log/log_fixture.h"

namespace quillmoor {
namespace {

// The set-up of the log stays in its midst until a fork begins, and a while longer.
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

TEST(ForkDuringTheFirstLogCall, ItsChildLogsNothingAndEnds) {
    const test::TempFolder home;
    test::ScopedPlatform platform;
    platform->mainThread = &slowSetUp();
    std::thread caller([] { KXLog::sharedController(); });
    slowSetUp().gate.waitForSomebody();
    ASSERT_EQ(::pthread_atfork([] { slowSetUp().gate.open(); }, nullptr, nullptr), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(30);
        KXLog::appendLog("from the child");
        KXLog::appendLogAndPrint(" ");
        KXLog::createNewLog();
        KXLog::finishWriting();
        ::_exit(KXLog::sharedController()->writeQueue() == nullptr ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    caller.join();
    EXPECT_NE(KXLog::sharedController()->writeQueue(), nullptr);
}

using LogOfAForkedChild = test::LogTest;

// Else it would shift the files that its parent writes to.
TEST_F(LogOfAForkedChild, StartsNoNewFile) {
    KXLog::createNewLog();
    KXLog::finishWriting();
    const pid_t child = ::fork();
    if (child == 0) {
        KXLog::createNewLog();
        ::_exit(KXLog::sharedController()->fileHandle() != nullptr ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(test::somethingAt(logPath(2)));
}

}  // namespace
}  // namespace quillmoor
