#include "quillmoor/platform/file_operations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillmoor/platform/main_run_loop.h"
#include "tests/children/child_tools.h"
#include "tests/contract/services/back_end.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::IsEmpty;

class FileOperationsContract : public testing::TestWithParam<BackEnd> {
  protected:
    using Reports = std::vector<FileOperationReport>;

    FileOperations& operations() { return *GetParam().platform().fileOperations; }

    FileOperationRef scheduled() {
        FileOperationRef operation = operations().create();
        EXPECT_EQ(operations().schedule(operation), 0);
        return operation;
    }

    // Starts a copy of `source` to `name` in the test's folder.
    std::int32_t copy(const FileOperationRef& operation, const std::string& source,
                      const std::string& name) {
        return operations().copy(
            operation, source, folder_.path(), name,
            [reports = reports_](const FileOperationReport& report) {
                if (!report.status) reports->push_back(report);
            },
            1s);
    }

    // Serves the main thread until the operation has ended; its last report.
    FileOperationReport lastReport() {
        const auto end = steady_clock::now() + 20s;
        while (steady_clock::now() < end) {
            if (!reports_->empty() && reports_->back().stage == FileOperationStage::Complete)
                return reports_->back();
            MainRunLoop::run(RunLoopMode::Default, steady_clock::now() + 1ms);
        }
        ADD_FAILURE() << "the operation has not ended";
        return {};
    }

    std::vector<FileOperationStage> stages() const {
        std::vector<FileOperationStage> list;
        for (const FileOperationReport& report : *reports_) list.push_back(report.stage);
        return list;
    }

    test::TempFolder folder_;
    std::shared_ptr<Reports> reports_ = std::make_shared<Reports>();
};

TEST_P(FileOperationsContract, ACopyReportsItsStagesInOrder) {
    folder_.writeFile("tree/sub/file", "text");
    const FileOperationRef operation = scheduled();
    ASSERT_EQ(copy(operation, folder_ / "tree", "copy"), 0);
    EXPECT_THAT(*reports_, IsEmpty());  // before the run loop runs
    const FileOperationReport last = lastReport();
    EXPECT_EQ(last.error, 0);
    EXPECT_EQ(last.operation, operation);
    EXPECT_EQ(last.currentItem, folder_ / "tree");
    EXPECT_THAT(stages(), ElementsAre(FileOperationStage::Preflighting, FileOperationStage::Running,
                                      FileOperationStage::Complete));
    EXPECT_EQ(test::readFile(folder_ / "copy/sub/file"), "text");
}

TEST_P(FileOperationsContract, ReplacesNoExistingItem) {
    const std::string source = folder_.writeFile("source", "new");
    folder_.writeFile("taken", "old");
    ASSERT_EQ(copy(scheduled(), source, "taken"), 0);
    EXPECT_NE(lastReport().error, 0);
    EXPECT_EQ(test::readFile(folder_ / "taken"), "old");
    EXPECT_EQ(test::readFile(source), "new");
}

TEST_P(FileOperationsContract, AMissingItemIsAnErrorAtTheEnd) {
    ASSERT_EQ(copy(scheduled(), folder_ / "missing", "copy"), 0);
    EXPECT_NE(lastReport().error, 0);
    EXPECT_FALSE(test::somethingAt(folder_ / "copy"));
}

TEST_P(FileOperationsContract, ACancelledOperationEndsWithAnErrorAndLeavesNothing) {
    const std::string source = folder_.writeFile("source", "text");
    const FileOperationRef operation = scheduled();
    ASSERT_EQ(operations().cancel(operation), 0);
    ASSERT_EQ(copy(operation, source, "copy"), 0);
    EXPECT_EQ(lastReport().error, -128);
    EXPECT_FALSE(test::somethingAt(folder_ / "copy"));
}

TEST_P(FileOperationsContract, AnOperationCopiesOnce) {
    const std::string source = folder_.writeFile("source", "text");
    const FileOperationRef operation = scheduled();
    ASSERT_EQ(copy(operation, source, "copy"), 0);
    EXPECT_NE(copy(operation, source, "copy 2"), 0);
    EXPECT_EQ(lastReport().error, 0);
    EXPECT_NE(copy(operation, source, "copy 3"), 0);
    EXPECT_FALSE(test::somethingAt(folder_ / "copy 2"));
    EXPECT_FALSE(test::somethingAt(folder_ / "copy 3"));
}

