#include "quillmoor/task/KXTaskEx.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "quillmoor/log/KXLog.h"
#include "tests/children/child_tools.h"
#include "tests/task/task_test.h"

namespace quillmoor {
namespace {

using test::childPath;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RunTask : public test::TaskTest {
  protected:
    std::string notExecutable(const std::string& path) {
        return "Error: " + path + " is not executable";
    }
};

TEST_F(RunTask, ReturnsTrueWhateverTheStatus) {
    EXPECT_TRUE(KXTaskEx::runTask(childPath("exit_with"), StringList{"0"}));
    EXPECT_TRUE(KXTaskEx::runTask(childPath("exit_with"), StringList{"3"}));
    EXPECT_TRUE(KXTaskEx::runTask(childPath("kill_self"), StringList{"9"}));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(RunTask, ReturnsAfterTheToolHasEnded) {
    KXTaskEx::TaskReference task;
    EXPECT_TRUE(KXTaskEx::runTask(childPath("exit_with"), StringList{"4"}, &task));
    ASSERT_NE(task, nullptr);
    EXPECT_FALSE(task->isRunning());
    EXPECT_EQ(task->terminationStatus(), 4);
    EXPECT_EQ(task->launchPath(), childPath("exit_with"));
}

TEST_F(RunTask, LogsAndPrintsARefusal) {
    const std::string missing = folder_ / "missing";
    EXPECT_FALSE(KXTaskEx::runTask(missing, std::nullopt));
    EXPECT_THAT(logged(), ElementsAre(notExecutable(missing)));
    EXPECT_THAT(console_.printed.all(), ElementsAre(notExecutable(missing)));
    EXPECT_THAT(console_.logged.all(), IsEmpty());
}

TEST_F(RunTask, DoesNotChangeTheCallersReferenceAfterARefusal) {
    KXTaskEx::TaskReference task;
    EXPECT_FALSE(KXTaskEx::runTask(folder_ / "missing", std::nullopt, &task));
    EXPECT_EQ(task, nullptr);
}

TEST_F(RunTask, RefusesAFileThatIsNotExecutable) {
    EXPECT_FALSE(KXTaskEx::runTask(folder_.writeFile("plain", "#!/bin/sh\n"), std::nullopt));
    EXPECT_FALSE(KXTaskEx::runTask(folder_.makeLink("dangling", "nowhere"), std::nullopt));
    EXPECT_FALSE(KXTaskEx::runTask("", std::nullopt));
    EXPECT_FALSE(KXTaskEx::runTask(childPath("exit_with") + std::string("\0", 1), std::nullopt));
    EXPECT_EQ(logged().size(), 4u);
}

TEST_F(RunTask, RefusesAnApplication) {
    const std::string application = folder_.makeFolder("Tool.app");
    EXPECT_FALSE(KXTaskEx::runTask(application, std::nullopt));
    EXPECT_THAT(logged(), ElementsAre(notExecutable(application)));
}

TEST_F(RunTask, PrintsANilPath) {
    EXPECT_FALSE(KXTaskEx::runTask(std::nullopt, std::nullopt));
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask(std::nullopt, std::nullopt), -1);
    EXPECT_FALSE(KXTaskEx::dataFromTask(std::nullopt, std::nullopt, nullptr));
    EXPECT_THAT(logged(), ElementsAre(notExecutable("(null)"), notExecutable("(null)"),
                                      notExecutable("(null)")));
}

// A folder that may be searched counts as executable, so only the launch fails.
TEST_F(RunTask, APlainFolderPassesTheCheckAndFailsInTheLaunch) {
    const std::string folder = folder_.makeFolder("plain folder");
    EXPECT_FALSE(KXTaskEx::runTask(folder, std::nullopt));
    const std::string message = "Exception running task " + folder + ": launch path not accessible";
    EXPECT_THAT(logged(), ElementsAre(message));
    EXPECT_THAT(console_.logged.all(), IsEmpty());
    EXPECT_FALSE(KXTaskEx::dataFromTask(folder, std::nullopt, nullptr));
    EXPECT_THAT(console_.logged.all(), ElementsAre(message));
    EXPECT_THAT(logged(), ElementsAre(message));
    const std::string exception = "NSInvalidArgumentException: launch path not accessible";
    EXPECT_EQ(exceptionOf([&] { KXTaskEx::terminationCodeFromTask(folder, std::nullopt); }),
              exception);
    EXPECT_EQ(exceptionOf([&] { KXTaskEx::runTaskAndReturn(folder, std::nullopt); }), exception);
}

TEST_F(RunTask, ToolsMayHaveAnyName) {
    EXPECT_TRUE(KXTaskEx::runTask(childPath("name with space"), std::nullopt));
    for (const char* name : {"it's \"quoted\"", "new\nline", "-dash", "100%@%d"}) {
        const std::string link = folder_.makeLink(name, childPath("exit_with"));
        EXPECT_EQ(KXTaskEx::terminationCodeFromTask(link, StringList{"7"}), 7) << name;
    }
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(RunTask, ARefusedNameWithPercentSignsIsLoggedUnchanged) {
    const std::string missing = folder_ / "100%@ %d";
    KXTaskEx::runTaskAndReturn(missing, std::nullopt);
    EXPECT_THAT(console_.logged.all(), ElementsAre(notExecutable(missing)));
    EXPECT_THAT(logged(), ElementsAre(notExecutable(missing)));
}

TEST_F(RunTask, DiscardsTheOutput) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    EXPECT_TRUE(KXTaskEx::runTask(childPath("print_streams"), StringList{"out", "err"}));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(RunTask, MayBeCalledByManyThreadsAtOnce) {
    std::vector<std::thread> threads;
    std::vector<long> codes(4, 0);
    for (std::size_t n = 0; n < codes.size(); ++n)
        threads.emplace_back([&, n] {
            for (int i = 0; i < 10; ++i)
                codes[n] += KXTaskEx::terminationCodeFromTask(childPath("exit_with"),
                                                              StringList{std::to_string(n)});
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(codes, ElementsAre(0, 10, 20, 30));
}

TEST_F(RunTask, RunAndReturnDoesNotWait) {
    const std::string pidFile = folder_ / "pid";
    KXTaskEx::runTaskAndReturn(childPath("hang"), StringList{pidFile});
    const pid_t pid = test::pidIn(pidFile);
    ASSERT_GT(pid, 0);
    EXPECT_TRUE(test::processExists(pid));
    ::kill(pid, SIGKILL);
    EXPECT_TRUE(test::eventually([&] { return !test::processExists(pid); }));
}

TEST_F(RunTask, RunAndReturnReportsARefusalOnTheConsoleAndInTheLog) {
    const std::string missing = folder_ / "missing";
    KXTaskEx::runTaskAndReturn(missing, std::nullopt);
    EXPECT_THAT(console_.logged.all(), ElementsAre(notExecutable(missing)));
    EXPECT_THAT(logged(), ElementsAre(notExecutable(missing)));
    EXPECT_THAT(console_.printed.all(), IsEmpty());
}

TEST_F(RunTask, TerminationCodeIsTheStatusOrTheSignal) {
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask(childPath("exit_with"), StringList{"0"}), 0);
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask(childPath("exit_with"), StringList{"255"}), 255);
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask(childPath("kill_self"), StringList{"15"}), 15);
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask(childPath("kill_self"), StringList{"9"}), 9);
}

TEST_F(RunTask, TerminationCodeReportsARefusalOnTheConsoleAndInTheLog) {
    const std::string missing = folder_ / "missing";
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask(missing, std::nullopt), -1);
    EXPECT_THAT(console_.logged.all(), ElementsAre(notExecutable(missing)));
    EXPECT_THAT(logged(), ElementsAre(notExecutable(missing)));
    EXPECT_THAT(console_.printed.all(), IsEmpty());
}

