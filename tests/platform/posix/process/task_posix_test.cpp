#include "quillmoor/platform/task.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/main_run_loop.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/process/file_handle_posix.h"
#include "tests/children/child_tools.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

std::shared_ptr<Task> taskOf(const std::string& name, StringList arguments = {}) {
    auto task = native().tasks->makeTask();
    task->setLaunchPath(test::childPath(name));
    task->setArguments(std::move(arguments));
    return task;
}

std::string allOf(FileHandle& handle) {
    ByteBuffer buffer;
    while (handle.readAvailableData(buffer) != 0) {
    }
    return std::string(buffer.takeData().view());
}

// What the tool writes to standard output, with its other streams inherited.
std::string outputOf(Task& task) {
    const Pipe pipe = native().fileHandles->makePipe();
    task.setStandardOutput(pipe);
    task.launch();
    std::string text = allOf(*pipe.reading);
    task.waitUntilExit();
    return text;
}

int numberOf(const std::shared_ptr<FileHandle>& handle) {
    return dynamic_cast<posix::DescriptorHandle&>(*handle).descriptor();
}

// One of this process's standard streams, put back in the end.
class SavedStream {
  public:
    explicit SavedStream(int number)
        : number_(number), saved_(::fcntl(number, F_DUPFD_CLOEXEC, 100)) {}
    ~SavedStream() {
        ::dup2(saved_, number_);
        ::close(saved_);
    }
    SavedStream(const SavedStream&) = delete;
    SavedStream& operator=(const SavedStream&) = delete;

  private:
    int number_;
    int saved_;
};

TEST(Task, TheChildGetsItsStandardStreamsAndNoOtherDescriptor) {
    const int leaky = ::open("/dev/null", O_RDONLY);  // on purpose without close-on-exec
    const int high = ::fcntl(leaky, F_DUPFD, 200);
    const auto task = taskOf("print_descriptors");
    const std::string open = outputOf(*task);
    ::close(leaky);
    ::close(high);
    EXPECT_EQ(open, "0\n1\n2\n");
}

TEST(Task, TheChildGetsAllThreeStreamsFromAHostWithoutAny) {
    std::string open;
    {
        const SavedStream input(0);
        const SavedStream output(1);
        const SavedStream error(2);
        ::close(0);
        ::close(1);
        ::close(2);
        const auto task = taskOf("print_descriptors");
        open = outputOf(*task);
    }
    EXPECT_EQ(open, "0\n1\n2\n");
}

TEST(Task, AnInheritedStreamThatTheHostHasClosedIsTheNullDevice) {
    test::TempFolder folder;
    std::string text = "unread";
    {
        const SavedStream input(0);
        ::close(0);
        const auto task = taskOf("read_stdin", {folder / "pid"});
        text = outputOf(*task);
    }
    EXPECT_EQ(text, "");
}

TEST(Task, PassesAStandardStreamThatIsCloseOnExec) {
    test::TempFolder folder;
    const Pipe source = native().fileHandles->makePipe();
    std::string text;
    {
        const SavedStream input(0);
        ::dup3(numberOf(source.reading), 0, O_CLOEXEC);
        source.writing->writeData("typed");
        source.writing->closeFile();
        const auto task = taskOf("read_stdin", {folder / "pid"});
        text = outputOf(*task);
    }
    EXPECT_EQ(text, "typed");
}

TEST(Task, TheChildHasDefaultSignalsAndBlocksNone) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    struct sigaction ignore {};
    struct sigaction pipe {};
    struct sigaction hangup {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, &pipe);
    ::sigaction(SIGHUP, &ignore, &hangup);
    const auto task = taskOf("print_signals");
    const std::string kept = outputOf(*task);
    ::sigaction(SIGPIPE, &pipe, nullptr);
    ::sigaction(SIGHUP, &hangup, nullptr);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(kept, "");
}

