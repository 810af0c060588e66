#include <atomic>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/children/child_tools.h"
#include "tests/files/copy_async_test.h"
#include "tests/files/held_calls.h"
#include "tests/support/few_descriptors.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using platform::FileOperationReport;
using platform::FileOperationStage;
using platform::MainRunLoop;
using platform::RunLoopMode;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// With the system's own file operations.
class RealCopyWithProgress : public test::CopyWithProgressTest {
  protected:
    // Reports progress a thousand times as often.
    class EveryMillisecond : public test::ForwardingFileOperations {
      public:
        std::int32_t copy(const platform::FileOperationRef& operation, const std::string& source,
                          const std::string& folder, const std::string& name,
                          platform::FileOperationCallback callback,
                          std::chrono::milliseconds) override {
            return ForwardingFileOperations::copy(operation, source, folder, name,
                                                  std::move(callback), 1ms);
        }
    };

    // One copy, named "copy", and what was reported of it.
    class Operation {
      public:
        Operation(const std::string& source, const std::string& folder,
                  std::chrono::milliseconds interval) {
            EXPECT_EQ(operations_.schedule(operation_), 0);
            const auto note = [reports = reports_](const FileOperationReport& report) {
                if (report.status)
                    reports->statuses.push_back(*report.status);
                else
                    reports->stages.push_back(report.stage);
                if (report.stage == FileOperationStage::Complete) ++reports->ends;
            };
            EXPECT_EQ(operations_.copy(operation_, source, folder, "copy", note, interval), 0);
        }

        void cancel() { EXPECT_EQ(operations_.cancel(operation_), 0); }
        // False when it has not arrived in time.
        static bool serveUntil(const std::function<bool()>& condition) {
            const auto end = std::chrono::steady_clock::now() + 20s;
            while (!condition() && std::chrono::steady_clock::now() < end)
                test::serveDefaultMode(1ms);
            return condition();
        }
        bool serveUntilEnded() const {
            return serveUntil([this] { return reports_->ends > 0; });
        }

        int ends() const { return reports_->ends; }
        // Of the reports without a status.
        const std::vector<FileOperationStage>& stages() const { return reports_->stages; }
        const std::vector<platform::FileOperationStatus>& statuses() const {
            return reports_->statuses;
        }

      private:
        struct Reports {
            int ends = 0;
            std::vector<FileOperationStage> stages;
            std::vector<platform::FileOperationStatus> statuses;
        };
        platform::FileOperations& operations_ = *platform::current().fileOperations;
        platform::FileOperationRef operation_ = operations_.create();
        std::shared_ptr<Reports> reports_ = std::make_shared<Reports>();
    };

    static double objectsDone(const platform::FileOperationStatus& status) {
        return status.at(platform::kFSOperationObjectsCompleteKey);
    }

    StringList itemsInFolder() const {
        StringList names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
            names.push_back(entry.path().filename());
        return names;
    }

    RealCopyWithProgress() {
        platform_->fileOperations = platform::native().fileOperations;
        platform_->mainThread = platform::native().mainThread;
    }
    bool serveUntilFinished(std::chrono::milliseconds longest = 20s) {
        const auto until = std::chrono::steady_clock::now() + longest;
        const auto finished = [this] {
            return !listener_->events.empty() && listener_->events.back().starts_with("finished");
        };
        while (!finished() && std::chrono::steady_clock::now() < until) test::serveDefaultMode(5ms);
        return finished();
    }
};

TEST_F(RealCopyWithProgress, CopiesAndReportsTheEndOnce) {
    folder_.writeFile("tree/a/b", "1");
    folder_.makeLink("tree/link", "a");
    ASSERT_TRUE(KXFileManager::copyFileWithProgress(folder_ / "tree", folder_ / "copy", listener_,
                                                    nullptr));
    // Of another operation meanwhile.
    EXPECT_FALSE(KXFileManager::removeFolderIfEmpty(folder_ / "tree"));
    ASSERT_TRUE(serveUntilFinished());
    test::serveDefaultMode(50ms);
    EXPECT_THAT(listener_->events, ElementsAre("finished with operation"));
    EXPECT_TRUE(listener_->onMainThread);
    EXPECT_FALSE(listener_->failure);
    EXPECT_EQ(test::readFile(folder_ / "copy/a/b"), "1");
    EXPECT_TRUE(KXFileManager::isSymbolicLinkAtPath(folder_ / "copy/link"));
}

