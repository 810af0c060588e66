#include <sys/stat.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>

#include "quillmoor/platform/exception.h"
#include "tests/log/log_fixture.h"

namespace quillmoor {
namespace {

using KXLogFiles = test::LogTest;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;

TEST_F(KXLogFiles, TheFirstRunCreatesTheFolderAndWritesTheHeader) {
    bundles_.main->version = "1.2.3";
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_THAT(
        messages(logPath(1)),
        ElementsAre(MatchesRegex("Log started: [-0-9]* [:0-9]* .0000"), "Version: 1.2.3",
                    "Path: /Applications/Host.app/Contents/MacOS/Host.bin",
                    "System: OS X Version 12, 2 CPU(s), 6.00 GB RAM", "Running in 64-bit mode"));
    EXPECT_FALSE(test::somethingAt(logPath(2)));
    EXPECT_EQ(console_.printed(), "");
}

TEST_F(KXLogFiles, WithoutAVersionTheHeaderHasNoVersionLine) {
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1)).size(), 4U);
    EXPECT_THAT(messages(logPath(1))[1], ::testing::StartsWith("Path: "));
}

TEST_F(KXLogFiles, WithoutABundleTheHeaderHasNoPathLine) {
    bundles_.own = nullptr;
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_THAT(messages(logPath(1))[1], ::testing::StartsWith("System: "));
}

TEST_F(KXLogFiles, ABundleWithoutAnExecutableHasANullPath) {
    bundles_.own = std::make_shared<test::LogBundle>();
    bundles_.own->executable = std::nullopt;
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1))[1], "Path: (null)");
}

TEST_F(KXLogFiles, ASecondRunShiftsTheFirst) {
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "first\n");
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(generation(2), "first\n");
    EXPECT_EQ(messages(logPath(1)).size(), 4U);
}

TEST_F(KXLogFiles, AfterSixRunsFiveGenerationsRemain) {
    for (int run = 1; run <= 6; ++run) {
        KXLog::createNewLog();
        KXLog::appendLog("run %d", run);
        KXLog::finishWriting();
    }
    for (int n = 1; n <= 5; ++n) EXPECT_EQ(messages(logPath(n)).back(), formatted("run %d", 7 - n));
    EXPECT_FALSE(test::somethingAt(logPath(6)));
}

TEST_F(KXLogFiles, GapsBetweenGenerationsAreShifted) {
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "one");
    folder_.writeFile("user/Logs/Quillmoor/Host.3.log", "three");
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(generation(4), "three");
    EXPECT_EQ(generation(2), "one");
    EXPECT_FALSE(test::somethingAt(logPath(3)));
}

TEST_F(KXLogFiles, TheOldestIsRemovedEvenIfTheFourthIsMissing) {
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "one");
    folder_.writeFile("user/Logs/Quillmoor/Host.5.log", "five");
    KXLog::createNewLog();
    EXPECT_FALSE(test::somethingAt(logPath(5)));
    EXPECT_EQ(generation(2), "one");
}

TEST_F(KXLogFiles, WithoutANewestGenerationNothingIsShifted) {
    folder_.writeFile("user/Logs/Quillmoor/Host.2.log", "two");
    KXLog::createNewLog();
    EXPECT_EQ(generation(2), "two");
    EXPECT_FALSE(test::somethingAt(logPath(3)));
}

TEST_F(KXLogFiles, AreListedNewestFirstWithoutTheMissingOnes) {
    EXPECT_TRUE(KXLog::availableLogs().empty());
    for (int n : {6, 5, 1, 3})
        folder_.writeFile("user/Logs/Quillmoor/Host." + std::to_string(n) + ".log");
    EXPECT_THAT(KXLog::availableLogs(), ElementsAre(logPath(1), logPath(3), logPath(5)));
}

TEST_F(KXLogFiles, RootsListIsTheUsers) {
    process_.uid = 0;
    folder_.writeFile("machine/Logs/Quillmoor/Host.1.log");
    EXPECT_TRUE(KXLog::availableLogs().empty());
    for (int n : {2, 1})
        folder_.writeFile("user/Logs/Quillmoor/Host." + std::to_string(n) + ".log");
    EXPECT_THAT(KXLog::availableLogs(), ElementsAre(logPath(1), logPath(2)));
}

