#include "quillmoor/platform/file_operations.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/platform/macos/desktop/carbon_calls_macos.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "quillmoor/platform/native_services.h"
#include "tests/platform/macos/fakes/fake_core_foundation.h"
#include "tests/platform/macos/fakes/fake_file_operations.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using namespace std::chrono_literals;
using test::FakeObjects;

const std::string kSchedule = "schedule main run loop, default mode";
const std::string kUnschedule = "unschedule current run loop, default mode";

class MacFileOperations : public testing::Test {
  protected:
    ~MacFileOperations() override {
        EXPECT_EQ(FakeObjects::alive(), alive_);
        EXPECT_EQ(FakeObjects::wronglyReleased(), 0);
        EXPECT_EQ(system_.retains, 0);
    }
    FileOperations& operations() { return *nativeFileOperations(); }

    FileOperationRef scheduled() {
        FileOperationRef made = operations().create();
        EXPECT_EQ(operations().schedule(made), 0);
        return made;
    }
    // Records each report, and ends the copy as the library does.
    FileOperationCallback recording() {
        return [this, counter = token_](const FileOperationReport& report) {
            reports_.push_back(report);
            if (report.stage == FileOperationStage::Complete) {
                EXPECT_EQ(operations().unschedule(report.operation), 0);
            }
        };
    }
    std::int32_t start(const FileOperationRef& operation) {
        return operations().copy(operation, "/from/a file", "/to", "caf\xC3\xA9", recording(),
                                 1000ms);
    }

    const int alive_ = FakeObjects::alive();
    test::FakeFileOperations system_;
    std::vector<FileOperationReport> reports_;
    const std::shared_ptr<int> token_ = std::make_shared<int>();  // owned by each callback, too
};

TEST_F(MacFileOperations, AreScheduledOnTheMainRunLoopInItsDefaultMode) {
    const FileOperationRef made = scheduled();
    EXPECT_EQ(operations().unschedule(made), 0);
    EXPECT_EQ(system_.calls, (StringList{"create", kSchedule, kUnschedule}));
}

TEST_F(MacFileOperations, PassThePathsOptionsAndInterval) {
    EXPECT_EQ(start(scheduled()), 0);
    ASSERT_EQ(system_.copies.size(), 1U);
    const auto& copy = system_.copies.front();
    EXPECT_EQ(copy.source, "/from/a file");
    EXPECT_EQ(copy.folder, "/to");
    EXPECT_EQ(copy.name, "caf\xC3\xA9");
    EXPECT_EQ(copy.options, 0U);
    EXPECT_EQ(copy.interval, 1.0);
    EXPECT_EQ(copy.version, 0);
    system_.report(kFSOperationStageComplete);
}

TEST_F(MacFileOperations, LeaveAStartedCopyToTheSystem) {
    FileOperationRef made = scheduled();
    EXPECT_EQ(FakeObjects::ownersOf(system_.last), 2);
    EXPECT_EQ(start(made), 0);
    EXPECT_EQ(FakeObjects::ownersOf(system_.last), 1) << "the run loop's";
    EXPECT_EQ(system_.retains, 1);
    made = nullptr;
    EXPECT_EQ(FakeObjects::ownersOf(system_.last), 1);
    system_.report(kFSOperationStageComplete);
    ASSERT_EQ(reports_.size(), 1U);
    EXPECT_EQ(FakeObjects::ownersOf(system_.last), 0);
}