TEST_F(RunTask, AnotherThreadCanTerminateTheTool) {
    const std::string pidFile = folder_ / "pid";
    KXTaskEx::TaskReference task;
    long code = 0;
    std::thread runner([&] {
        code = KXTaskEx::terminationCodeFromTask(childPath("hang"), StringList{pidFile}, &task);
    });
    EXPECT_TRUE(test::eventually([&] {
        const auto stored = std::atomic_load(&task);
        return stored != nullptr && stored->isRunning();
    }));
    std::atomic_load(&task)->terminate();
    runner.join();
    EXPECT_EQ(code, SIGTERM);
    EXPECT_FALSE(task->isRunning());
}

TEST_F(RunTask, ManyRunsLeaveNoResidue) {
    const StringList none;
    KXTaskEx::runTaskAndReturn("/bin/sleep",
                               StringList{"0.1"});  // starts the library's own threads
    KXTaskEx::dataFromTask("/bin/true", none, nullptr);
    KXTaskEx::runTask("/bin/true", none);
    KXLog::fastAppendLog("starts the log's thread");
    const int descriptors = test::openDescriptorCount();
    const int threads = test::threadCount();
    for (int i = 0; i < 125; ++i) {
        EXPECT_TRUE(KXTaskEx::runTask("/bin/true", none));
        KXTaskEx::runTaskAndReturn("/bin/true", none);
        EXPECT_EQ(KXTaskEx::terminationCodeFromTask("/bin/true", none), 0);
        EXPECT_EQ(KXTaskEx::stringFromTask("/bin/true", none), "");
    }
    EXPECT_TRUE(test::eventually([] { return test::zombieCount() == 0; }));
    EXPECT_TRUE(test::eventually([&] { return test::openDescriptorCount() <= descriptors; }));
    EXPECT_LE(test::threadCount(), threads);
}

}  // namespace
}  // namespace quillmoor