TEST_P(FileOperationsContract, AnOperationThatIsNotScheduledIsNotStarted) {
    const std::string source = folder_.writeFile("source", "text");
    EXPECT_NE(copy(operations().create(), source, "copy"), 0);
    const FileOperationRef operation = scheduled();
    EXPECT_NE(operations().schedule(operation), 0);  // twice
    EXPECT_EQ(operations().unschedule(operation), 0);
    EXPECT_NE(operations().unschedule(operation), 0);
    EXPECT_NE(copy(operation, source, "copy"), 0);
    EXPECT_FALSE(test::somethingAt(folder_ / "copy"));
}

TEST_P(FileOperationsContract, WhatIsNotOneNameIsRefusedAtOnce) {
    const std::string source = folder_.writeFile("source", "text");
    for (const std::string& name : {std::string(), std::string("."), std::string(".."),
                                    std::string("a/b"), std::string("a\0b", 3)})
        EXPECT_NE(copy(scheduled(), source, name), 0) << name;
    EXPECT_THAT(*reports_, IsEmpty());
}

TEST_P(FileOperationsContract, RejectsANullOperation) {
    EXPECT_NE(operations().schedule(nullptr), 0);
    EXPECT_NE(operations().unschedule(nullptr), 0);
    EXPECT_NE(operations().cancel(nullptr), 0);
    EXPECT_NE(copy(nullptr, folder_.writeFile("source"), "copy"), 0);
}

TEST_P(FileOperationsContract, NothingIsReportedInAnotherModeOrOnceItIsUnscheduled) {
    const std::string source = folder_.writeFile("source", "text");
    const FileOperationRef operation = scheduled();
    ASSERT_EQ(copy(operation, source, "copy"), 0);
    ASSERT_TRUE(test::eventually([&] { return test::somethingAt(folder_ / "copy"); }));
    MainRunLoop::run(RunLoopMode::ModalPanel, steady_clock::now() + 1ms);
    EXPECT_THAT(*reports_, IsEmpty());
    EXPECT_EQ(operations().unschedule(operation), 0);
    MainRunLoop::run(RunLoopMode::Default, steady_clock::now() + 1ms);
    EXPECT_THAT(*reports_, IsEmpty());
}

// The first status that a copy of the folder `source` reports, if one came before its end.
std::optional<FileOperationReport> firstStatus(FileOperations& operations,
                                               const std::string& source, const std::string& folder,
                                               const std::string& name) {
    std::vector<FileOperationReport> reports;
    const FileOperationRef operation = operations.create();
    EXPECT_EQ(operations.schedule(operation), 0);
    EXPECT_EQ(operations.copy(
                  operation, source, folder, name,
                  [&](const FileOperationReport& report) { reports.push_back(report); }, 1ms),
              0);
    EXPECT_TRUE(test::eventually([&] {
        MainRunLoop::run(RunLoopMode::Default, steady_clock::now() + 1ms);
        return !reports.empty() && reports.back().stage == FileOperationStage::Complete;
    }));
    for (const FileOperationReport& report : reports)
        if (report.status) return report;
    return std::nullopt;
}

// How long a copy takes is the machine's affair: the tree grows until one takes long enough.
TEST_P(FileOperationsContract, ALongCopyReportsHowFarItHasCome) {
    std::optional<FileOperationReport> report;
    int files = 0;
    for (int round = 0; round < 12 && !report; ++round) {
        for (const int end = std::max(100, 2 * files); files < end; ++files)
            folder_.writeFile("tree/" + std::to_string(files), "text");
        report = firstStatus(operations(), folder_ / "tree", folder_.path(),
                             "copy " + std::to_string(round));
    }
    ASSERT_TRUE(report);
    EXPECT_EQ(report->stage, FileOperationStage::Running);
    EXPECT_EQ(report->error, 0);
    FileOperationStatus& status = *report->status;
    EXPECT_EQ(status[kFSOperationTotalObjectsKey], files + 1);
    EXPECT_EQ(status[kFSOperationTotalBytesKey], 4.0 * files);
    EXPECT_LE(status[kFSOperationObjectsCompleteKey], files + 1);
    EXPECT_EQ(status[kFSOperationObjectsCompleteKey] + status[kFSOperationObjectsRemainingKey],
              status[kFSOperationTotalObjectsKey]);
    EXPECT_EQ(status[kFSOperationBytesCompleteKey] + status[kFSOperationBytesRemainingKey],
              status[kFSOperationTotalBytesKey]);
    EXPECT_GE(status[kFSOperationThroughputKey], 0);
}

INSTANTIATE_TEST_SUITE_P(All, FileOperationsContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