TEST_F(MacFileOperations, ReportEachStageOfTheSame) {
    const FileOperationRef made = scheduled();
    EXPECT_EQ(start(made), 0);
    system_.report(kFSOperationStagePreflighting);
    system_.report(kFSOperationStageRunning, 0, "/from/a file");
    system_.report(kFSOperationStageRunning, 0, "/from/a file",
                   {{"Bytes Complete", 5e10}, {"Objects Complete", 1}});
    system_.report(kFSOperationStageComplete, -48);
    ASSERT_EQ(reports_.size(), 4U);
    for (const FileOperationReport& report : reports_) EXPECT_EQ(report.operation, made);
    EXPECT_EQ(reports_[0].stage, FileOperationStage::Preflighting);
    EXPECT_EQ(reports_[0].currentItem, std::nullopt);
    EXPECT_EQ(reports_[1].stage, FileOperationStage::Running);
    EXPECT_EQ(reports_[1].currentItem, "/from/a file");
    EXPECT_EQ(reports_[1].status, std::nullopt);
    EXPECT_EQ(reports_[2].status, (FileOperationStatus{{"Bytes Complete", 5e10},
                                                       {"Objects Complete", 1},
                                                       {kFSOperationBytesCompleteKey, 5e10}}));
    EXPECT_EQ(reports_[3].stage, FileOperationStage::Complete);
    EXPECT_EQ(reports_[3].error, -48);
    EXPECT_EQ(system_.calls.back(), kUnschedule);
}

TEST_F(MacFileOperations, ReleaseTheCallbackAfterTheLastReport) {
    const FileOperationRef made = scheduled();
    EXPECT_EQ(start(made), 0);
    EXPECT_EQ(token_.use_count(), 2);
    system_.report(kFSOperationStageComplete);
    EXPECT_EQ(token_.use_count(), 1);
}

TEST_F(MacFileOperations, ThrowNothingIntoTheSystemsFrames) {
    const FileOperationRef made = scheduled();
    EXPECT_EQ(
        operations().copy(
            made, "/a", "/b", "c",
            [&](const FileOperationReport&) { throw std::runtime_error("a callback's"); }, 1000ms),
        0);
    EXPECT_NO_THROW(system_.report(kFSOperationStageRunning));
    EXPECT_EQ(operations().unschedule(made), 0);
}

TEST_F(MacFileOperations, AreCancelledUntilTheyEnd) {
    const FileOperationRef made = scheduled();
    EXPECT_EQ(start(made), 0);
    EXPECT_EQ(operations().cancel(made), 0);
    EXPECT_EQ(system_.calls.back(), "cancel");
    system_.cancelled = -50;
    EXPECT_EQ(operations().cancel(made), -50);
    system_.report(kFSOperationStageComplete, -128);
    EXPECT_EQ(reports_.back().error, -128);
    system_.calls.clear();
    EXPECT_EQ(operations().cancel(made), 0);
    EXPECT_EQ(operations().schedule(made), -50);
    EXPECT_EQ(operations().unschedule(made), -50);
    EXPECT_EQ(start(made), -50);
    EXPECT_TRUE(system_.calls.empty()) << "the system's operation is gone";
}

TEST_F(MacFileOperations, EndAlsoWithoutALastReport) {
    const FileOperationRef made = scheduled();
    EXPECT_EQ(start(made), 0);
    EXPECT_EQ(operations().unschedule(made), 0);
    EXPECT_EQ(token_.use_count(), 1);
    system_.calls.clear();
    EXPECT_EQ(operations().cancel(made), 0);
    EXPECT_TRUE(system_.calls.empty());
}

TEST_F(MacFileOperations, ThatCannotBeginReleaseEverything) {
    FileOperationRef made = scheduled();
    system_.started = -1;
    EXPECT_EQ(start(made), -1);
    EXPECT_EQ(token_.use_count(), 1);
    EXPECT_EQ(FakeObjects::ownersOf(system_.last), 2);
    made = nullptr;
    EXPECT_EQ(FakeObjects::ownersOf(system_.last), 1) << "the run loop's";
    CFRelease(system_.last);
}

TEST_F(MacFileOperations, ThatCannotBeScheduledReturnTheStatus) {
    const FileOperationRef made = operations().create();
    system_.scheduled = -47;
    EXPECT_EQ(operations().schedule(made), -47);
    system_.unscheduled = -46;
    EXPECT_EQ(operations().unschedule(made), -46);
}