TEST_F(RealCopyWithProgress, StartedOnAnotherThreadReportsOnTheMainThread) {
    // Records the thread on which the platform calls back.
    class Callbacks : public test::ForwardingFileOperations {
      public:
        std::atomic<int> callbacks{0};
        std::atomic<bool> onMainThread{true};
        std::int32_t copy(const platform::FileOperationRef& operation, const std::string& source,
                          const std::string& folder, const std::string& name,
                          platform::FileOperationCallback callback,
                          std::chrono::milliseconds interval) override {
            const auto note = [this, callback = std::move(callback)](const auto& report) {
                ++callbacks;
                if (!platform::current().mainThread->isMainThread()) onMainThread = false;
                callback(report);
            };
            return ForwardingFileOperations::copy(operation, source, folder, name, note, interval);
        }
    };
    Callbacks operations;
    platform_->fileOperations = &operations;
    std::thread([this] { EXPECT_TRUE(start()); }).join();
    ASSERT_TRUE(serveUntilFinished());
    EXPECT_TRUE(listener_->onMainThread);
    EXPECT_GE(operations.callbacks, 3);
    EXPECT_TRUE(operations.onMainThread);
    EXPECT_EQ(test::readFile(folder_ / "to/copy"), "text");
}

TEST_F(RealCopyWithProgress, ThatFailsReportsTheEndOnceAndKeepsAnExistingItem) {
    folder_.writeFile("copy", "old");
    ASSERT_TRUE(KXFileManager::copyFileWithProgress(file_, folder_ / "copy", listener_, nullptr));
    ASSERT_TRUE(serveUntilFinished());
    EXPECT_THAT(listener_->events, ElementsAre("finished with operation"));
    EXPECT_EQ(std::get<long>(listener_->last.at("stage")), 3L);
    EXPECT_EQ(test::readFile(folder_ / "copy"), "old");
    ASSERT_TRUE(listener_->failure);
    EXPECT_STREQ(listener_->failure->operation,
                 "+[KXFileManager copyFileWithProgress:destination:delegate:object:object2:]");
    EXPECT_EQ(listener_->failure->path, file_);
    EXPECT_EQ(listener_->failure->toPath, folder_ / "copy");
    EXPECT_EQ(listener_->failure->systemError, EEXIST);
    EXPECT_EQ(listener_->failure->description, "“file” couldn’t be copied: File exists");
}

TEST_F(RealCopyWithProgress, ThatMeetsAnExceptionFailsAndReportsTheEnd) {
    folder_.makeFolder("tree");
    platform::posix::SystemCalls calls = platform::posix::systemCalls();
    calls.mkdirat = [](int, const char*, mode_t) -> int { throw std::runtime_error("unexpected"); };
    const auto* const before = platform::posix::exchangeSystemCalls(&calls);
    EXPECT_TRUE(KXFileManager::copyFileWithProgress(folder_ / "tree", folder_ / "copy", listener_,
                                                    nullptr));
    EXPECT_TRUE(serveUntilFinished());
    platform::posix::exchangeSystemCalls(before);
    EXPECT_THAT(listener_->events, ElementsAre("finished with operation"));
    ASSERT_TRUE(listener_->failure);
    EXPECT_EQ(listener_->failure->platformStatus, -36);
    EXPECT_THAT(itemsInFolder(), testing::Not(testing::Contains("copy")));
}

TEST_F(RealCopyWithProgress, SendsNothingWhileTheMainThreadIsInTheModalMode) {
    ASSERT_TRUE(start());
    MainRunLoop::run(RunLoopMode::ModalPanel, std::chrono::steady_clock::now() + 150ms);
    EXPECT_THAT(listener_->events, IsEmpty());
    EXPECT_EQ(test::readFile(folder_ / "to/copy"), "text");
    ASSERT_TRUE(serveUntilFinished());
}

// The run loop has no descriptors yet: it has not been used.
TEST_F(RealCopyWithProgress, WithoutDescriptorsForItsNoticesCannotBegin) {
    folder_.makeFolder("to");
    {
        const test::FewDescriptors none(0);
        EXPECT_FALSE(start());
        std::this_thread::sleep_for(20ms);
    }
    EXPECT_THAT(console_.logged, ElementsAre("Failed to begin asynchronous object copy: -108"));
    EXPECT_FALSE(test::somethingAt(folder_ / "to/copy"));
}

TEST_F(RealCopyWithProgress, CancellingNullDoesNothing) {
    KXFileManager::cancelFileOperation(nullptr);
    EXPECT_THAT(listener_->events, IsEmpty());
}

TEST_F(RealCopyWithProgress, IsCancelledFromTheProgressNotice) {
    EveryMillisecond operations;
    platform_->fileOperations = &operations;
    folder_.writeFile("tree/held");
    test::HeldCopy copy("held");
    listener_->onProgress = [&](const platform::FileOperationRef& operation) {
        KXFileManager::cancelFileOperation(operation);
        copy.letGo();
    };
    ASSERT_TRUE(KXFileManager::copyFileWithProgress(folder_ / "tree", folder_ / "copy", listener_,
                                                    nullptr));
    ASSERT_TRUE(serveUntilFinished());
    EXPECT_EQ(listener_->events.front(), "progress with operation");
    EXPECT_EQ(
        std::count(listener_->events.begin(), listener_->events.end(), "finished with operation"),
        1);
    EXPECT_THAT(itemsInFolder(), UnorderedElementsAre("file", "home", "tree"));
}