TEST_F(KXLogFiles, TheProgramsNameIsUsedBeforeAPassedName) {
    KXLog::createNewLog("Passed");
    EXPECT_EQ(KXLog::sharedController()->appName(), "Host");
    EXPECT_TRUE(test::somethingAt(logPath(1)));
}

TEST_F(KXLogFiles, TheFirstPassedNameIsKeptWhenThereIsNoOther) {
    bundles_.main->executable = std::nullopt;
    KXLog::createNewLog("First");
    KXLog::createNewLog("Second");
    EXPECT_EQ(KXLog::sharedController()->appName(), "First");
    EXPECT_TRUE(test::somethingAt(folder_ / "user/Logs/Quillmoor/First.2.log"));
}

TEST_F(KXLogFiles, WithoutANameItIsUnknown) {
    bundles_.main->executable = std::nullopt;
    KXLog::createNewLog();
    EXPECT_TRUE(test::somethingAt(folder_ / "user/Logs/Quillmoor/Unknown.1.log"));
}

TEST_F(KXLogFiles, AnEmptyNameBecomesUnknown) {
    KXLog::sharedController()->setAppName("");
    KXLog::createNewLog();
    EXPECT_EQ(KXLog::sharedController()->appName(), "Unknown");
}

TEST_F(KXLogFiles, AreClosedWhenTheNextIsStarted) {
    const auto openFiles = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    KXLog::createNewLog();
    KXLog::finishWriting();
    const auto before = openFiles();
    for (int i = 0; i < 100; ++i) {
        KXLog::createNewLog();
        KXLog::finishWriting();
    }
    EXPECT_EQ(openFiles(), before);
}

// The folder is created only when two callers ask for it.
class MeetingFiles : public test::ForwardingFileManager {
  public:
    bool fileExists(const std::string& path) override {
        return !path.ends_with("/Quillmoor") && ForwardingFileManager::fileExists(path);
    }
    Outcome createDirectoryWithIntermediates(const std::string& path) override {
        std::unique_lock guard(lock_);
        ++inside_;
        changed_.notify_all();
        const bool met =
            changed_.wait_for(guard, std::chrono::seconds(30), [this] { return inside_ == 2; });
        EXPECT_TRUE(met);
        return ForwardingFileManager::createDirectoryWithIntermediates(path);
    }
    int made() {
        const std::lock_guard guard(lock_);
        return inside_;
    }

  private:
    std::mutex lock_;
    std::condition_variable changed_;
    int inside_ = 0;
};

TEST_F(KXLogFiles, TwoStartsAtOnceDoNotWaitForEachOther) {
    MeetingFiles files;
    platform_->fileManager = &files;
    std::thread other([] { KXLog::createNewLog(); });
    KXLog::createNewLog();
    other.join();
    KXLog::finishWriting();
    platform_->fileManager = platform::native().fileManager;
    EXPECT_EQ(files.made(), 2);
}

// Lets a number of writes pass, then blocks.
class CountedWrites {
  public:
    void allow(int writes) {
        const std::lock_guard guard(lock_);
        allowed_ += writes;
        changed_.notify_all();
    }
    void take() {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [this] { return allowed_ > 0; });
        --allowed_;
    }

  private:
    std::mutex lock_;
    std::condition_variable changed_;
    int allowed_ = 0;
};

class CountedHandle : public test::ForwardingFileHandle {
  public:
    CountedHandle(std::shared_ptr<platform::FileHandle> next, CountedWrites* writes)
        : ForwardingFileHandle(std::move(next)), writes_(writes) {}
    void writeData(std::string_view bytes) override {
        writes_->take();
        ForwardingFileHandle::writeData(bytes);
    }

  private:
    CountedWrites* writes_;
};

// Sets the queued characters to 0 just before the system line is appended.
class ProcessWithNothingQueued : public test::LogProcess {
  public:
    std::uint64_t physicalMemory() override {
        KXLog::sharedController()->setBytesInQueue(0);
        return LogProcess::physicalMemory();
    }
};

