#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/process/child_system_posix.h"
#include "tests/children/child_tools.h"

namespace quillmoor::platform::posix {
namespace {

// A child that waits for a signal.
class WaitingChild : public testing::Test {
  protected:
    WaitingChild() : child_(::fork()) {
        if (child_ == 0)
            for (;;) ::pause();
    }
    ~WaitingChild() override {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }
    const pid_t child_;
};

bool isReadable(const Descriptor& descriptor, int milliseconds) {
    pollfd polled{descriptor.get(), POLLIN, 0};
    return ::poll(&polled, 1, milliseconds) == 1;
}

TEST_F(WaitingChild, HasADescriptorThatIsReadableOnceItHasEnded) {
    const Descriptor exit = openExitDescriptor(child_);
    ASSERT_TRUE(exit);
    EXPECT_GE(exit.get(), kFirstOwnDescriptor);
    EXPECT_NE(::fcntl(exit.get(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_FALSE(isReadable(exit, 0));
    EXPECT_EQ(signalChild(exit, child_, SIGTERM), 0);
    EXPECT_TRUE(isReadable(exit, 10'000));
}

TEST_F(WaitingChild, IsSignalledAndWaitedForWithAndWithoutItsDescriptor) {
    for (const bool withDescriptor : {false, true}) {
        const pid_t child = ::fork();
        if (child == 0)
            for (;;) ::pause();
        const Descriptor exit = withDescriptor ? openExitDescriptor(child) : Descriptor();
        siginfo_t info{};
        EXPECT_EQ(waitForChild(exit, child, &info, WEXITED | WNOHANG), 0);
        EXPECT_EQ(info.si_pid, 0) << "it still runs";
        EXPECT_EQ(signalChild(exit, child, SIGUSR1), 0);
        EXPECT_EQ(waitForChild(exit, child, &info, WEXITED), 0);
        EXPECT_EQ(info.si_pid, child);
        EXPECT_EQ(info.si_status, SIGUSR1);
        EXPECT_EQ(waitForChild(exit, child, &info, WEXITED), -1);
        EXPECT_EQ(errno, ECHILD);
    }
}

TEST(ExitDescriptor, OfAProcessThatIsNotThereIsInvalid) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    ::waitpid(child, nullptr, 0);
    EXPECT_FALSE(openExitDescriptor(child));
}

TEST(EnlargedPipe, HoldsAMebibyteWithoutAReader) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const Descriptor reading(ends[0]);
    const Descriptor writing(ends[1]);
    enlargePipe(writing.get());
    EXPECT_EQ(::fcntl(writing.get(), F_GETPIPE_SZ), 1 << 20);
    // Not an error: an item that is not a pipe is unchanged.
    enlargePipe(-1);
}

}  // namespace
}  // namespace quillmoor::platform::posix