TEST(Task, OnlyTheOutputPipeHasMoreRoom) {
    const auto size = [](const Pipe& pipe) {
        return ::fcntl(numberOf(pipe.reading), F_GETPIPE_SZ);
    };
    const auto task = taskOf("exit_with", {"0"});
    const Pipe input = native().fileHandles->makePipe();
    const Pipe output = native().fileHandles->makePipe();
    const Pipe error = native().fileHandles->makePipe();
    const int usual = size(error);
    const Pipe probe = native().fileHandles->makePipe();
    if (::fcntl(numberOf(probe.writing), F_SETPIPE_SZ, 1 << 20) <= usual)
        GTEST_SKIP() << "the system does not enlarge pipes";
    task->setStandardInput(input);
    task->setStandardOutput(output);
    task->setStandardError(error);
    task->launch();
    EXPECT_GT(size(output), usual);
    EXPECT_EQ(size(error), usual);
    EXPECT_EQ(size(input), usual);
    task->waitUntilExit();
}

TEST(Task, ThePipeForInputStaysOpenUntilTheTaskIsReleased) {
    auto task = taskOf("exit_with", {"0"});
    const Pipe input = native().fileHandles->makePipe();
    const int reading = numberOf(input.reading);
    const int writing = numberOf(input.writing);
    task->setStandardInput(input);
    task->launch();
    task->waitUntilExit();
    EXPECT_GE(::fcntl(reading, F_GETFD), 0);
    EXPECT_GE(::fcntl(writing, F_GETFD), 0);
}

TEST(Task, ReleasingItEndsTheInputOfAChildThatStillRuns) {
    test::TempFolder folder;
    const Pipe output = native().fileHandles->makePipe();
    auto task = taskOf("read_stdin", {folder / "pid"});
    task->setStandardInput(native().fileHandles->makePipe());
    task->setStandardOutput(output);
    task->launch();
    const pid_t pid = test::pidIn(folder / "pid");
    EXPECT_TRUE(task->isRunning());
    task.reset();
    EXPECT_EQ(allOf(*output.reading), "");
    EXPECT_TRUE(test::eventually([&] { return !test::processExists(pid); }));
}

TEST(Task, OneOfManyTasksLeavesNothingBehind) {
    const auto device = native().fileHandles->nullDevice();
    const auto runOne = [&](bool wait, const char* tool = "/bin/true", const char* argument = "") {
        const auto task = native().tasks->makeTask();
        task->setLaunchPath(tool);
        task->setArguments({argument});
        task->setStandardInput(native().fileHandles->makePipe());
        task->setStandardOutput(native().fileHandles->makePipe());
        task->setStandardError(device);
        task->launch();
        if (wait) task->waitUntilExit();
    };
    // Made once per process: the reaper's thread, and what a wait needs.
    runOne(false, "/bin/sleep", "0.1");
    runOne(true);
    EXPECT_TRUE(test::eventually([] { return test::zombieCount() == 0; }));
    const int descriptors = test::openDescriptorCount();
    const int threads = test::threadCount();
    for (int i = 0; i < 500; ++i) runOne(i % 2 == 0);
    EXPECT_TRUE(test::eventually([&] { return test::openDescriptorCount() <= descriptors; }));
    EXPECT_TRUE(test::eventually([&] { return test::zombieCount() == 0; }));
    EXPECT_LE(test::threadCount(), threads);
}

TEST(Task, ReapsAChildThatIsNotWaitedFor) {
    test::TempFolder folder;
    auto task = taskOf("hang", {folder / "pid"});
    task->launch();
    task.reset();
    const pid_t pid = test::pidIn(folder / "pid");
    ASSERT_GT(pid, 0);
    EXPECT_TRUE(test::processExists(pid));
    ::kill(pid, SIGKILL);
    EXPECT_TRUE(test::eventually([&] { return !test::processExists(pid); }));
}

