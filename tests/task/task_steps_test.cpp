// The order of the runner's calls to the system, and where each failure is reported.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "quillmoor/task/KXTaskEx.h"
#include "tests/task/scripted_platform.h"

namespace quillmoor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TaskSteps : public test::ScriptedTaskTest {
  protected:
    // Each step records whether the caller's reference is set.
    void remarkStored() {
        journal_.remark = [this] { return std::string(task_ != nullptr ? ", stored" : ""); };
    }

    KXTaskEx::TaskReference task_;
};

TEST_F(TaskSteps, RunDiscardsBothStreamsAndWaits) {
    EXPECT_TRUE(KXTaskEx::runTask("/tool", StringList{"a", "b c"}));
    EXPECT_THAT(steps(), ElementsAre("executable?", "package?", "make task", "path /tool",
                                     "arguments 'a' 'b c'", "error null", "output null", "launch",
                                     "wait", "released"));
}

TEST_F(TaskSteps, RunStoresTheTaskBeforeItIsConfigured) {
    remarkStored();
    EXPECT_TRUE(KXTaskEx::runTask("/tool", std::nullopt, &task_));
    EXPECT_THAT(stepsOfTask(),
                ElementsAre("make task", "path /tool, stored", "error null, stored",
                            "output null, stored", "launch, stored", "wait, stored"));
}

TEST_F(TaskSteps, RunSetsNoArgumentsForNilButAnEmptyListForAnEmptyOne) {
    KXTaskEx::runTask("/tool", std::nullopt);
    EXPECT_FALSE(journal_.steps.contains("arguments"));
    KXTaskEx::runTask("/tool", StringList());
    EXPECT_TRUE(journal_.steps.contains("arguments"));
}

TEST_F(TaskSteps, RunLogsAnExceptionAndReturnsFalse) {
    tasks_.script.launch = [] { throw platform::Exception("Name", "the reason"); };
    EXPECT_FALSE(KXTaskEx::runTask("/tool", std::nullopt));
    EXPECT_THAT(logged(), ElementsAre("Exception running task /tool: the reason"));
    EXPECT_THAT(console_.logged.all(), IsEmpty());
    EXPECT_THAT(console_.printed.all(), IsEmpty());
}

TEST_F(TaskSteps, RunCatchesExceptionsOfTheWait) {
    tasks_.script.wait = [] { throw platform::Exception("Name", "in the wait"); };
    EXPECT_FALSE(KXTaskEx::runTask("/tool", std::nullopt));
    EXPECT_THAT(logged(), ElementsAre("Exception running task /tool: in the wait"));
}