TEST_F(KXLogFiles, OnlyTheSystemLineOfTheHeaderMayBeWaitedFor) {
    CountedWrites writes;
    test::WrappedHandles handles([&writes](std::shared_ptr<platform::FileHandle> handle) {
        return std::make_shared<CountedHandle>(std::move(handle), &writes);
    });
    platform_->fileHandles = &handles;
    ProcessWithNothingQueued process;
    platform_->processInfo = &process;
    bundles_.main->executable = "/Host";
    bundles_.main->version = "1";
    const WriteQueue& queue = *KXLog::sharedController()->writeQueue();
    std::atomic<bool> started{false};
    std::thread starter([&started] {
        KXLog::createNewLog();
        started = true;
    });
    // All lines but the last are queued, which is appended only when they are written.
    while (queue.operationCount() < 4) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(queue.operationCount(), 4U);
    EXPECT_FALSE(started);
    writes.allow(4);
    starter.join();  // would never return if the last line were waited for
    EXPECT_EQ(queue.operationCount(), 1U);
    writes.allow(1);
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1)).size(), 5U);
    platform_->fileHandles = platform::native().fileHandles;
    platform_->processInfo = &process_;
}

TEST_F(KXLogFiles, VersionAndPathAreOfTheBundleThatContainsTheLog) {
    bundles_.main->version = "1 of the program";
    bundles_.own = std::make_shared<test::LogBundle>();
    bundles_.own->executable = "/Library/Plugin.bundle/Plugin";
    bundles_.own->version = "2 of the plug-in";
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1))[1], "Version: 2 of the plug-in");
    EXPECT_EQ(messages(logPath(1))[2], "Path: /Library/Plugin.bundle/Plugin");
}

TEST_F(KXLogFiles, FolderHasTheDefaultModeOfTheProcess) {
    ::umask(027);
    folder_.makeFolder("user");
    KXLog::createNewLog();
    for (const char* name : {"user/Logs", "user/Logs/Quillmoor"}) {
        struct stat facts {};
        ASSERT_EQ(::stat((folder_ / name).c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777U, 0750U) << name;
    }
}

TEST_F(KXLogFiles, AFolderThatCannotBeCreatedIsReported) {
    folder_.writeFile("user/Logs", "a file in the way");
    KXLog::sharedController()->setBytesWritten(123);
    KXLog::createNewLog();
    EXPECT_EQ(KXLog::sharedController()->bytesWritten(), 0U);
    EXPECT_EQ(console_.printed(),
              "Unable to create folder " + (folder_ / "user/Logs/Quillmoor") + ".\n");
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
}

TEST_F(KXLogFiles, AMissingLibraryIsReported) {
    locations_.root.clear();
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(), "Unable to create folder (null).\n");
}

class FailingFiles : public test::ForwardingFileManager {
  public:
    std::string moveThatFails;
    bool removalFails = false;
    bool writingFails = false;
    Outcome moveItem(const std::string& path, const std::string& destination) override {
        if (path == moveThatFails) return Outcome::failure({13, "refused"});
        return ForwardingFileManager::moveItem(path, destination);
    }
    Outcome removeItem(const std::string& path) override {
        if (removalFails) return Outcome::failure({13, "refused"});
        return ForwardingFileManager::removeItem(path);
    }
    Outcome writeAtomically(const std::string& path, std::string_view contents) override {
        if (writingFails) return Outcome::failure({28, "No space left on device"});
        return ForwardingFileManager::writeAtomically(path, contents);
    }
};

TEST_F(KXLogFiles, AFailedMoveEndsTheRotation) {
    FailingFiles files;
    platform_->fileManager = &files;
    for (int n = 1; n <= 4; ++n)
        folder_.writeFile("user/Logs/Quillmoor/Host." + std::to_string(n) + ".log",
                          std::to_string(n));
    files.moveThatFails = logPath(2);
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(),
              "Unable to move file " + logPath(2) + " to " + logPath(3) + ".\n");
    EXPECT_EQ(generation(5), "4");
    EXPECT_EQ(generation(4), "3");
    EXPECT_EQ(generation(2), "2");
    EXPECT_EQ(generation(1), "1");
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
    platform_->fileManager = platform::native().fileManager;
}

