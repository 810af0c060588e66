#include <malloc.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <vector>

#include "quillmoor/platform/exception.h"
#include "tests/log/log_fixture.h"

namespace quillmoor {
namespace {

using KXLogAppend = test::LogTest;
using test::OpenLog;
using test::queued;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

void onAnotherThread(const std::function<void()>& body) {
    std::thread(body).join();
}

TEST_F(OpenLog, WritesADatedLineForEachMessageInOrder) {
    KXLog::appendLog("one %d", 1);
    KXLog::fastAppendLog("two %@", "2");
    KXLog::appendLogAndPrint("three");
    EXPECT_THAT(written(), ElementsAre("one 1", "two 2", "three"));
}

TEST_F(OpenLog, ANilFormatDoesNothing) {
    KXLog::appendLog(std::nullopt);
    KXLog::fastAppendLog(std::nullopt);
    KXLog::appendLogAndPrint(std::nullopt);
    EXPECT_TRUE(written().empty());
    EXPECT_EQ(console_.printed(), "");
}

TEST_F(OpenLog, AMessageOfSpacesIsNotWritten) {
    KXLog::appendLog(" \n\t\u00A0\n");
    KXLog::fastAppendLog("%@", "");
    EXPECT_EQ(queued(), 0U);
    EXPECT_TRUE(written().empty());
}

TEST_F(OpenLog, TrimsBothEndsAndKeepsInnerNewlines) {
    KXLog::appendLog("\n value");
    KXLog::appendLog("\u00A0\t%@ \n\n", "other");
    EXPECT_THAT(written(), ElementsAre("value", "other"));
    KXLog::appendLog("\na\nb\n");
    KXLog::finishWriting();
    EXPECT_THAT(generation(1), HasSubstr(" - other\n"));
    EXPECT_THAT(generation(1), ::testing::EndsWith(" - a\nb\n"));
}

TEST_F(OpenLog, ATrailingNewlineChangesNothing) {
    KXLog::appendLog("value\n");
    KXLog::appendLog("value");
    KXLog::fastAppendLog("value\n");
    KXLog::appendLogAndPrint("value\n");
    EXPECT_THAT(written(), ElementsAre("value", "value", "value", "value"));
}

TEST_F(OpenLog, WritesInvalidUtf8Unchanged) {
    KXLog::appendLog("%@", "a\xFFz");
    EXPECT_THAT(written(), ElementsAre("a\xFFz"));
}

TEST_F(OpenLog, CountsCharactersInTheQueueAndBytesInTheFile) {
    test::Gate gate;
    const std::size_t before = KXLog::sharedController()->bytesWritten();
    holdWritesAt(gate);
    KXLog::fastAppendLog("é😀x\n");
    EXPECT_EQ(queued(), 4U);  // 1 + 2 + 1 units
    gate.open();
    KXLog::finishWriting();
    EXPECT_EQ(queued(), 0U);
    EXPECT_EQ(KXLog::sharedController()->bytesWritten(), before + 28 + 7 + 1);
}

TEST_F(OpenLog, BytesWrittenIsTheSizeOfAFileStartedHere) {
    KXLog::appendLog("line");
    KXLog::finishWriting();
    EXPECT_EQ(KXLog::sharedController()->bytesWritten(), generation(1).size());
}

// Shows only the times that the test sets.
class SetClock : public test::ForwardingClock {
  public:
    std::atomic<int> second{0};
    std::chrono::system_clock::time_point now() override {
        return std::chrono::system_clock::time_point(std::chrono::seconds(second));
    }
};

TEST_F(OpenLog, ALineHasTheDateOfItsWriteNotOfItsQueueing) {
    SetClock clock;
    platform_->clock = &clock;
    test::Gate gate;
    holdWritesAt(gate);
    KXLog::fastAppendLog("first");
    gate.waitForSomebody();
    KXLog::fastAppendLog("second");
    clock.second = 3;
    gate.open();
    KXLog::finishWriting();
    EXPECT_THAT(generation(1), HasSubstr("1970-01-01 00:00:00 +0000 - first\n"
                                         "1970-01-01 00:00:03 +0000 - second\n"));
    platform_->clock = platform::native().clock;
}

// Records the queue when something is printed.
class LookingConsole : public test::RecordingConsole {
  public:
    std::function<void()> look = [] {};
    void print(std::string_view text) override {
        look();
        RecordingConsole::print(text);
    }
    void putString(std::string_view text) override {
        look();
        RecordingConsole::putString(text);
    }
};

TEST_F(OpenLog, AMessageIsQueuedBeforeItIsPrinted) {
    test::Gate gate;
    holdWritesAt(gate);
    LookingConsole console;
    std::size_t seen = 0;
    console.look = [&seen] { seen = queued(); };
    platform_->console = &console;
    KXLog::appendLogAndPrint("12345");
    platform_->console = &console_;
    EXPECT_EQ(seen, 5U);
    EXPECT_EQ(console.printed(), "12345\n");
    gate.open();
    KXLog::finishWriting();  // the worker is through the gate
}

class NoThreads : public test::ForwardingMainThread {
  public:
    void detachNewThread(std::function<void()>) override {
        throw platform::Exception("NSGenericException", "no thread could be started");
    }
};

TEST_F(KXLogAppend, AMessageIsCountedBeforeItIsQueued) {
    static NoThreads threads;
    platform_->mainThread = &threads;
    LookingConsole console;
    std::vector<std::size_t> seen;
    console.look = [&seen] { seen.push_back(queued()); };
    platform_->console = &console;
    KXLog::appendLog("12345");
    platform_->console = &console_;
    EXPECT_EQ(seen, (std::vector<std::size_t>{5, 5}));
    EXPECT_EQ(queued(), 0U);
}

// Records the counters while the log starts a new file.
class CountingFiles : public test::ForwardingFileManager {
  public:
    std::vector<std::size_t> seen;
    Outcome writeAtomically(const std::string& path, std::string_view contents) override {
        seen.push_back(queued());
        return ForwardingFileManager::writeAtomically(path, contents);
    }
};

TEST_F(OpenLog, TheLineThatCrossesTheLimitIsCountedUntilTheNextFileIsStarted) {
    CountingFiles files;
    platform_->fileManager = &files;
    KXLog::sharedController()->setBytesWritten(499'999);
    KXLog::fastAppendLog("crossing");
    KXLog::finishWriting();
    EXPECT_EQ(files.seen, std::vector<std::size_t>{8});
    platform_->fileManager = platform::native().fileManager;
}

class ThreadRecord : public test::ForwardingFileHandle {
  public:
    ThreadRecord(std::shared_ptr<platform::FileHandle> next, std::vector<std::thread::id>* writers)
        : ForwardingFileHandle(std::move(next)), writers_(writers) {}
    void writeData(std::string_view bytes) override {
        writers_->push_back(std::this_thread::get_id());
        ForwardingFileHandle::writeData(bytes);
    }

  private:
    std::vector<std::thread::id>* writers_;
};

TEST_F(KXLogAppend, OnlyTheWorkerWrites) {
    std::vector<std::thread::id> writers;
    test::WrappedHandles handles([&writers](std::shared_ptr<platform::FileHandle> handle) {
        return std::make_shared<ThreadRecord>(std::move(handle), &writers);
    });
    platform_->fileHandles = &handles;
    KXLog::createNewLog();
    KXLog::appendLog("from the main thread");
    onAnotherThread([] { KXLog::appendLog("from another"); });
    KXLog::finishWriting();  // what is queued while a file is started may be lost
    onAnotherThread([] { KXLog::createNewLog(); });
    KXLog::finishWriting();
    KXLog::sharedController()->setBytesWritten(499'999);
    onAnotherThread([] { KXLog::appendLogAndPrint("crossing"); });
    KXLog::finishWriting();
    ASSERT_EQ(writers.size(), 4U + 2U + 4U + 1U + 5U);
    EXPECT_EQ(writers, std::vector<std::thread::id>(writers.size(), writers.front()));
    EXPECT_NE(writers.front(), std::this_thread::get_id());
    platform_->fileHandles = platform::native().fileHandles;
}

TEST_F(OpenLog, PrintingDoublesPercentSignsOnTheConsoleOnly) {
    KXLog::appendLogAndPrint("%@", "50%% off\n");
    EXPECT_EQ(console_.printed(), "50%%%% off\n");
    EXPECT_THAT(written(), ElementsAre("50% off"));
}

TEST_F(OpenLog, PrintingRemovesObjectDirectivesAndNuls) {
    KXLog::appendLogAndPrint("%@", std::string("50%@% x") + '\0');
    EXPECT_EQ(console_.printed(), "50%% x\n");
}

TEST_F(OpenLog, APrintedMessageIsFormattedASecondTime) {
    KXLog::appendLogAndPrint("%@", "a %@ b %d c %s");
    EXPECT_THAT(written(), ElementsAre("a (null) b 0 c (null)"));
    EXPECT_EQ(console_.printed(), "a  b %%d c %%s\n");
}

TEST_F(OpenLog, APrintedMessageOfSpacesIsAnEmptyLineOnTheConsole) {
    KXLog::appendLogAndPrint(" \n");
    EXPECT_EQ(console_.printed(), "\n");
    EXPECT_TRUE(written().empty());
}

TEST_F(OpenLog, TheLineThatCrossesTheLimitStaysInTheOldFile) {
    KXLog* const log = KXLog::sharedController();
    log->setBytesWritten(499'999 - 28 - 7);  // one byte short of the limit with "before\n"
    KXLog::fastAppendLog("before");
    KXLog::finishWriting();
    EXPECT_EQ(log->bytesWritten(), 499'999U);
    EXPECT_FALSE(test::somethingAt(logPath(2)));
    log->setBytesWritten(500'000 - 28 - 9);  // exactly the limit with "crossing\n"
    KXLog::fastAppendLog("crossing");
    KXLog::finishWriting();  // with all that the change of files queues
    EXPECT_EQ(messages(logPath(2)).back(), "crossing");
    const StringList next = messages(logPath(1));
    ASSERT_EQ(next.size(), 5U);
    EXPECT_THAT(next[0], ::testing::StartsWith("Log started: "));
    EXPECT_EQ(next[4], "Log truncated at 500KB");
    EXPECT_EQ(log->bytesWritten(), generation(1).size());
}

TEST_F(OpenLog, QueuedMessagesAreWrittenBeforeTheHeaderOfTheNextFile) {
    test::Gate gate;
    holdWritesAt(gate);
    KXLog::sharedController()->setBytesWritten(499'999);
    KXLog::fastAppendLog("crossing");
    KXLog::fastAppendLog("waiting");
    gate.open();
    KXLog::finishWriting();
    const StringList next = messages(logPath(1));
    ASSERT_EQ(next.size(), 6U);
    EXPECT_EQ(next[0], "waiting");
    EXPECT_THAT(next[1], ::testing::StartsWith("Log started: "));
    EXPECT_EQ(next[5], "Log truncated at 500KB");
}

TEST_F(KXLogAppend, ContinuesAnEarlierRunsFileWithoutAHeader) {
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "earlier\n");
    KXLog::appendLog("now");
    KXLog::finishWriting();
    EXPECT_THAT(generation(1), ::testing::StartsWith("earlier\n"));
    EXPECT_THAT(generation(1), ::testing::EndsWith(" - now\n"));
    EXPECT_EQ(KXLog::sharedController()->bytesWritten(), generation(1).size() - 8);
}

TEST_F(KXLogAppend, TheSizeOfAContinuedFileDoesNotCount) {
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", std::string(600'000, 'x') + "\n");
    KXLog::appendLog("now");
    KXLog::finishWriting();
    EXPECT_FALSE(test::somethingAt(logPath(2)));
}

TEST_F(KXLogAppend, WithoutAFileEachMessageIsReportedAsLost) {
    KXLog::fastAppendLog("one");
    KXLog::fastAppendLog("two %@", "x");
    KXLog::finishWriting();
    EXPECT_EQ(console_.printed(),
              "Unable to log the following information: one\nUnable to open log for output\n"
              "Unable to log the following information: two x\nUnable to open log for output\n");
    EXPECT_EQ(queued(), 0U);
    EXPECT_FALSE(test::somethingAt(logPath(1)));
}

TEST_F(KXLogAppend, RootContinuesTheMachinesFile) {
    process_.uid = 0;
    folder_.writeFile("machine/Logs/Quillmoor/Host.1.log", "");
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "");
    KXLog::appendLog("now");
    KXLog::finishWriting();
    EXPECT_EQ(messages(folder_ / "machine/Logs/Quillmoor/Host.1.log"), StringList{"now"});
    EXPECT_EQ(generation(1), "");
}

class RaisingHandle : public test::ForwardingFileHandle {
  public:
    RaisingHandle() : ForwardingFileHandle(nullptr) {}
    void writeData(std::string_view) override {
        throw platform::Exception(platform::kFileHandleOperationException,
                                  "No space left on device");
    }
    void closeFile() override {}
};

TEST_F(KXLogAppend, AFullDiskIsReportedAndLosesOneMessage) {
    KXLog::sharedController()->setFileHandle(std::make_shared<RaisingHandle>());
    KXLog::fastAppendLog("lost");
    KXLog::finishWriting();
    EXPECT_EQ(console_.printed(), "Exception writing to log: No space left on device\n");
    EXPECT_EQ(queued(), 4U);  // not reduced on this path
    EXPECT_EQ(KXLog::sharedController()->bytesWritten(), 0U);
}

TEST_F(KXLogAppend, AFailureAfterDisablingIsNotReported) {
    class Disabling : public RaisingHandle {
      public:
        void writeData(std::string_view bytes) override {
            KXLog::sharedController()->setLoggingDisabled(true);
            RaisingHandle::writeData(bytes);
        }
    };
    KXLog::sharedController()->setFileHandle(std::make_shared<Disabling>());
    KXLog::fastAppendLog("lost");
    KXLog::finishWriting();
    EXPECT_EQ(console_.printed(), "");
}

TEST_F(OpenLog, LinesOfManyThreadsAreWholeAndInOrder) {
    constexpr int kThreads = 4;
    constexpr int kLines = 1000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < kLines; ++i) KXLog::fastAppendLog("thread %d line %d", t, i);
        });
    for (std::thread& thread : threads) thread.join();
    std::vector<int> next(kThreads, 0);
    for (const std::string& message : written()) {
        int thread = -1;
        int line = -1;
        ASSERT_EQ(std::sscanf(message.c_str(), "thread %d line %d", &thread, &line), 2) << message;
        EXPECT_EQ(line, next.at(static_cast<std::size_t>(thread))++);
    }
    EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
}

TEST_F(OpenLog, AMessageLongerThanAQueueBlockIsWrittenWhole) {
    const std::string text = std::string(300'000, 'a') + "z";
    onAnotherThread([&] { KXLog::appendLog("%@", text); });
    EXPECT_EQ(written(), StringList{text});
}

std::size_t bytesAllocated() {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

// The worker frees the last of it just after it has counted the message as written.
TEST_F(OpenLog, TheMemoryOfAVeryLongMessageIsReleased) {
    constexpr std::size_t kBytes = 8UL << 20;
    const std::size_t before = bytesAllocated();
    KXLog::fastAppendLog("%@", std::string(kBytes, 'a'));
    KXLog::finishWriting();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (bytesAllocated() > before + kBytes / 2 && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
    EXPECT_LT(bytesAllocated(), before + kBytes / 2);
}

}  // namespace
}  // namespace quillmoor