TEST_F(TaskSteps, RunDoesNotCatchExceptionsOfTheLaunchCheck) {
    fileManager_.meanwhile = [] { throw platform::Exception("Name", "in the check"); };
    EXPECT_EQ(exceptionOf([] { KXTaskEx::runTask("/tool", std::nullopt); }), "Name: in the check");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(TaskSteps, RunCatchesExceptionsOfAnotherKind) {
    tasks_.script.launch = [] { throw std::runtime_error("other"); };
    EXPECT_FALSE(KXTaskEx::runTask("/tool", std::nullopt));
    EXPECT_THAT(logged(), ElementsAre("Exception running task /tool: other"));
}

TEST_F(TaskSteps, RunAndReturnNeitherWaitsNorQueriesTheTask) {
    KXTaskEx::runTaskAndReturn("/tool", StringList{"a"});
    EXPECT_THAT(stepsOfTask(), ElementsAre("make task", "path /tool", "arguments 'a'", "error null",
                                           "output null", "launch", "released"));
}

TEST_F(TaskSteps, RunAndReturnSetsNoArgumentsForNil) {
    KXTaskEx::runTaskAndReturn("/tool", std::nullopt);
    EXPECT_THAT(stepsOfTask(), ElementsAre("make task", "path /tool", "error null", "output null",
                                           "launch", "released"));
}

TEST_F(TaskSteps, RunAndReturnLetsExceptionsReachTheCaller) {
    tasks_.script.launch = [] { throw platform::Exception("Name", "the reason"); };
    EXPECT_EQ(exceptionOf([] { KXTaskEx::runTaskAndReturn("/tool", std::nullopt); }),
              "Name: the reason");
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(console_.logged.all(), IsEmpty());
}

// Both operations report a refusal twice: on the console, and then in the log.
TEST_F(TaskSteps, RefusalsAreOnTheConsoleBeforeTheyAreInTheLog) {
    fileManager_.executable = false;
    std::vector<std::size_t> loggedBefore;
    console_.meanwhile = [&] { loggedBefore.push_back(logged().size()); };
    KXTaskEx::runTaskAndReturn("/tool", std::nullopt);
    KXTaskEx::terminationCodeFromTask("/tool", std::nullopt);
    EXPECT_THAT(loggedBefore, ElementsAre(0, 1));
    EXPECT_EQ(logged().size(), 2U);
}

TEST_F(TaskSteps, RunAndReturnDoesNotCheckANilPath) {
    KXTaskEx::runTaskAndReturn(std::nullopt, std::nullopt);
    EXPECT_THAT(steps(), IsEmpty());
    EXPECT_THAT(console_.logged.all(), ElementsAre("Error: (null) is not executable"));
    EXPECT_THAT(logged(), ElementsAre("Error: (null) is not executable"));
}

TEST_F(TaskSteps, TerminationCodeStoresTheTaskJustBeforeTheLaunch) {
    remarkStored();
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask("/tool", StringList{"a"}, &task_), 0);
    EXPECT_THAT(stepsOfTask(), ElementsAre("make task", "path /tool", "arguments 'a'", "error null",
                                           "output null", "launch, stored", "running?, stored",
                                           "wait, stored", "status, stored"));
}

TEST_F(TaskSteps, TerminationCodeDoesNotWaitForATaskThatHasEnded) {
    tasks_.script.runsAfterLaunch = false;
    tasks_.script.status = 3;
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask("/tool", std::nullopt), 3);
    EXPECT_THAT(stepsOfTask(), ElementsAre("make task", "path /tool", "error null", "output null",
                                           "launch", "running?", "status", "released"));
}

TEST_F(TaskSteps, TerminationCodeKeepsTheSignOfTheStatus) {
    tasks_.script.status = -5;
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask("/tool", std::nullopt), -5L);
}

TEST_F(TaskSteps, TerminationCodeLetsExceptionsReachTheCaller) {
    tasks_.script.launch = [] { throw platform::Exception("Name", "the reason"); };
    EXPECT_EQ(exceptionOf([] { KXTaskEx::terminationCodeFromTask("/tool", std::nullopt); }),
              "Name: the reason");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(TaskSteps, DataReadsOnePipeAfterTheOther) {
    remarkStored();
    handles_.chunks[1] = {"one ", "two"};
    handles_.chunks[2] = {"err", "or"};
    const auto data = KXTaskEx::dataFromTask("/tool", StringList{"a"}, &task_);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->view(), "one two");
    EXPECT_THAT(steps(), ElementsAre("exists?", "executable?", "package?", "make task",
                                     "make pipe1", "make pipe2", "path /tool, stored",
                                     "arguments 'a', stored", "output pipe1.writing, stored",
                                     "make pipe3, stored", "input pipe3.reading, stored",
                                     "error pipe2.writing, stored", "launch, stored",
                                     "read pipe1.reading, stored", "read pipe1.reading, stored",
                                     "read pipe1.reading, stored", "read pipe2.reading, stored",
                                     "read pipe1.reading, stored", "read pipe2.reading, stored",
                                     "read pipe1.reading, stored", "read pipe2.reading, stored",
                                     "close pipe2.reading, stored", "close pipe1.reading, stored"));
}

TEST_F(TaskSteps, DataReleasesTheTaskWithoutWaitingForIt) {
    KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr);
    const StringList all = steps();
    ASSERT_GE(all.size(), 3u);
    EXPECT_THAT(StringList(all.end() - 3, all.end()),
                ElementsAre("close pipe2.reading", "close pipe1.reading", "released"));
    EXPECT_FALSE(journal_.steps.contains("wait"));
    EXPECT_FALSE(journal_.steps.contains("status"));
    EXPECT_FALSE(journal_.steps.contains("running?"));
}