TEST_F(KXLogFiles, AFailedRemovalIsReportedByTheMoveOntoIt) {
    FailingFiles files;
    platform_->fileManager = &files;
    for (int n : {1, 4, 5})
        folder_.writeFile("user/Logs/Quillmoor/Host." + std::to_string(n) + ".log",
                          std::to_string(n));
    files.removalFails = true;
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(),
              "Unable to move file " + logPath(4) + " to " + logPath(5) + ".\n");
    EXPECT_EQ(generation(5), "5");
    platform_->fileManager = platform::native().fileManager;
}

TEST_F(KXLogFiles, AFileThatCannotBeWrittenIsReported) {
    FailingFiles files;
    platform_->fileManager = &files;
    files.writingFails = true;
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(),
              "Unable to create log file " + logPath(1) + " - No space left on device\n");
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
    platform_->fileManager = platform::native().fileManager;
}

class ClosedHandles : public test::ForwardingFileHandles {
  public:
    std::shared_ptr<platform::FileHandle> openForWriting(const std::string&) override {
        return nullptr;
    }
};

TEST_F(KXLogFiles, ANewFileIsOpenedOnceAndKept) {
    static int opened = 0;
    static test::WrappedHandles handles([](std::shared_ptr<platform::FileHandle> handle) {
        ++opened;
        return handle;
    });
    platform_->fileHandles = &handles;
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1)).size(), 4U);
    EXPECT_EQ(opened, 1);
}

TEST_F(KXLogFiles, AFileThatCannotBeOpenedIsNotReported) {
    ClosedHandles handles;
    platform_->fileHandles = &handles;
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(), "");
    EXPECT_TRUE(test::somethingAt(logPath(1)));
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
    platform_->fileHandles = platform::native().fileHandles;
}

TEST_F(KXLogFiles, RootsNewestGenerationIsInTheMachinesLibrary) {
    process_.uid = 0;
    folder_.makeFolder("machine/Logs/Quillmoor");
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(messages(folder_ / "machine/Logs/Quillmoor/Host.1.log").size(), 4U);
    EXPECT_TRUE(test::somethingAt(folder_ / "user/Logs/Quillmoor"));
    EXPECT_FALSE(test::somethingAt(logPath(1)));
}

TEST_F(KXLogFiles, RootsFolderIsNotCreated) {
    process_.uid = 0;
    KXLog::createNewLog();
    const std::string path = folder_ / "machine/Logs/Quillmoor/Host.1.log";
    EXPECT_THAT(console_.printed(),
                ::testing::StartsWith("Unable to create log file " + path + " - "));
    EXPECT_THAT(console_.printed(), ::testing::HasSubstr("No such file or directory"));
}

TEST_F(KXLogFiles, RootShiftsTheUsersGenerationsAndEmptiesTheMachines) {
    process_.uid = 0;
    folder_.writeFile("machine/Logs/Quillmoor/Host.1.log", "machine");
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "user");
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(generation(2), "user");
    EXPECT_FALSE(test::somethingAt(logPath(1)));
    EXPECT_EQ(messages(folder_ / "machine/Logs/Quillmoor/Host.1.log").size(), 4U);
}

TEST_F(KXLogFiles, RootShiftsNothingWhileTheMachineHasNoLog) {
    process_.uid = 0;
    folder_.makeFolder("machine/Logs/Quillmoor");
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "user");
    KXLog::createNewLog();
    EXPECT_EQ(generation(1), "user");
    EXPECT_FALSE(test::somethingAt(logPath(2)));
}

TEST_F(KXLogFiles, NewestHasTheUsualMode) {
    ::umask(022);
    KXLog::createNewLog();
    struct stat facts {};
    ASSERT_EQ(::stat(logPath(1).c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777U, 0644U);
}

TEST_F(KXLogFiles, ANameMayContainSpacesAndNewlines) {
    KXLog::sharedController()->setAppName("a \"b'\nc");
    KXLog::createNewLog();
    EXPECT_TRUE(test::somethingAt(folder_ / "user/Logs/Quillmoor/a \"b'\nc.1.log"));
}

}  // namespace
}  // namespace quillmoor