TEST_F(MacFileOperations, DoNotPassOnWhatIsNotAPathOrAName) {
    const FileOperationRef made = scheduled();
    const std::string nul("/a\0b", 4);
    for (const std::string& name : {std::string(), std::string("."), std::string(".."),
                                    std::string("a/b"), nul, std::string("\xff")})
        EXPECT_EQ(operations().copy(made, "/a", "/b", name, recording(), 1000ms), -50) << name;
    EXPECT_EQ(operations().copy(made, nul, "/b", "c", recording(), 1000ms), -50);
    EXPECT_EQ(operations().copy(made, "/a", nul, "c", recording(), 1000ms), -50);
    EXPECT_TRUE(system_.copies.empty());
    EXPECT_EQ(operations().schedule(nullptr), -50);
    EXPECT_EQ(operations().cancel(nullptr), -50);
    EXPECT_EQ(operations().unschedule(made), 0);
}

// For the function below, which looks one call up without success.
std::string missing;

TEST_F(MacFileOperations, AreTheSharedEnginesWithoutOneOfTheCalls) {
    for (const char* const name :
         {macos::kCreateOperation, macos::kScheduleOperation, macos::kUnscheduleOperation,
          macos::kCopyObject, macos::kCancelOperation}) {
        missing = name;
        const macos::CallFinder before = macos::exchangeCallFinder([](const char* wanted) -> void* {
            static int there = 0;
            return missing == wanted ? nullptr : &there;
        });
        const FileOperationRef made = operations().create();
        macos::exchangeCallFinder(before);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(operations().schedule(made), 0);
        EXPECT_EQ(operations().schedule(made), -50) << "it is scheduled";
        EXPECT_EQ(operations().cancel(made), 0);
        EXPECT_EQ(operations().unschedule(made), 0);
    }
    EXPECT_TRUE(system_.calls.empty());
}

class RecordingConsole : public test::ForwardingConsole {
  public:
    StringList logged;
    void log(std::string_view text) override { logged.emplace_back(text); }
};

// The library over these calls: see copyFileWithProgress.
class MacProgressCopy : public MacFileOperations {
  protected:
    MacProgressCopy() { platform_->console = &console_; }
    bool copy() {
        return KXFileManager::copyFileWithProgress(source_, folder_ / "made/copy", nullptr,
                                                   nullptr);
    }

    RecordingConsole console_;
    test::TempFolder folder_;
    const std::string source_ = folder_.writeFile("a file", "text");
    test::ScopedPlatform platform_;
};

TEST_F(MacProgressCopy, IsMadeByTheSystem) {
    EXPECT_TRUE(copy());
    EXPECT_EQ(system_.calls, (StringList{"create", kSchedule, "copy"}));
    EXPECT_EQ(system_.copies.at(0).source, source_);
    EXPECT_EQ(system_.copies.at(0).folder, folder_ / "made");
    EXPECT_EQ(system_.copies.at(0).name, "copy");
    EXPECT_EQ(system_.copies.at(0).interval, 1.0);
    EXPECT_EQ(FakeObjects::ownersOf(system_.last), 1);
    system_.report(kFSOperationStageComplete);
    EXPECT_EQ(system_.calls.back(), kUnschedule);
    EXPECT_TRUE(console_.logged.empty());
}

TEST_F(MacProgressCopy, ReportsWhatTheSystemRefuses) {
    system_.scheduled = -50;
    EXPECT_FALSE(copy());
    EXPECT_EQ(FakeObjects::ownersOf(system_.last), 1) << "kept for compatibility";
    CFRelease(system_.last);
    system_.scheduled = 0;
    system_.started = -43;
    EXPECT_FALSE(copy());
    EXPECT_EQ(FakeObjects::ownersOf(system_.last), 1) << "the run loop's";
    CFRelease(system_.last);
    EXPECT_EQ(console_.logged, (StringList{"Failed to schedule operation with run loop: -50",
                                           "Failed to begin asynchronous object copy: -43"}));
}

TEST_F(MacProgressCopy, ReportsAnEndThatCannotBeUnscheduled) {
    EXPECT_TRUE(copy());
    system_.unscheduled = -50;
    system_.report(kFSOperationStageComplete);
    EXPECT_EQ(console_.logged, StringList{"Failed to unschedule operation from run loop: -50"});
    CFRelease(system_.last);
}

}  // namespace
}  // namespace quillmoor::platform
