#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/trace/traced_calls_posix.h"
#include "tests/platform/support/captured_trace.h"

namespace quillmoor::platform::posix {
namespace {

using linux_::exchangeLinuxCalls;
using linux_::LinuxCalls;
using linux_::linuxCalls;
using testing::ElementsAre;
using testing::IsEmpty;

class TracedLinuxCalls : public testing::Test {
  protected:
    ~TracedLinuxCalls() override { exchangeLinuxCalls(before_); }

    const LinuxCalls& trace(const TraceAreas& areas) {
        exchangeLinuxCalls(before_);
        traceOwnCalls(areas);
        return linuxCalls();
    }

    const LinuxCalls* before_ = &linuxCalls();
};

TEST_F(TracedLinuxCalls, ShowFiles) {
    const LinuxCalls& calls = trace({.files = true});
    test::CapturedTrace lines;
    struct statx status {};
    calls.statx(AT_FDCWD, "/nowhere", AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status);
    bool answer = true;
    calls.isImmutable(AT_FDCWD, "/", &answer);
    EXPECT_FALSE(answer);
    EXPECT_THAT(lines.lines(), ElementsAre("fs statx(\"/nowhere\", 0x100, 0x1) = -1 ENOENT",
                                           "fs isImmutable(\"/\") = 0"));
}

TEST_F(TracedLinuxCalls, ShowChildren) {
    const LinuxCalls& calls = trace({.process = true});
    test::CapturedTrace lines;
    const Descriptor self(calls.pidfd_open(::getpid(), 0));
    ASSERT_TRUE(self);
    EXPECT_EQ(calls.pidfd_send_signal(self.get(), 0, nullptr, 0), 0);
    const std::string number = std::to_string(self.get());
    EXPECT_THAT(lines.lines(),
                ElementsAre("process pidfd_open(" + std::to_string(::getpid()) + ", 0) = " + number,
                            "process pidfd_send_signal(" + number + ", 0, 0) = 0"));
}

TEST_F(TracedLinuxCalls, ShowTheirAreaAlone) {
    bool answer = false;
    test::CapturedTrace lines;
    trace({.process = true}).isImmutable(AT_FDCWD, "/", &answer);
    const Descriptor self(trace({.files = true}).pidfd_open(::getpid(), 0));
    EXPECT_THAT(lines.lines(), IsEmpty());
}

}  // namespace
}  // namespace quillmoor::platform::posix
