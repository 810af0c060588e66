#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>

#include "quillmoor/task/KXTaskEx.h"
#include "tests/children/child_tools.h"
#include "tests/children/pattern.h"
#include "tests/task/task_test.h"

namespace quillmoor {
namespace {

using test::childPath;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TaskOutput : public test::TaskTest {
  protected:
    static std::optional<std::string> textOf(const std::optional<Data>& data) {
        if (!data) return std::nullopt;
        return std::string(data->view());
    }
    static std::optional<std::string> dataOf(const std::string& tool, StringList arguments = {}) {
        return textOf(KXTaskEx::dataFromTask(childPath(tool), arguments, nullptr));
    }
};

TEST_F(TaskOutput, IsStandardOutputWhenThereIsAny) {
    EXPECT_EQ(dataOf("print_streams", {"out", "err"}), "out");
}

TEST_F(TaskOutput, IsStandardErrorWhenStandardOutputIsEmpty) {
    EXPECT_EQ(dataOf("print_streams", {"", "err"}), "err");
}

TEST_F(TaskOutput, IsEmptyAndNotNilWhenThereIsNone) {
    EXPECT_EQ(dataOf("exit_with", {"3"}), "");
    EXPECT_EQ(KXTaskEx::stringFromTask(childPath("exit_with"), StringList{"3"}), "");
}

TEST_F(TaskOutput, OfAToolThatASignalEndsIsWhatItHasWritten) {
    const StringList script{"-c", "printf out; kill -KILL $$"};
    EXPECT_EQ(KXTaskEx::stringFromTask("/bin/sh", script), "out");
    EXPECT_EQ(textOf(KXTaskEx::dataFromTask("/bin/sh", script, nullptr)), "out");
}

TEST_F(TaskOutput, KeepsEveryByte) {
    EXPECT_EQ(dataOf("print_streams", {"\xff\xfe \xc3 é\n"}), "\xff\xfe \xc3 é\n");
    EXPECT_EQ(dataOf("print_args", {"a"}), childPath("print_args") + std::string("\0a\0", 3));
}

TEST_F(TaskOutput, MayBeLargeAndArriveInPiecesOfAnySize) {
    const std::size_t size = 9'000'001;
    const auto data = dataOf("print_bytes", {std::to_string(size), "4099"});
    EXPECT_TRUE(data == test::pattern(0, size));
}

TEST_F(TaskOutput, OfAToolThatWroteMuchToBothIsStandardOutput) {
    // Small enough for the pipe of standard error, which is read last.
    const std::string errors(30'000, 'e');
    EXPECT_EQ(dataOf("print_streams", {"out", errors}), "out");
    EXPECT_EQ(dataOf("print_streams", {"", errors}), errors);
}

TEST_F(TaskOutput, WithoutLogOutputIsStandardErrorOnly) {
    ::testing::internal::CaptureStdout();
    const auto errors = KXTaskEx::dataFromTask(childPath("print_streams"), StringList{"out", "err"},
                                               nullptr, std::nullopt, LogOutput::No);
    const auto nothing = KXTaskEx::dataFromTask(childPath("print_streams"), StringList{"more"},
                                                nullptr, std::nullopt, LogOutput::No);
    const std::string inherited = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(textOf(errors), "err");
    EXPECT_EQ(textOf(nothing), "");
    // Despite its name the flag does not decide what is written to the log.
    EXPECT_EQ(dataOf("print_streams", {"out", "err"}), "out");
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_NE(inherited.find("out"), std::string::npos);
    EXPECT_NE(inherited.find("more"), std::string::npos);
}

TEST_F(TaskOutput, AGivenEnvironmentReplacesTheWholeOne) {
    EXPECT_EQ(textOf(KXTaskEx::dataFromTask(childPath("print_env"), std::nullopt, nullptr,
                                            Environment{{"ONLY", "this"}})),
              std::string("ONLY=this\0", 10));
    EXPECT_EQ(textOf(KXTaskEx::dataFromTask(childPath("print_env"), std::nullopt, nullptr,
                                            Environment())),
              "");
}

TEST_F(TaskOutput, WithoutAnEnvironmentTheToolInheritsTheProgramsOwn) {
    ASSERT_EQ(::setenv("KX_TEST_INHERITED", "yes", 1), 0);
    const auto all = dataOf("print_env");
    ASSERT_EQ(::unsetenv("KX_TEST_INHERITED"), 0);
    ASSERT_TRUE(all);
    EXPECT_NE(all->find("KX_TEST_INHERITED=yes"), std::string::npos);
}

TEST_F(TaskOutput, NilArgumentsAreNone) {
    EXPECT_EQ(textOf(KXTaskEx::dataFromTask(childPath("print_args"), std::nullopt, nullptr)),
              childPath("print_args") + '\0');
}

TEST_F(TaskOutput, ARefusalIsNilForDataAndEmptyForText) {
    const std::string missing = folder_ / "missing";
    EXPECT_FALSE(KXTaskEx::dataFromTask(missing, std::nullopt, nullptr));
    EXPECT_EQ(KXTaskEx::stringFromTask(missing, std::nullopt), "");
    const std::string message = "Error: " + missing + " is not executable";
    EXPECT_THAT(logged(), ElementsAre(message, message));
    EXPECT_THAT(console_.printed.all(), ElementsAre(message, message));
    EXPECT_THAT(console_.logged.all(), IsEmpty());
}

TEST_F(TaskOutput, AnApplicationIsRefused) {
    const std::string application = folder_.makeFolder("Tool.app");
    EXPECT_FALSE(KXTaskEx::dataFromTask(application, std::nullopt, nullptr));
    EXPECT_THAT(logged(), ElementsAre("Error: " + application + " is not executable"));
}

TEST_F(TaskOutput, TextIsAsciiByDefault) {
    const std::string tool = childPath("print_streams");
    EXPECT_EQ(KXTaskEx::stringFromTask(tool, StringList{"plain"}), "plain");
    EXPECT_EQ(KXTaskEx::stringFromTask(tool, StringList{"é"}), std::nullopt);
    EXPECT_EQ(KXTaskEx::stringFromTask(tool, StringList{"é"}, nullptr), std::nullopt);
    EXPECT_EQ(KXTaskEx::stringFromTask(tool, StringList{"é"}, StringEncoding::UTF8, nullptr), "é");
    EXPECT_EQ(
        KXTaskEx::stringFromTask(tool, StringList{"\xe9"}, StringEncoding::ISOLatin1, nullptr),
        "é");
}

TEST_F(TaskOutput, TextThatIsNotValidIsNil) {
    const std::string tool = childPath("print_streams");
    EXPECT_EQ(KXTaskEx::stringFromTask(tool, StringList{"\xff"}, StringEncoding::UTF8, nullptr),
              std::nullopt);
    EXPECT_EQ(KXTaskEx::stringFromTask(tool, StringList{"text"}, static_cast<StringEncoding>(999),
                                       nullptr),
              std::nullopt);
}

TEST_F(TaskOutput, TextMayComeFromStandardError) {
    EXPECT_EQ(KXTaskEx::stringFromTask(childPath("print_streams"), StringList{"", "err"}), "err");
}

// The output ends when the last process that holds it closes it, not when the tool exits.
TEST_F(TaskOutput, OfAGrandchildThatKeepsThePipeIsWaitedFor) {
    EXPECT_EQ(dataOf("grandchild_keeps_pipe"), "late");
}

TEST_F(TaskOutput, IsReturnedWhenTheToolHasClosedItAndStillRuns) {
    const std::string pidFile = folder_ / "pid";
    EXPECT_EQ(dataOf("close_output_and_hang", {pidFile}), "");
    const pid_t pid = test::pidIn(pidFile);
    ASSERT_GT(pid, 0);
    EXPECT_TRUE(test::processExists(pid));
    ::kill(pid, SIGKILL);
    EXPECT_TRUE(test::eventually([&] { return !test::processExists(pid); }));
}

// Standard error is not read before standard output has ended.
TEST_F(TaskOutput, AToolThatFillsStandardErrorBlocksUntilItIsTerminated) {
    const std::string pidFile = folder_ / "pid";
    std::atomic<bool> answered{false};
    std::optional<std::string> data;
    std::thread runner([&] {
        data = dataOf("fill_errors", {pidFile});
        answered = true;
    });
    const pid_t pid = test::pidIn(pidFile);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(answered);
    ::kill(pid, SIGTERM);
    runner.join();
    ASSERT_TRUE(data);
    EXPECT_GE(data->size(), 4096u);
    EXPECT_EQ(data->find_first_not_of('e'), std::string::npos);
}

TEST_F(TaskOutput, AToolThatReadsItsInputWaitsUntilItIsTerminated) {
    const std::string pidFile = folder_ / "pid";
    std::atomic<bool> answered{false};
    std::thread runner([&] {
        EXPECT_EQ(dataOf("read_stdin", {pidFile}), "");
        answered = true;
    });
    const pid_t pid = test::pidIn(pidFile);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(answered);
    ::kill(pid, SIGTERM);
    runner.join();
}

}  // namespace
}  // namespace quillmoor
