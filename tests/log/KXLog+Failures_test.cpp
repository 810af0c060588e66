// A failure below the log loses one message, and never the process.
#include <cerrno>
#include <new>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/log/log_fixture.h"

namespace quillmoor {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class FailingLog : public test::LogTest {
  protected:
    FailingLog() {
        KXLog::createNewLog();
        KXLog::finishWriting();
        header_ = generation(1);
    }
    static void append(const char* message) {
        KXLog::fastAppendLog("%@", message);
        KXLog::finishWriting();
    }
    // The messages after the header; each line has its date.
    StringList written() {
        StringList all = messages(logPath(1));
        all.erase(all.begin(), all.begin() + std::min<long>(4, static_cast<long>(all.size())));
        return all;
    }
    std::string header_;
};

// Takes a number of bytes, then none.
class FullDisk {
  public:
    explicit FullDisk(std::size_t room) {
        room_ = room;
        calls_ = platform::posix::nativeSystemCalls();
        calls_.write = [](int file, const void* bytes, std::size_t size) -> ssize_t {
            if (room_ == 0) {
                errno = ENOSPC;
                return -1;
            }
            const ssize_t count = ::write(file, bytes, std::min(size, room_));
            if (count > 0) room_ -= static_cast<std::size_t>(count);
            return count;
        };
        before_ = platform::posix::exchangeSystemCalls(&calls_);
    }
    ~FullDisk() { platform::posix::exchangeSystemCalls(before_); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    static inline std::size_t room_ = 0;
    platform::posix::SystemCalls calls_;
    const platform::posix::SystemCalls* before_ = nullptr;
};

constexpr char kFull[] =
    "Exception writing to log: the file couldn’t be written: No space left on device\n";

TEST_F(FailingLog, AMessageAfterAHalfLineBeginsANewLine) {
    {
        const FullDisk full(28 + 4);
        append("half a line");
    }
    append("whole");
    append("next");
    EXPECT_THAT(written(), ElementsAre("half", "whole", "next"));
    EXPECT_EQ(console_.printed(), kFull);
}

TEST_F(FailingLog, AFailedWriteOfNoBytesAddsNoEmptyLine) {
    {
        const FullDisk full(0);
        append("lost");
    }
    append("whole");
    EXPECT_THAT(written(), ElementsAre("whole"));
}

TEST_F(FailingLog, AHalfLineIsRememberedWhileTheDiskStaysFull) {
    {
        const FullDisk full(28 + 4);
        append("half a line");
        append("lost");
        append("lost too");
    }
    append("whole");
    append("next");
    EXPECT_THAT(written(), ElementsAre("half", "whole", "next"));
}

TEST_F(FailingLog, ANewlineThatWasWrittenIsNotRepeated) {
    {
        const FullDisk full(28 + 4);
        append("half a line");
    }
    {
        const FullDisk full(1);
        append("lost");
    }
    append("whole");
    EXPECT_THAT(written(), ElementsAre("half", "whole"));
}

TEST_F(FailingLog, ASecondHalfLineIsEndedLikeTheFirst) {
    {
        const FullDisk full(28 + 4);
        append("half a line");
    }
    {
        const FullDisk full(1 + 28 + 6);
        append("second half");
    }
    append("whole");
    EXPECT_THAT(written(), ElementsAre("half", "second", "whole"));
}

TEST_F(FailingLog, AHalfLineOfAnotherThreadIsEndedTheSameWay) {
    {
        const FullDisk full(28 + 4);
        append("half a line");
    }
    KXLog::sharedController()->appendLogOnThread("whole");
    append("next");
    EXPECT_THAT(written(), ElementsAre("half", "whole", "next"));
}

TEST_F(FailingLog, ANewFileAfterAHalfLineBeginsWithItsHeader) {
    {
        const FullDisk full(28 + 4);
        append("half a line");
    }
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_NE(generation(1).front(), '\n');
    EXPECT_EQ(messages(logPath(1)).size(), 4U);
}

TEST_F(FailingLog, TheNewlineAfterAHalfLineIsCounted) {
    {
        const FullDisk full(28 + 4);
        append("half a line");
    }
    KXLog* const log = KXLog::sharedController();
    const std::size_t before = log->bytesWritten();
    append("whole");
    EXPECT_EQ(log->bytesWritten(), before + 1 + 28 + 6);
}

// Continues the file of an earlier run: the log has no file open yet.
class ContinuedLog : public test::LogTest {
  protected:
    void leave(const std::string& text) {
        folder_.writeFile("user/Logs/Quillmoor/Host.1.log", text);
    }
    StringList written() const { return messages(logPath(1)); }
    const std::string date_ = "2013-06-04 10:04:31 +0000 - ";
};

TEST_F(ContinuedLog, BeginsANewLineAfterAHalfLine) {
    leave(date_ + "earlier\n" + date_ + "half a li");
    KXLog::fastAppendLog("first");
    KXLog::fastAppendLog("second");
    KXLog::finishWriting();
    EXPECT_THAT(written(), ElementsAre("earlier", "half a li", "first", "second"));
}

TEST_F(ContinuedLog, WritesNoEmptyLineAfterAWholeLine) {
    leave(date_ + "earlier\n");
    KXLog::fastAppendLog("first");
    KXLog::finishWriting();
    EXPECT_THAT(written(), ElementsAre("earlier", "first"));
}

TEST_F(ContinuedLog, WritesNoEmptyLineIntoAnEmptyFile) {
    leave("");
    KXLog::fastAppendLog("first");
    KXLog::finishWriting();
    EXPECT_THAT(written(), ElementsAre("first"));
}

TEST_F(ContinuedLog, CountsTheNewlineAfterAHalfLine) {
    leave(date_ + "half a li");
    KXLog::fastAppendLog("first");
    KXLog::finishWriting();
    EXPECT_EQ(KXLog::sharedController()->bytesWritten(), 1U + 28 + 6);
}

class FailsToSeekOnce : public test::ForwardingFileHandle {
  public:
    using ForwardingFileHandle::ForwardingFileHandle;
    std::uint64_t seekToEndOfFile() override {
        if (std::exchange(isFirst, false)) throw platform::Exception("Bad", "no seeking");
        return ForwardingFileHandle::seekToEndOfFile();
    }
    static inline bool isFirst = true;
};

TEST_F(ContinuedLog, IsNotOverwrittenWhenSeekingFails) {
    leave(date_ + "earlier\n");
    static test::WrappedHandles handles([](std::shared_ptr<platform::FileHandle> next) {
        return std::make_shared<FailsToSeekOnce>(std::move(next));
    });
    platform_->fileHandles = &handles;
    KXLog::fastAppendLog("lost");
    KXLog::fastAppendLog("written");
    KXLog::finishWriting();
    EXPECT_THAT(written(), ElementsAre("earlier", "written"));
    EXPECT_EQ(console_.printed(), "Exception writing to log: no seeking\n");
}

// A name or a file that cannot be read or examined at the moment does not count as missing.
class NoMemoryForOneName : public test::LogBundles {
  public:
    std::shared_ptr<platform::Bundle> mainBundle() override {
        if (std::exchange(isFirst, false)) throw std::bad_alloc();
        return LogBundles::mainBundle();
    }
    bool isFirst = true;
};

TEST_F(FailingLog, WithoutMemoryForItsNameStartsNoLogWithAnotherName) {
    NoMemoryForOneName bundles;
    platform_->bundles = &bundles;
    KXLog::createNewLog(std::string("Other"));
    EXPECT_EQ(KXLog::sharedController()->appName(), "Host");
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
    EXPECT_EQ(console_.printed(), "Exception writing to log: std::bad_alloc\n");
    platform_->bundles = &bundles_;
}

TEST_F(FailingLog, WithoutMemoryForItsNameReturnsNil) {
    NoMemoryForOneName bundles;
    platform_->bundles = &bundles;
    EXPECT_EQ(KXLog::sharedController()->appName(), std::nullopt);
    EXPECT_EQ(console_.printed(), "Exception writing to log: std::bad_alloc\n");
    EXPECT_EQ(KXLog::sharedController()->appName(), "Host");
    platform_->bundles = &bundles_;
}

class UnseenFiles : public test::ForwardingFileManager {
  public:
    bool fileExists(const std::string& path) override {
        return !path.ends_with(".log") && ForwardingFileManager::fileExists(path);
    }
    bool isMissing(const std::string& path) override {
        return platform::native().fileManager->isMissing(path);
    }
};

TEST_F(FailingLog, AFileThatCannotBeExaminedIsNotReplaced) {
    append("kept");
    UnseenFiles files;
    platform_->fileManager = &files;
    KXLog::createNewLog();
    KXLog::finishWriting();
    platform_->fileManager = platform::native().fileManager;
    EXPECT_THAT(messages(logPath(2)), ::testing::Contains("kept"));
    EXPECT_EQ(messages(logPath(1)).size(), 4U);
}

template <typename Thrown>
class ThrowingHandle : public test::ForwardingFileHandle {
  public:
    using ForwardingFileHandle::ForwardingFileHandle;
    void writeData(std::string_view) override { throw Thrown{}; }
};

template <typename Thrown>
std::shared_ptr<platform::FileHandle> throwing() {
    return std::make_shared<ThrowingHandle<Thrown>>(KXLog::sharedController()->fileHandle());
}

TEST_F(FailingLog, WithoutMemoryForALineItsMessageIsLost) {
    KXLog* const log = KXLog::sharedController();
    const auto file = log->fileHandle();
    log->setFileHandle(throwing<std::bad_alloc>());
    append("lost");
    log->setFileHandle(file);
    append("written");
    EXPECT_THAT(written(), ElementsAre("written"));
    EXPECT_EQ(console_.printed(), "Exception writing to log: std::bad_alloc\n");
}

TEST_F(FailingLog, AnyExceptionLosesOneMessage) {
    KXLog* const log = KXLog::sharedController();
    const auto file = log->fileHandle();
    log->setFileHandle(throwing<int>());
    append("lost");
    log->setFileHandle(file);
    append("written");
    EXPECT_THAT(written(), ElementsAre("written"));
    EXPECT_EQ(console_.printed(), "Exception writing to log: int\n");
}

class NoMemoryForOneReport : public test::RecordingConsole {
  public:
    void print(std::string_view text) override {
        if (std::exchange(isFirst_, false)) throw std::bad_alloc();
        RecordingConsole::print(text);
    }