TEST(Task, OtherChildrenOfTheProgramAreLeftToIt) {
    const pid_t own = ::fork();
    ASSERT_GE(own, 0);
    if (own == 0) ::_exit(7);
    for (int i = 0; i < 3; ++i) {
        const auto task = taskOf("exit_with", {"0"});
        task->launch();
        task->waitUntilExit();
    }
    int status = 0;
    EXPECT_EQ(::waitpid(own, &status, 0), own);
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST(Task, AProgramThatIgnoresItsChildrenCanWaitForThemToo) {
    struct sigaction before {};
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    ASSERT_EQ(::sigaction(SIGCHLD, &ignore, &before), 0);
    const auto onMain = taskOf("exit_with", {"3"});
    onMain->launch();
    onMain->waitUntilExit();
    const auto onOther = taskOf("exit_with", {"3"});
    std::thread([&] {
        onOther->launch();
        onOther->waitUntilExit();
    }).join();
    ::sigaction(SIGCHLD, &before, nullptr);
    EXPECT_FALSE(onMain->isRunning());
    EXPECT_EQ(onMain->terminationStatus(), -1);
    EXPECT_EQ(onOther->terminationStatus(), -1);
}

// Every descriptor that the process may have is taken.
class NoDescriptorsLeft {
  public:
    NoDescriptorsLeft() {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit few{64, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
        for (int taken = 0; (taken = ::fcntl(0, F_DUPFD_CLOEXEC, 3)) >= 0;) taken_.push_back(taken);
    }
    ~NoDescriptorsLeft() {
        for (const int taken : taken_) ::close(taken);
        ::setrlimit(RLIMIT_NOFILE, &before_);
    }
    NoDescriptorsLeft(const NoDescriptorsLeft&) = delete;
    NoDescriptorsLeft& operator=(const NoDescriptorsLeft&) = delete;

  private:
    rlimit before_{};
    std::vector<int> taken_;
};

TEST(Task, RunsWithoutADescriptorForItsEnd) {
    if (test::kSanitized) GTEST_SKIP() << "sanitizers need descriptors themselves";
    MainRunLoop::descriptor(RunLoopMode::Default);  // the run loop needs one, once
    const auto onMain = taskOf("exit_with", {"4"});
    const auto onOther = taskOf("kill_self", {"9"});
    const auto stopped = taskOf("hang", {"/dev/null/nowhere"});
    {
        const NoDescriptorsLeft none;
        onMain->launch();
        onMain->waitUntilExit();
        std::thread([&] {
            onOther->launch();
            onOther->waitUntilExit();
        }).join();
        stopped->launch();
    }
    stopped->terminate();
    stopped->waitUntilExit();
    EXPECT_EQ(onMain->terminationStatus(), 4);
    EXPECT_EQ(onOther->terminationStatus(), 9);
    EXPECT_EQ(stopped->terminationStatus(), SIGTERM);
}

TEST(Task, ReapsAReleasedChildWithoutADescriptor) {
    if (test::kSanitized) GTEST_SKIP() << "sanitizers need descriptors themselves";
    test::TempFolder folder;
    {
        auto first = taskOf("exit_with", {"0"});  // starts the thread that collects
        first->launch();
        first.reset();
        auto task = taskOf("hang", {folder / "pid"});
        const NoDescriptorsLeft none;
        task->launch();
    }
    const pid_t pid = test::pidIn(folder / "pid");
    ASSERT_GT(pid, 0);
    ::kill(pid, SIGKILL);
    EXPECT_TRUE(test::eventually([&] { return !test::processExists(pid); }));
}

TEST(Task, RejectsAClosedStream) {
    const auto task = taskOf("exit_with", {"0"});
    const Pipe output = native().fileHandles->makePipe();
    output.writing->closeFile();
    task->setStandardOutput(output);
    EXPECT_THROW(task->launch(), Exception);
    EXPECT_FALSE(task->isRunning());
}

}  // namespace
}  // namespace quillmoor::platform