TEST_F(TaskSteps, DataSetsAnEmptyListForNilArguments) {
    KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr);
    EXPECT_TRUE(journal_.steps.contains("arguments"));
}

TEST_F(TaskSteps, DataSetsTheEnvironmentOnlyWhenThereIsOne) {
    KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr, std::nullopt);
    EXPECT_FALSE(journal_.steps.contains("environment"));
    KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr, Environment());
    EXPECT_TRUE(journal_.steps.contains("environment"));
    KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr, Environment{{"A", "1"}});
    EXPECT_TRUE(journal_.steps.contains("environment 'A'='1'"));
}

TEST_F(TaskSteps, DataDoesNotSetStandardOutputWithoutLogOutput) {
    handles_.chunks[1] = {"never read"};
    handles_.chunks[2] = {"error"};
    const auto data =
        KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr, std::nullopt, LogOutput::No);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->view(), "error");
    EXPECT_FALSE(journal_.steps.contains("output pipe1.writing"));
    EXPECT_FALSE(journal_.steps.contains("read pipe1.reading"));
    EXPECT_TRUE(journal_.steps.contains("close pipe1.reading"));
}

TEST_F(TaskSteps, DataReportsAnExceptionOnTheConsoleOnly) {
    tasks_.script.launch = [] { throw platform::Exception("Name", "the reason"); };
    EXPECT_FALSE(KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr));
    EXPECT_THAT(console_.logged.all(), ElementsAre("Exception running task /tool: the reason"));
    EXPECT_THAT(console_.printed.all(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(TaskSteps, DataCatchesExceptionsOfTheLaunchCheck) {
    fileManager_.meanwhile = [] { throw platform::Exception("Name", "in the check"); };
    EXPECT_FALSE(KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr));
    EXPECT_THAT(console_.logged.all(), ElementsAre("Exception running task /tool: in the check"));
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(stepsOfTask(), IsEmpty());
}

TEST_F(TaskSteps, DataCatchesExceptionsOfReading) {
    handles_.chunks[1] = {"one", "!"};
    EXPECT_FALSE(KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr));
    EXPECT_THAT(console_.logged.all(), ElementsAre("Exception running task /tool: cannot read"));
    EXPECT_TRUE(journal_.steps.contains("released"));
}

TEST_F(TaskSteps, DataCatchesExceptionsOfAnotherKind) {
    tasks_.script.launch = [] { throw std::runtime_error("other"); };
    EXPECT_FALSE(KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr));
    EXPECT_THAT(console_.logged.all(), ElementsAre("Exception running task /tool: other"));
    EXPECT_TRUE(journal_.steps.contains("released"));
}

TEST_F(TaskSteps, TheBasicCheckTestsExecutabilityFirst) {
    fileManager_.executable = false;
    fileManager_.exists = false;
    EXPECT_FALSE(KXTaskEx::runTask("/tool", std::nullopt));
    KXTaskEx::runTaskAndReturn("/tool", std::nullopt);
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask("/tool", std::nullopt), -1);
    EXPECT_THAT(steps(), ElementsAre("executable?", "executable?", "executable?"));
}

TEST_F(TaskSteps, TheFullCheckTestsExistenceFirst) {
    fileManager_.exists = false;
    EXPECT_FALSE(KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr));
    EXPECT_THAT(steps(), ElementsAre("exists?"));
    fileManager_.exists = true;
    fileManager_.executable = false;
    EXPECT_FALSE(KXTaskEx::dataFromTask("/tool", std::nullopt, nullptr));
    EXPECT_THAT(steps(), ElementsAre("exists?", "exists?", "executable?"));
}

TEST_F(TaskSteps, EveryOperationRefusesAPackage) {
    applications_.package = true;
    EXPECT_FALSE(KXTaskEx::runTask("/T.app", std::nullopt));
    KXTaskEx::runTaskAndReturn("/T.app", std::nullopt);
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask("/T.app", std::nullopt), -1);
    EXPECT_FALSE(KXTaskEx::dataFromTask("/T.app", std::nullopt, nullptr));
    EXPECT_THAT(stepsOfTask(), IsEmpty());
}

}  // namespace
}  // namespace quillmoor