  private:
    bool isFirst_ = true;
};

TEST_F(FailingLog, WithoutMemoryForAReportThatIsReported) {
    NoMemoryForOneReport console;
    platform_->console = &console;
    KXLog::sharedController()->setFileHandle(throwing<int>());
    append("lost");
    platform_->console = &console_;
    EXPECT_EQ(console.printed(), "Exception writing to log: std::bad_alloc\n");
}

// Throws from every file operation of the log.
class NoMemoryForFiles : public test::ForwardingFileManager {
  public:
    bool fileExists(const std::string&) override { throw std::bad_alloc(); }
};

TEST_F(FailingLog, WithoutMemoryForANewFileTheProgramContinuesWithoutALog) {
    NoMemoryForFiles files;
    platform_->fileManager = &files;
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(), "Exception writing to log: std::bad_alloc\n");
    EXPECT_TRUE(KXLog::availableLogs().empty());
    EXPECT_EQ(console_.printed(),
              "Exception writing to log: std::bad_alloc\n"
              "Exception writing to log: std::bad_alloc\n");
    platform_->fileManager = platform::native().fileManager;
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
}

TEST_F(FailingLog, WithoutMemoryForTheNextGenerationTheWorkerContinues) {
    NoMemoryForFiles files;
    platform_->fileManager = &files;
    KXLog::sharedController()->setBytesWritten(499'999);
    append("crossing");
    platform_->fileManager = platform::native().fileManager;
    append("after");
    EXPECT_EQ(messages(logPath(1)).back(), "after");
}

class NoMemoryForObservers : public test::ForwardingMainThread {
  public:
    void addTerminationObserver(void (*)()) override { throw std::bad_alloc(); }
};

using FirstLogCall = test::LogTest;

TEST_F(FirstLogCall, WithoutMemoryForTheObserverStillLogs) {
    static NoMemoryForObservers mainThread;
    platform_->mainThread = &mainThread;
    KXLog::createNewLog();
    KXLog::appendLog("line");
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1)).back(), "line");
    EXPECT_EQ(console_.printed(), "Exception writing to log: std::bad_alloc\n");
}

