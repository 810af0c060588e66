// What every back-end owes to those who start children.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/main_run_loop.h"
#include "quillmoor/platform/platform.h"
#include "tests/children/child_tools.h"
#include "tests/children/pattern.h"
#include "tests/contract/services/back_end.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

class TaskContract : public ::testing::TestWithParam<BackEnd> {
  protected:
    const Platform& system() { return GetParam().platform(); }

    std::shared_ptr<Task> taskOf(const std::string& name, StringList arguments = {}) {
        auto task = system().tasks->makeTask();
        task->setLaunchPath(test::childPath(name));
        task->setArguments(std::move(arguments));
        return task;
    }

    std::string outputOf(Task& task) {
        const Pipe pipe = system().fileHandles->makePipe();
        task.setStandardOutput(pipe);
        task.launch();
        std::string text = allOf(*pipe.reading);
        task.waitUntilExit();
        return text;
    }

    static std::string allOf(FileHandle& handle) {
        ByteBuffer buffer;
        while (handle.readAvailableData(buffer) != 0) {
        }
        return std::string(buffer.takeData().view());
    }

    int statusOf(Task& task) {
        task.launch();
        task.waitUntilExit();
        return task.terminationStatus();
    }

    // "name: reason", or "none".
    static std::string exceptionOf(const std::function<void()>& call) {
        try {
            call();
        } catch (const Exception& exception) {
            return exception.name() + ": " + exception.reason();
        }
        return "none";
    }

    static constexpr char kNotAccessible[] =
        "NSInvalidArgumentException: launch path not accessible";

