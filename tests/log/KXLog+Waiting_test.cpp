// Who waits for the worker, and for what.
#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "tests/log/log_fixture.h"

namespace quillmoor {
namespace {

using test::OpenLog;
using test::queued;

// Makes a call that may wait on another thread, while the worker is held at the gate.
class HeldLog : public OpenLog {
  protected:
    HeldLog() {
        holdWritesAt(gate_);
        caller_ = std::thread();
    }
    ~HeldLog() override {
        finish();
        KXLog::finishWriting();  // the worker is through the gate
    }
    void call(std::function<void()> body) {
        caller_ = std::thread([this, body = std::move(body)] {
            body();
            returned_ = true;
        });
        gate_.waitForSomebody();
    }
    void finish() {
        gate_.open();
        if (caller_.joinable()) caller_.join();
    }
    bool returnsWhileHeld() {
        for (int i = 0; i < 20'000 && !returned_; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return returned_;
    }
    // A call that does not wait would have returned by then.
    bool waits() {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return !returned_;
    }

    test::Gate gate_;
    std::thread caller_;
    std::atomic<bool> returned_{false};
};

TEST_F(HeldLog, AShortMessageFromAnotherThreadIsWaitedFor) {
    call([] { KXLog::appendLog("%@", std::string(99, 'x')); });
    EXPECT_TRUE(waits());
    finish();
    EXPECT_TRUE(returned_);
}

TEST_F(HeldLog, AMessageOfAHundredCharactersIsNotWaitedFor) {
    call([] { KXLog::appendLog("%@", std::string(100, 'x')); });
    EXPECT_TRUE(returnsWhileHeld());
}

TEST_F(HeldLog, WaitingDependsOnTheLengthBeforeTrimming) {
    call([] { KXLog::appendLog("%@", "x" + std::string(99, ' ')); });
    EXPECT_TRUE(returnsWhileHeld());
}

TEST_F(HeldLog, WaitingDependsOnCharactersNotBytes) {
    std::string text;
    for (int i = 0; i < 99; ++i) text += "€";  // no character takes more bytes
    call([text] { KXLog::appendLog("%@", text); });
    EXPECT_TRUE(waits());
}

TEST_F(HeldLog, AMessageBehindALongQueueIsNotWaitedFor) {
    KXLog::fastAppendLog("%@", std::string(99, 'x'));
    call([] { KXLog::appendLog("y"); });
    EXPECT_TRUE(returnsWhileHeld());
}

TEST_F(HeldLog, AFastMessageIsNeverWaitedFor) {
    call([] { KXLog::fastAppendLog("x"); });
    EXPECT_TRUE(returnsWhileHeld());
}

TEST_F(HeldLog, AMessageOfSpacesIsNotQueuedButWaitsForTheQueue) {
    KXLog::fastAppendLog("before");
    call([] { KXLog::appendLog("  "); });
    EXPECT_TRUE(waits());
    EXPECT_EQ(queued(), 6U);
    finish();
    EXPECT_TRUE(returned_);
}

TEST_F(HeldLog, AnEmptyMessageIsNotWaitedFor) {
    KXLog::fastAppendLog("before");
    call([] { KXLog::appendLog("%@", ""); });
    EXPECT_TRUE(returnsWhileHeld());
}

TEST_F(HeldLog, APrintedMessageIsWaitedForLikeAnyOther) {
    call([] { KXLog::appendLogAndPrint("x"); });
    EXPECT_TRUE(waits());
    finish();
    EXPECT_EQ(console_.printed(), "x\n");
}

TEST_F(HeldLog, TheMainThreadNeverWaits) {
    KXLog::appendLog("x");  // would never return, because the gate is closed
    EXPECT_EQ(queued(), 1U);
}

TEST_F(HeldLog, FinishWritingWaitsForEverythingQueued) {
    KXLog::fastAppendLog("a");
    KXLog::fastAppendLog("b");
    call([] { KXLog::finishWriting(); });
    EXPECT_TRUE(waits());
    finish();
    EXPECT_TRUE(returned_);
    EXPECT_EQ(written(), (StringList{"a", "b"}));
}

// Sets the queued characters to 0 just before the header's one line that may be waited for.
class ProcessOfAnEmptyQueue : public test::LogProcess {
  public:
    std::uint64_t physicalMemory() override {
        KXLog::sharedController()->setBytesInQueue(0);
        return LogProcess::physicalMemory();
    }
};

// That line and the notice are appended on the worker, with so little counted that both are worth
// waiting for: without a guard it would hang.
TEST_F(OpenLog, TheWorkerDoesNotWaitForItself) {
    ProcessOfAnEmptyQueue process;
    platform_->processInfo = &process;
    bundles_.own = nullptr;
    KXLog::sharedController()->setBytesWritten(499'999);
    KXLog::fastAppendLog("crossing");
    KXLog::finishWriting();
    const StringList next = messages(logPath(1));
    ASSERT_EQ(next.size(), 4U);
    EXPECT_THAT(next[1], ::testing::StartsWith("System: "));
    EXPECT_EQ(next[3], "Log truncated at 500KB");
    EXPECT_LE(next[1].size() + next[2].size() + next[3].size(), 99U);
    platform_->processInfo = &process_;
}

}  // namespace
}  // namespace quillmoor
