#include "quillmoor/log/KXLog.h"

#include <atomic>
#include <chrono>

#include "quillmoor/platform/exception.h"
#include "tests/log/log_fixture.h"

namespace quillmoor {
namespace {

using KXLogController = test::LogTest;

TEST_F(KXLogController, ExistsOnceInTheProcess) {
    KXLog* const log = KXLog::sharedController();
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(KXLog::sharedController(), log);
    EXPECT_EQ(log->retain(), log);
    EXPECT_EQ(log->autorelease(), log);
    EXPECT_EQ(log->copyWithZone(), log);
    log->release();
    EXPECT_EQ(log->retainCount(), 4294967295UL);
}

// Creates the controller only when all threads have asked for it.
class CrowdedSetUp : public test::ForwardingMainThread {
  public:
    static constexpr int kThreads = 8;
    std::atomic<int> asking{0};
    std::atomic<int> workers{0};
    std::atomic<int> observers{0};
    void detachNewThread(std::function<void()> body) override {
        ++workers;
        while (asking < kThreads) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ForwardingMainThread::detachNewThread(std::move(body));
    }
    void addTerminationObserver(void (*)()) override { ++observers; }
};

TEST_F(KXLogController, IsCreatedOnceByManyThreads) {
    static CrowdedSetUp crowd;
    platform_->mainThread = &crowd;
    std::vector<std::thread> threads;
    std::vector<KXLog*> seen(CrowdedSetUp::kThreads);
    for (KXLog*& each : seen)
        threads.emplace_back([&each] {
            ++crowd.asking;
            each = KXLog::sharedController();
        });
    for (std::thread& thread : threads) thread.join();
    ASSERT_NE(KXLog::sharedController(), nullptr);
    for (KXLog* each : seen) EXPECT_EQ(each, KXLog::sharedController());
    EXPECT_EQ(crowd.workers, 1);
    EXPECT_EQ(crowd.observers, 1);
}

// Allocates while the controller is created: on the same thread, and on another.
class AllocatingSetUp : public test::ForwardingMainThread {
  public:
    KXLog* allocatedHere = nullptr;
    KXLog* allocatedThere = nullptr;
    std::atomic<bool> hasReturned{false};
    bool hadReturned = true;
    std::thread other;
    void addTerminationObserver(void (*)()) override {
        allocatedHere = KXLog::allocWithZone();
        other = std::thread([this] {
            allocatedThere = KXLog::allocWithZone();
            hasReturned = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        hadReturned = hasReturned;
    }
};

TEST_F(KXLogController, AllocationWaitsForTheLockOfTheCreation) {
    static AllocatingSetUp setUp;
    platform_->mainThread = &setUp;
    EXPECT_NE(KXLog::sharedController(), nullptr);
    setUp.other.join();
    EXPECT_EQ(setUp.allocatedHere, nullptr);
    EXPECT_EQ(setUp.allocatedThere, nullptr);
    EXPECT_FALSE(setUp.hadReturned);
}

TEST_F(KXLogController, ASecondAllocationIsNil) {
    KXLog::sharedController();
    EXPECT_EQ(KXLog::allocWithZone(), nullptr);
}

TEST_F(KXLogController, WithoutAControllerTheLogDoesNothing) {
    static KXLog* const taken = KXLog::allocWithZone();  // kept: it is never released
    EXPECT_NE(taken, nullptr);
    EXPECT_EQ(KXLog::sharedController(), nullptr);
    KXLog::createNewLog();
    KXLog::appendLog("lost");
    KXLog::finishWriting();
    EXPECT_TRUE(KXLog::availableLogs().empty());
    EXPECT_FALSE(test::somethingAt(folder_ / "user"));
}

TEST_F(KXLogController, StartsEmptyWithAQueueAndWithoutAFile) {
    KXLog* const log = KXLog::sharedController();
    EXPECT_NE(log->writeQueue(), nullptr);
    EXPECT_EQ(log->fileHandle(), nullptr);
    EXPECT_EQ(log->bytesWritten(), 0U);
    EXPECT_EQ(log->bytesInQueue(), 0U);
    EXPECT_FALSE(log->loggingDisabled());
    EXPECT_FALSE(test::somethingAt(logPath(1)));
}

TEST_F(KXLogController, NameIsTheProgramsUntilOneIsStored) {
    KXLog* const log = KXLog::sharedController();
    EXPECT_EQ(log->appName(), "Host");
    bundles_.main->executable = "/opt/Other";
    EXPECT_EQ(log->appName(), "Other");
    log->setAppName("Stored");
    EXPECT_EQ(log->appName(), "Stored");
    log->setAppName(std::nullopt);
    EXPECT_EQ(log->appName(), "Other");
    bundles_.main->executable = std::nullopt;
    EXPECT_EQ(log->appName(), std::nullopt);
}

TEST_F(KXLogController, TerminatingWritesNineteenPendingLines) {
    KXLog::createNewLog();
    test::Gate gate;
    holdWritesAt(gate);
    for (int i = 0; i < 19; ++i) KXLog::fastAppendLog("line %d", i);
    EXPECT_EQ(KXLog::sharedController()->writeQueue()->operationCount(), 19U);
    std::thread opener([&] {
        gate.waitForSomebody();
        gate.open();
    });
    KXLog::willTerminate();
    opener.join();
    EXPECT_EQ(messages(logPath(1)).size(), 4U + 19U);
    EXPECT_EQ(messages(logPath(1)).back(), "line 18");
}

TEST_F(KXLogController, TerminatingDoesNotWaitForTwentyPendingLines) {
    KXLog::createNewLog();
    test::Gate gate;
    holdWritesAt(gate);
    WriteQueue* const queue = KXLog::sharedController()->writeQueue();
    for (int i = 0; i < 25; ++i) KXLog::fastAppendLog("line %d", i);
    EXPECT_EQ(queue->operationCount(), 25U);
    KXLog::willTerminate();  // would never return, because the gate is closed
    EXPECT_EQ(queue->operationCount(), 25U);
    gate.open();
    queue->waitUntilAllOperationsAreFinished();
}

TEST_F(KXLogController, ExactlyTwentyPendingLinesAreNotWaitedFor) {
    KXLog::createNewLog();
    test::Gate gate;
    holdWritesAt(gate);
    WriteQueue* const queue = KXLog::sharedController()->writeQueue();
    for (int i = 0; i < 20; ++i) KXLog::fastAppendLog("line %d", i);
    KXLog::willTerminate();
    EXPECT_EQ(queue->operationCount(), 20U);
    gate.open();
    queue->waitUntilAllOperationsAreFinished();
}

TEST_F(KXLogController, TerminatingClearsQueueNameAndFile) {
    KXLog* const log = KXLog::sharedController();
    log->setAppName("Stored");
    KXLog::createNewLog();
    KXLog::willTerminate();
    EXPECT_EQ(log->appName(), "Host");
    EXPECT_EQ(log->writeQueue(), nullptr);
    EXPECT_EQ(log->fileHandle(), nullptr);
    const std::size_t before = log->bytesInQueue();
    KXLog::appendLog("lost");
    KXLog::finishWriting();
    EXPECT_EQ(log->bytesInQueue(), before + 4);
    EXPECT_EQ(console_.printed(), "");
}

// Records the state of the log when its file is closed.
class LookingHandle : public test::ForwardingFileHandle {
  public:
    using ForwardingFileHandle::ForwardingFileHandle;
    int closed = 0;
    OptionalString name;
    WriteQueue* queue = nullptr;
    bool isStored = false;
    void closeFile() override {
        KXLog* const log = KXLog::sharedController();
        name = log->appName();
        queue = log->writeQueue();
        isStored = log->fileHandle().get() == this;
        ++closed;
        ForwardingFileHandle::closeFile();
    }
};

TEST_F(KXLogController, TerminatingClearsNameAndQueueBeforeItClosesTheFile) {
    KXLog* const log = KXLog::sharedController();
    KXLog::createNewLog();
    KXLog::finishWriting();
    const auto handle = std::make_shared<LookingHandle>(log->fileHandle());
    log->setFileHandle(handle);
    log->setAppName("Stored");
    handle->queue = log->writeQueue();
    KXLog::willTerminate();
    EXPECT_EQ(handle->closed, 1);
    EXPECT_EQ(handle->name, "Host");
    EXPECT_EQ(handle->queue, nullptr);
    EXPECT_TRUE(handle->isStored);
    EXPECT_EQ(log->fileHandle(), nullptr);
}

TEST_F(KXLogController, DeallocDoesTheSameAsTerminating) {
    KXLog::createNewLog();
    KXLog::fastAppendLog("last");
    KXLog* const log = KXLog::sharedController();
    log->dealloc();
    EXPECT_EQ(log->writeQueue(), nullptr);
    EXPECT_EQ(log->fileHandle(), nullptr);
    EXPECT_EQ(messages(logPath(1)).back(), "last");
}

class ObserverRecord : public test::ForwardingMainThread {
  public:
    int added = 0;
    int removed = 0;
    void addTerminationObserver(void (*observer)()) override {
        added += observer == KXLog::willTerminate ? 1 : 0;
    }
    void removeTerminationObserver(void (*observer)()) override {
        removed += observer == KXLog::willTerminate ? 1 : 0;
    }
};

TEST_F(KXLogController, AddsOneTerminationObserverAndRemovesItAtTheEnd) {
    static ObserverRecord record;
    platform_->mainThread = &record;
    KXLog::sharedController();
    KXLog::sharedController();
    EXPECT_EQ(record.added, 1);
    EXPECT_EQ(record.removed, 0);
    KXLog::willTerminate();
    EXPECT_EQ(record.removed, 1);
}

class NoThreads : public test::ForwardingMainThread {
  public:
    void detachNewThread(std::function<void()>) override {
        throw platform::Exception("NSGenericException", "no thread could be started");
    }
};

TEST_F(KXLogController, WithoutAThreadForItsQueueEachMessageIsReportedAsLost) {
    static NoThreads threads;
    platform_->mainThread = &threads;
    KXLog* const log = KXLog::sharedController();
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(KXLog::sharedController(), log);
    EXPECT_EQ(log->writeQueue(), nullptr);
    KXLog::appendLog(" one\n");
    std::thread([] { KXLog::appendLog("two"); }).join();
    KXLog::finishWriting();
    EXPECT_EQ(console_.printed(),
              "Unable to log the following information: one\nUnable to open log for output\n"
              "Unable to log the following information: two\nUnable to open log for output\n");
    EXPECT_EQ(log->bytesInQueue(), 0U);
    KXLog::willTerminate();
    KXLog::appendLog("after the end");
    EXPECT_EQ(console_.printed().find("after"), std::string::npos);
}

TEST_F(KXLogController, WithoutAThreadForItsQueueAndDisabledNothingIsReported) {
    static NoThreads threads;
    platform_->mainThread = &threads;
    KXLog::sharedController()->setLoggingDisabled(true);
    KXLog::appendLog("lost");
    EXPECT_EQ(console_.printed(), "");
}

}  // namespace
}  // namespace quillmoor