    test::TempFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(All, TaskContract, backEnds(), nameOf<BackEnd>);

TEST_P(TaskContract, ReturnsTheExitStatus) {
    for (const int status : {0, 3, 255})
        EXPECT_EQ(statusOf(*taskOf("exit_with", {std::to_string(status)})), status);
}

TEST_P(TaskContract, ReturnsTheNumberOfTheSignalThatEndedTheChild) {
    for (const int number : {SIGTERM, SIGKILL, SIGABRT})
        EXPECT_EQ(statusOf(*taskOf("kill_self", {std::to_string(number)})), number);
}

TEST_P(TaskContract, PassesArgumentsAsTheyAre) {
    const std::string nasty = "a \"b\" 'c' $HOME `x` \\ * \n-- é \xff\xfe";
    const auto task = taskOf("print_args", {nasty, "", "-x"});
    const std::string path = test::childPath("print_args");
    EXPECT_EQ(outputOf(*task), path + '\0' + nasty + '\0' + '\0' + "-x" + '\0');
}

TEST_P(TaskContract, WithoutArgumentsTheToolGetsItsNameAlone) {
    const auto task = system().tasks->makeTask();
    task->setLaunchPath(test::childPath("print_args"));
    EXPECT_EQ(outputOf(*task), test::childPath("print_args") + '\0');
}

TEST_P(TaskContract, AToolMayHaveAnyName) {
    EXPECT_EQ(outputOf(*taskOf("name with space")), "ran\n");
    const std::string link = folder_.makeLink("quote\" new\nline", test::childPath("print_args"));
    const auto task = system().tasks->makeTask();
    task->setLaunchPath(link);
    EXPECT_EQ(task->launchPath(), link);
    EXPECT_EQ(outputOf(*task), link + '\0');
}

TEST_P(TaskContract, AnEnvironmentReplacesTheWholeOne) {
    const auto task = taskOf("print_env");
    task->setEnvironment({{"B", "2 = two\n"}, {"A", ""}});
    EXPECT_EQ(outputOf(*task), std::string("A=\0B=2 = two\n\0", 14));
}

TEST_P(TaskContract, AnEmptyEnvironmentIsEmpty) {
    const auto task = taskOf("print_env");
    task->setEnvironment({});
    EXPECT_EQ(outputOf(*task), "");
}

TEST_P(TaskContract, WithoutAnEnvironmentTheChildInheritsTheProgramsOwn) {
    ASSERT_EQ(::setenv("KX_TEST_INHERITED", "yes", 1), 0);
    const std::string all = outputOf(*taskOf("print_env"));
    ASSERT_EQ(::unsetenv("KX_TEST_INHERITED"), 0);
    EXPECT_NE(all.find("KX_TEST_INHERITED=yes"), std::string::npos);
}

TEST_P(TaskContract, OutputAndErrorGoToTheirOwnPipes) {
    const auto task = taskOf("print_streams", {"out", "err"});
    const Pipe output = system().fileHandles->makePipe();
    const Pipe error = system().fileHandles->makePipe();
    task->setStandardOutput(output);
    task->setStandardError(error);
    task->launch();
    EXPECT_EQ(allOf(*output.reading), "out");
    EXPECT_EQ(allOf(*error.reading), "err");
    task->waitUntilExit();
}

TEST_P(TaskContract, OutputAndErrorMayShareAPipe) {
    const auto task = taskOf("print_streams", {"both", "both"});
    const Pipe pipe = system().fileHandles->makePipe();
    task->setStandardOutput(pipe);
    task->setStandardError(pipe);
    task->launch();
    EXPECT_EQ(allOf(*pipe.reading), "bothboth");
    task->waitUntilExit();
}

TEST_P(TaskContract, OutputMayGoToAFile) {
    const std::string path = folder_.writeFile("out");
    const auto task = taskOf("print_streams", {"to the file"});
    task->setStandardOutput(system().fileHandles->openForWriting(path));
    EXPECT_EQ(statusOf(*task), 0);
    EXPECT_EQ(test::readFile(path), "to the file");
}

TEST_P(TaskContract, OutputMayGoNowhere) {
    const auto task = taskOf("print_bytes", {"3000000"});
    task->setStandardOutput(system().fileHandles->nullDevice());
    task->setStandardError(system().fileHandles->nullDevice());
    EXPECT_EQ(statusOf(*task), 0);
}

TEST_P(TaskContract, PassesLargeOutputCompletely) {
    const std::size_t size = 5'000'001;
    const auto task = taskOf("print_bytes", {std::to_string(size), "7919"});
    EXPECT_TRUE(outputOf(*task) == test::pattern(0, size));
}

TEST_P(TaskContract, ReadsInputFromItsPipe) {
    const auto task = taskOf("read_stdin", {folder_ / "pid"});
    const Pipe input = system().fileHandles->makePipe();
    input.writing->writeData("given");
    task->setStandardInput(input);
    const Pipe output = system().fileHandles->makePipe();
    task->setStandardOutput(output);
    task->launch();
    ByteBuffer buffer;
    while (buffer.size() < 5) ASSERT_NE(output.reading->readAvailableData(buffer), 0u);
    EXPECT_EQ(buffer.takeData().view(), "given");
    EXPECT_TRUE(task->isRunning());
    task->terminate();
    task->waitUntilExit();
}

TEST_P(TaskContract, ThrowsWhenTheProgramCannotBeStarted) {
    const auto launch = [&](const std::string& path) {
        const auto task = system().tasks->makeTask();
        task->setLaunchPath(path);
        const std::string reason = exceptionOf([&] { task->launch(); });
        EXPECT_FALSE(task->isRunning());
        return reason;
    };
    EXPECT_EQ(launch(folder_ / "missing"), kNotAccessible);
    EXPECT_EQ(launch(""), kNotAccessible);
    EXPECT_EQ(launch(folder_.path()), kNotAccessible);
    EXPECT_EQ(launch(folder_.writeFile("plain", "#!/bin/sh\n")), kNotAccessible);
    EXPECT_EQ(launch(folder_.makeLink("dangling", "nowhere")), kNotAccessible);
    EXPECT_EQ(launch(test::childPath("exit_with") + std::string("\0x", 2)), kNotAccessible);
}

TEST_P(TaskContract, TextWithANulIsNotPassedCut) {
    const auto withArgument = taskOf("print_args", {std::string("a\0b", 3)});
    EXPECT_EQ(exceptionOf([&] { withArgument->launch(); }), kNotAccessible);
    const auto withEnvironment = taskOf("print_env");
    withEnvironment->setEnvironment({{"A", std::string("a\0b", 3)}});
    EXPECT_EQ(exceptionOf([&] { withEnvironment->launch(); }), kNotAccessible);
}

TEST_P(TaskContract, ASecondLaunchIsAnException) {
    const auto task = taskOf("exit_with", {"6"});
    EXPECT_EQ(statusOf(*task), 6);
    EXPECT_EQ(exceptionOf([&] { task->launch(); }),
              "NSInvalidArgumentException: task already launched");
    EXPECT_EQ(task->terminationStatus(), 6);
}

TEST_P(TaskContract, BeforeTheLaunchThereIsNothingToWaitFor) {
    const auto task = taskOf("exit_with", {"0"});
    EXPECT_FALSE(task->isRunning());
    const std::string notLaunched = "NSInvalidArgumentException: task not launched";
    EXPECT_EQ(exceptionOf([&] { task->waitUntilExit(); }), notLaunched);
    EXPECT_EQ(exceptionOf([&] { task->terminate(); }), notLaunched);
    EXPECT_EQ(exceptionOf([&] { task->interrupt(); }), notLaunched);
    EXPECT_EQ(exceptionOf([&] { task->terminationStatus(); }), notLaunched);
    EXPECT_EQ(task->processIdentifier(), 0);
}

TEST_P(TaskContract, ReturnsWhatWasSet) {
    const auto task = taskOf("exit_with", {"0", "a b"});
    EXPECT_EQ(task->arguments(), (StringList{"0", "a b"}));
    EXPECT_EQ(task->environment(), std::nullopt);
    task->setEnvironment({{"NAME", "value"}});
    EXPECT_EQ(task->environment(), (Environment{{"NAME", "value"}}));
}

TEST_P(TaskContract, InterruptingEndsTheChildThatHasTheIdentifier) {
    const auto task = taskOf("hang", {folder_ / "pid"});
    task->launch();
    const pid_t pid = test::pidIn(folder_ / "pid");
    EXPECT_EQ(task->processIdentifier(), pid);
    task->interrupt();
    task->waitUntilExit();
    EXPECT_EQ(task->terminationStatus(), SIGINT);
    EXPECT_EQ(task->processIdentifier(), pid);
    task->interrupt();
}

TEST_P(TaskContract, ARunningChildHasNoStatusYet) {
    const auto task = taskOf("hang", {folder_ / "pid"});
    task->launch();
    EXPECT_TRUE(task->isRunning());
    EXPECT_EQ(exceptionOf([&] { task->terminationStatus(); }),
              "NSInvalidArgumentException: task still running");
    task->terminate();
    task->waitUntilExit();
    EXPECT_FALSE(task->isRunning());
    EXPECT_EQ(task->terminationStatus(), SIGTERM);
}

TEST_P(TaskContract, TheEndIsNoticedWithoutWaiting) {
    const auto task = taskOf("exit_with", {"2"});
    task->launch();
    EXPECT_TRUE(test::eventually([&] { return !task->isRunning(); }));
    EXPECT_EQ(task->terminationStatus(), 2);
    task->waitUntilExit();
    task->terminate();
    EXPECT_EQ(task->terminationStatus(), 2);
}

TEST_P(TaskContract, TerminatingIsOneRequestThatAToolMayIgnore) {
    const auto task = taskOf("ignore_term", {folder_ / "pid"});
    task->launch();
    const pid_t pid = test::pidIn(folder_ / "pid");
    task->terminate();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(task->isRunning());
    ::kill(pid, SIGKILL);
    task->waitUntilExit();
    EXPECT_EQ(task->terminationStatus(), SIGKILL);
}

TEST_P(TaskContract, TerminatingReachesTheChildAlone) {
    const auto task = system().tasks->makeTask();
    task->setLaunchPath("/bin/sh");
    task->setArguments({"-c", "\"$0\" \"$1\" & wait", test::childPath("hang"), folder_ / "pid"});
    task->launch();
    const pid_t grandchild = test::pidIn(folder_ / "pid");
    task->terminate();
    task->waitUntilExit();
    EXPECT_EQ(task->terminationStatus(), SIGTERM);
    EXPECT_TRUE(test::processExists(grandchild));
    ::kill(grandchild, SIGKILL);
}

TEST_P(TaskContract, WaitingOnAnotherThreadEndsWithTheChild) {
    const auto task = taskOf("hang", {folder_ / "pid"});
    task->launch();
    std::thread waiter([&] { task->waitUntilExit(); });
    test::pidIn(folder_ / "pid");
    task->terminate();
    waiter.join();
    EXPECT_EQ(task->terminationStatus(), SIGTERM);
}

TEST_P(TaskContract, WaitingOnTheMainThreadServicesItsRunLoop) {
    const auto task = taskOf("hang", {folder_ / "pid"});
    task->launch();
    int order = 0;
    MainRunLoop::postToDefaultMode([&] { order = order * 10 + 1; });
    std::thread other([&] {
        system().mainThread->performOnMainThread(
            [&] {
                order = order * 10 + 2;
                task->terminate();
            },
            WaitUntilDone::Yes);
    });
    task->waitUntilExit();
    other.join();
    EXPECT_TRUE(order == 12 || order == 21) << order;
}

TEST_P(TaskContract, WaitingOnAnotherThreadServicesNothing) {
    const auto task = taskOf("exit_with", {"0"});
    bool ran = false;
    MainRunLoop::postToDefaultMode([&] { ran = true; });
    task->launch();
    std::thread([&] { task->waitUntilExit(); }).join();
    EXPECT_FALSE(ran);
    MainRunLoop::drain(RunLoopMode::Default);
}

TEST_P(TaskContract, ChildrenMayBeStartedFromManyThreads) {
    std::atomic<int> right{0};
    std::vector<std::thread> threads;
    for (int n = 0; n < 4; ++n)
        threads.emplace_back([&, n] {
            for (int i = 0; i < 10; ++i) {
                const std::string word = std::to_string(n * 100 + i);
                const auto task = taskOf("print_streams", {word});
                if (outputOf(*task) == word && task->terminationStatus() == 0) ++right;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(right, 40);
}

}  // namespace
}  // namespace quillmoor::platform