class NoMemoryForThreads : public test::ForwardingMainThread {
  public:
    void detachNewThread(std::function<void()>) override { throw std::bad_alloc(); }
};

TEST_F(FirstLogCall, WithoutMemoryForTheWorkerReportsEachMessageAsLost) {
    static NoMemoryForThreads mainThread;
    platform_->mainThread = &mainThread;
    KXLog::appendLog("one");
    EXPECT_EQ(console_.printed(),
              "Unable to log the following information: one\nUnable to open log for output\n");
}

class FailingClose : public test::ForwardingFileHandle {
  public:
    using ForwardingFileHandle::ForwardingFileHandle;
    void closeFile() override { throw platform::Exception("Bad", "cannot be closed"); }
};

TEST_F(FailingLog, AFailedCloseDoesNotPreventTheEnd) {
    KXLog* const log = KXLog::sharedController();
    log->setFileHandle(std::make_shared<FailingClose>(log->fileHandle()));
    KXLog::willTerminate();
    EXPECT_EQ(log->fileHandle(), nullptr);
    EXPECT_EQ(console_.printed(), "Exception writing to log: cannot be closed\n");
}

class KeptObservers : public test::ForwardingMainThread {
  public:
    void removeTerminationObserver(void (*)()) override {
        throw platform::Exception("Bad", "cannot be removed");
    }
};

