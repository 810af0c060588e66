#include "quillmoor/platform/posix/ground/standard_streams_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace quillmoor::platform::posix {
namespace {

// Runs in a child without standard streams.
int inChildWithoutStreams(bool (*holds)()) {
    const pid_t child = ::fork();
    if (child == 0) {
        for (int number = 0; number < kFirstOwnDescriptor; ++number) ::close(number);
        ::_exit(holds() ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}

Descriptor openNull() {
    return Descriptor(::open("/dev/null", O_RDWR | O_CLOEXEC));
}

TEST(StandardStreams, ADescriptorAboveThemIsKept) {
    Descriptor opened = openNull();
    const int number = opened.get();
    EXPECT_EQ(aboveStandardStreams(std::move(opened)).get(), number);
}

TEST(StandardStreams, ReplaceANumberOfTheirsByAHigherOne) {
    EXPECT_EQ(inChildWithoutStreams([] {
                  const Descriptor moved = aboveStandardStreams(openNull());
                  return moved.get() >= kFirstOwnDescriptor &&
                         (::fcntl(moved.get(), F_GETFD) & FD_CLOEXEC) != 0 &&
                         ::fcntl(0, F_GETFD) == -1;
              }),
              0);
}

TEST(StandardStreams, AnInvalidDescriptorStaysInvalid) {
    errno = ENOENT;
    EXPECT_FALSE(aboveStandardStreams(Descriptor()));
    EXPECT_EQ(errno, ENOENT);
}

TEST(StandardStreams, AreKeptFreeAlsoWithoutAHigherNumber) {
    EXPECT_EQ(inChildWithoutStreams([] {
                  const rlimit limit{1, 1};
                  ::setrlimit(RLIMIT_NOFILE, &limit);
                  const Descriptor moved = aboveStandardStreams(openNull());
                  return !moved && (errno == EINVAL || errno == EMFILE) &&
                         ::fcntl(0, F_GETFD) == -1;
              }),
              0);
}

}  // namespace
}  // namespace quillmoor::platform::posix