TEST_F(RealCopyWithProgress, CanBeCancelledAtAnyMomentWithoutResidue) {
    for (int i = 0; i < 20; ++i) folder_.writeFile("tree/" + std::to_string(i), "text");
    for (int round = 0; round < (test::kSanitized ? 100 : 1000); ++round) {
        Operation operation(folder_ / "tree", folder_.path(), 1000ms);
        std::this_thread::sleep_for(std::chrono::microseconds(round * 7 % 2000));
        operation.cancel();
        ASSERT_TRUE(operation.serveUntilEnded());
        ASSERT_EQ(operation.ends(), 1);
        // Either the whole copy or nothing.
        if (test::somethingAt(folder_ / "copy")) {
            EXPECT_TRUE(test::somethingAt(folder_ / "copy/19"));
            std::filesystem::remove_all(folder_ / "copy");
        }
        ASSERT_THAT(itemsInFolder(), UnorderedElementsAre("file", "home", "tree"));
    }
}

TEST_F(RealCopyWithProgress, ReportsItsStagesInOrder) {
    Operation operation(file_, folder_.path(), 1000ms);
    ASSERT_TRUE(operation.serveUntilEnded());
    EXPECT_THAT(operation.stages(),
                ElementsAre(FileOperationStage::Preflighting, FileOperationStage::Running,
                            FileOperationStage::Complete));
    EXPECT_THAT(operation.statuses(), IsEmpty());
}

TEST_F(RealCopyWithProgress, CountsWhatItHasDone) {
    for (int i = 0; i < 200; ++i) folder_.writeFile("tree/file" + std::to_string(i), "1234567890");
    test::HeldCopy copy("file", 200);
    Operation operation(folder_ / "tree", folder_.path(), 1ms);
    // Half of the files are opened; each copying thread may have one more.
    const auto hasDoneMuch = [&] {
        return !operation.statuses().empty() && objectsDone(operation.statuses().back()) > 50;
    };
    ASSERT_TRUE(operation.serveUntil(hasDoneMuch));
    const platform::FileOperationStatus held = operation.statuses().back();
    EXPECT_LE(objectsDone(held), 100);
    EXPECT_GT(held.at(platform::kFSOperationBytesCompleteKey), 0);
    EXPECT_LE(held.at(platform::kFSOperationBytesCompleteKey), 1000);
    EXPECT_GT(held.at(platform::kFSOperationThroughputKey), 0);
    copy.letGo();
    ASSERT_TRUE(operation.serveUntilEnded());
    for (const auto& status : operation.statuses()) {
        EXPECT_EQ(status.at(platform::kFSOperationTotalBytesKey), 2000);
        EXPECT_EQ(status.at(platform::kFSOperationTotalObjectsKey), 201);
        EXPECT_EQ(status.at(platform::kFSOperationBytesCompleteKey) +
                      status.at(platform::kFSOperationBytesRemainingKey),
                  2000);
        EXPECT_EQ(objectsDone(status) + status.at(platform::kFSOperationObjectsRemainingKey), 201);
    }
}

// Counting only serves the statuses, and must not delay the end of the copy.
class CountOfACopy : public RealCopyWithProgress {
  protected:
    static constexpr int kItems = 500;
    CountOfACopy() {
        for (int i = 0; i < kItems; ++i) folder_.writeFile("tree/counted" + std::to_string(i));
        folder_.writeFile("tree/held");
    }
};

TEST_F(CountOfACopy, IsStoppedWhenTheCopyHasEnded) {
    test::HeldCopy copy("held");
    test::SlowCount count("counted");
    Operation operation(folder_ / "tree", folder_.path(), 1ms);
    ASSERT_TRUE(operation.serveUntil([&] { return count.items() > 0; }));
    copy.letGo();
    ASSERT_TRUE(operation.serveUntil([&] { return test::somethingAt(folder_ / "copy"); }));
    count.letGo();
    ASSERT_TRUE(operation.serveUntilEnded());
    EXPECT_TRUE(test::somethingAt(folder_ / "copy/held"));
    EXPECT_LT(count.items(), kItems);
    EXPECT_THAT(operation.statuses(), IsEmpty());
}

TEST_F(CountOfACopy, IsStoppedWhenTheCopyIsCancelled) {
    test::HeldCopy copy("held");
    test::SlowCount count("counted");
    Operation operation(folder_ / "tree", folder_.path(), 1ms);
    ASSERT_TRUE(operation.serveUntil([&] { return count.items() > 0; }));
    operation.cancel();
    copy.letGo();
    count.letGo();
    ASSERT_TRUE(operation.serveUntilEnded());
    EXPECT_FALSE(test::somethingAt(folder_ / "copy"));
    EXPECT_LT(count.items(), kItems);
    EXPECT_THAT(operation.statuses(), IsEmpty());
}

}  // namespace
}  // namespace quillmoor