TEST_F(FailingLog, AnObserverThatCannotBeRemovedDoesNotPreventTheEnd) {
    static KeptObservers mainThread;
    platform_->mainThread = &mainThread;
    KXLog::willTerminate();
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
    EXPECT_EQ(console_.printed(), "Exception writing to log: cannot be removed\n");
}

// Another process, or another copy of the library in this one, that has the same file open.
class TwoWriters : public FailingLog {
  protected:
    void otherWrites(const std::string& line) {
        std::ofstream(logPath(1), std::ios::app) << line << std::flush;
    }
};

TEST_F(TwoWriters, OfANewFileOverwriteNoLines) {
    append("one");
    otherWrites("line of the other\n");
    append("two");
    EXPECT_THAT(generation(1), HasSubstr(" - one\nline of the other\n"));
    EXPECT_THAT(generation(1), ::testing::EndsWith(" - two\n"));
}

TEST_F(TwoWriters, OfAnEarlierRunsFileOverwriteNoLines) {
    KXLog::sharedController()->setFileHandle(nullptr);
    append("one");
    otherWrites("line of the other\n");
    append("two");
    EXPECT_THAT(generation(1), HasSubstr(" - one\nline of the other\n"));
    EXPECT_THAT(generation(1), ::testing::EndsWith(" - two\n"));
}

// As the header promises: the writer that did not start the new generation continues in the old
// one.
TEST_F(TwoWriters, KeepTheirFilesWhenOneStartsTheNext) {
    const auto other = platform::current().fileHandles->openForWriting(logPath(1));
    other->seekToEndOfFile();
    KXLog::createNewLog();
    KXLog::finishWriting();
    other->writeData("line of the other\n");
    append("own");
    EXPECT_THAT(generation(2), ::testing::EndsWith("line of the other\n"));
    EXPECT_THAT(generation(1), ::testing::EndsWith(" - own\n"));
}

}  // namespace
}  // namespace quillmoor
