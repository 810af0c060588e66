#include "quillmoor/platform/linux/authorization/channel/tool_stream_linux.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <thread>

#include "tests/children/child_tools.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/support/few_descriptors.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using posix::Descriptor;
using test::openDescriptorCount;

void writeTo(const Descriptor& file, const std::string& text) {
    ASSERT_EQ(::write(file.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

TEST(ToolStream, ReadsByteForByteToTheEnd) {
    auto pipes = openToolPipes();
    ASSERT_TRUE(pipes.has_value());
    writeTo(pipes->output, std::string("a\0\xff\n", 4));
    pipes->output.reset();
    for (const int expected : {0x61, 0, 255, 0x0a, -1, -1})
        EXPECT_EQ(pipes->stream->readCharacter(), expected);
}

TEST(ToolStream, ReadsMoreThanItHoldsAtOnce) {
    auto pipes = openToolPipes();
    ASSERT_TRUE(pipes.has_value());
    std::thread writer(
        [output = std::move(pipes->output)] { writeTo(output, std::string(200'000, 'x')); });
    EXPECT_EQ(test::allOf(*pipes->stream), std::string(200'000, 'x'));
    writer.join();
}

TEST(ToolStream, ReadsOnAfterASignalAndEndsAllTheSame) {
    static int interruptions;
    interruptions = 2;
    const test::ChangedCalls calls([](posix::SystemCalls& table) {
        table.read = [](int file, void* bytes, std::size_t size) -> ssize_t {
            if (interruptions-- <= 0) return posix::nativeSystemCalls().read(file, bytes, size);
            errno = EINTR;
            return -1;
        };
    });
    auto pipes = openToolPipes();
    ASSERT_TRUE(pipes.has_value());
    writeTo(pipes->output, "x");
    pipes->output.reset();
    EXPECT_EQ(pipes->stream->readCharacter(), 'x');
    // The end is distinguished from an interruption although errno still says EINTR.
    interruptions = 2;
    EXPECT_EQ(pipes->stream->readCharacter(), -1);
}

TEST(ToolStream, WritesAllOfItToTheTool) {
    auto pipes = openToolPipes();
    ASSERT_TRUE(pipes.has_value());
    ASSERT_TRUE(pipes->stream->write(""));
    ASSERT_TRUE(pipes->stream->write("text"));
    char read[8];
    ASSERT_EQ(::read(pipes->input.get(), read, sizeof read), 4);
    EXPECT_EQ(std::string(read, 4), "text");
}

TEST(ToolStream, RaisesNoSignalWhenTheToolHasEnded) {
    ::signal(SIGPIPE, SIG_DFL);
    auto pipes = openToolPipes();
    ASSERT_TRUE(pipes.has_value());
    pipes->input.reset();
    EXPECT_FALSE(pipes->stream->write("text"));
    EXPECT_FALSE(pipes->stream->write("text"));
    sigset_t pending;
    ::sigpending(&pending);
    EXPECT_EQ(::sigismember(&pending, SIGPIPE), 0);
}

// The tool's input has not come to its end, and nothing is there to be read.
bool isInputOpen(const ToolPipes& pipes) {
    pollfd polled{pipes.input.get(), POLLIN, 0};
    return ::poll(&polled, 1, 0) == 0;
}

TEST(ToolStream, LetGoOfStaysOpenUntilTheToolHasClosedItsEnds) {
    const int before = openDescriptorCount();
    auto running = openToolPipes();
    ASSERT_TRUE(running.has_value());
    running->stream.reset();
    EXPECT_EQ(openDescriptorCount(), before + 4);
    writeTo(running->output, "late");
    openToolPipes();
    EXPECT_EQ(openDescriptorCount(), before + 4);
    running.reset();
    openToolPipes();
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST(ToolStream, LetGoOfLeavesTheToolItsInputThoughItHasClosedItsOutput) {
    const int before = openDescriptorCount();
    auto running = openToolPipes();
    ASSERT_TRUE(running.has_value());
    running->output.reset();
    running->stream.reset();
    openToolPipes();
    EXPECT_TRUE(isInputOpen(*running));
    EXPECT_EQ(openDescriptorCount(), before + 2);
    running->input.reset();
    openToolPipes();
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST(ToolStream, KeepsTheOutputOfAToolThatHasClosedItsInputWhenReleased) {
    const int before = openDescriptorCount();
    auto running = openToolPipes();
    ASSERT_TRUE(running.has_value());
    running->input.reset();
    running->stream.reset();
    openToolPipes();
    writeTo(running->output, "late");
    EXPECT_EQ(openDescriptorCount(), before + 2);
}

TEST(ToolStream, ReleasesOnlyTheOutputAtItsEnd) {
    const int before = openDescriptorCount();
    auto running = openToolPipes();
    ASSERT_TRUE(running.has_value());
    running->output.reset();
    EXPECT_EQ(running->stream->readCharacter(), -1);
    EXPECT_EQ(openDescriptorCount(), before + 2);
    EXPECT_TRUE(running->stream->write("text"));
    running->stream.reset();
    openToolPipes();
    char read[8];
    ASSERT_EQ(::read(running->input.get(), read, sizeof read), 4);
    EXPECT_TRUE(isInputOpen(*running));
}

TEST(ToolStream, IsClosedAtOnceWhenTheToolHasEnded) {
    const int before = openDescriptorCount();
    auto pipes = openToolPipes();
    ASSERT_TRUE(pipes.has_value());
    pipes->output.reset();
    pipes->input.reset();
    EXPECT_EQ(pipes->stream->readCharacter(), -1);
    pipes.reset();
    EXPECT_EQ(openDescriptorCount(), before);
}

TEST(ToolStream, HasCloseOnExecDescriptors) {
    const int before = openDescriptorCount();
    const auto pipes = openToolPipes();
    ASSERT_TRUE(pipes.has_value());
    EXPECT_EQ(openDescriptorCount(), before + 4);
    EXPECT_EQ(::fcntl(pipes->input.get(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(::fcntl(pipes->output.get(), F_GETFD), FD_CLOEXEC);
}

TEST(ToolStream, StaysAboveTheStandardStreams) {
    const Descriptor input(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3));
    ::close(STDIN_FILENO);
    const auto pipes = openToolPipes();
    ASSERT_TRUE(pipes.has_value());
    EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFD), -1);
    EXPECT_GT(pipes->input.get(), STDERR_FILENO);
    if (input) ::dup2(input.get(), STDIN_FILENO);
}

void useUpDescriptors() {
    while (::dup(STDERR_FILENO) >= 0) {
    }
}

TEST(ToolStream, WaitsForToolsToEndWhereNoDescriptorsAreLeft) {
    const test::FewDescriptors few(32);
    auto first = openToolPipes();
    auto second = openToolPipes();
    ASSERT_TRUE(first && second);
    first->stream.reset();
    second->stream.reset();
    useUpDescriptors();
    std::thread ends([&first, &second] {
        ::usleep(20'000);
        first.reset();
        second.reset();
    });
    EXPECT_TRUE(openToolPipes().has_value());
    ends.join();
}

TEST(ToolStream, IsNilWithoutDescriptorsAndRunningTools) {
    const test::FewDescriptors few(32);
    useUpDescriptors();
    EXPECT_FALSE(openToolPipes().has_value());
}

TEST(ToolStream, OpeningIsTriedForFiveSecondsWhileToolsRun) {
    auto running = openToolPipes();
    ASSERT_TRUE(running);
    running->stream.reset();
    static int waited;
    waited = 0;
    const test::ChangedCalls calls([](posix::SystemCalls& table) {
        table.poll = [](pollfd*, nfds_t, int milliseconds) {
            waited += milliseconds;
            return 0;
        };
    });
    EXPECT_FALSE(openWithRoom([] {
        errno = EMFILE;
        return false;
    }));
    EXPECT_EQ(waited, 5000);
}

TEST(ToolStream, OpeningIsNotTriedAgainForAnotherReason) {
    int tries = 0;
    EXPECT_FALSE(openWithRoom([&tries] {
        ++tries;
        errno = ENOENT;
        return false;
    }));
    EXPECT_EQ(tries, 1);
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
