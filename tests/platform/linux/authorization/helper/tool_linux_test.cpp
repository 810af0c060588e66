#include "quillmoor/platform/linux/authorization/helper/tool_linux.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/message_linux.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

using posix::Descriptor;

class HelpersTool : public testing::Test {
  protected:
    Request request(StringList command) {
        Request result{std::move(command), {}};
        result.descriptors.resize(kRequestDescriptors);
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        output_ = Descriptor(ends[0]);
        result.descriptors[kToolInput] = Descriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        result.descriptors[kToolOutput] = Descriptor(ends[1]);
        result.descriptors[kToolError] = Descriptor(::fcntl(ends[1], F_DUPFD_CLOEXEC, 0));
        result.descriptors[kToolFolder] =
            Descriptor(::open(folder_.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        return result;
    }
    // What the tool writes to both streams; it is waited for.
    std::string outputOf(StringList command) {
        {
            const Request started = request(std::move(command));
            EXPECT_EQ(startTool(started, {{"KX_TEST", "a value"}}), 0);
        }
        std::string text;
        char bytes[512];
        for (ssize_t size = 0; (size = ::read(output_.get(), bytes, sizeof bytes)) > 0;)
            text.append(bytes, static_cast<std::size_t>(size));
        int status = -1;
        EXPECT_GT(::wait(&status), 0);
        EXPECT_EQ(status, 0);
        return text;
    }
    std::string outputOfShell(const std::string& script) {
        return outputOf({"/bin/sh", "-c", script});
    }

    test::TempFolder folder_;
    Descriptor output_;
};

TEST_F(HelpersTool, GetsItsArgumentsAsTheyAre) {
    EXPECT_EQ(outputOf({"/usr/bin/printf", "<%s>", "", "a b", "\n"}), "<><a b><\n>");
}

TEST_F(HelpersTool, HasTheRequestsEnvironmentAndStreams) {
    EXPECT_EQ(outputOf({"/usr/bin/env"}), "KX_TEST=a value\n");
    EXPECT_EQ(outputOfShell("cat; echo out; echo error >&2"), "out\nerror\n");
}

TEST_F(HelpersTool, WorksInTheRequestsFolder) {
    EXPECT_EQ(outputOfShell("pwd -P"), folder_.path() + "\n");
}

TEST_F(HelpersTool, HasItsOwnProcessGroupAndDefaultSignals) {
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGCHLD, SIG_DFL);
    EXPECT_EQ(outputOfShell("read -r p n s pp g rest < /proc/$$/stat; test $p = $g && echo own"),
              "own\n");
    EXPECT_EQ(outputOf({"/bin/grep", "^SigIgn", "/proc/self/status"}),
              "SigIgn:\t0000000000000000\n");
    ::signal(SIGPIPE, SIG_DFL);
}

TEST_F(HelpersTool, GetsNoOtherDescriptor) {
    const Descriptor inherited(::open("/dev/null", O_RDONLY));
    const std::string listed = outputOfShell("ls /proc/$$/fd");
    EXPECT_EQ(listed, "0\n1\n2\n");
}

TEST_F(HelpersTool, LeavesNoChildWhenItCannotBeStarted) {
    EXPECT_EQ(startTool(request({"/missing/tool"}), {}), ENOENT);
    EXPECT_EQ(startTool(request({folder_.writeFile("text")}), {}), EACCES);
    EXPECT_EQ(startTool(request({"/bin/true", std::string(1 << 20, 'x')}), {}), E2BIG);
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(HelpersTool, IsNamedByItsWholePath) {
    EXPECT_EQ(startTool(request({"true"}), {}), EINVAL);
    EXPECT_EQ(startTool(request({""}), {}), EINVAL);
    EXPECT_EQ(startTool(request({"./true"}), {}), EINVAL);
}

// Where the fall-back's folder cannot be made either, as for an ordinary user, the folder's own
// error is the result.
TEST_F(HelpersTool, IsStartedInAnEmptyFolderWhereItsOwnCannotBeEntered) {
    Request closed = request({"/bin/pwd", "-P"});
    closed.descriptors[kToolFolder] = Descriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const int error = startTool(closed, {});
    if (::geteuid() != 0) {
        EXPECT_EQ(error, ENOTDIR);
        return;
    }
    EXPECT_EQ(error, 0);
    int status = 0;
    EXPECT_GT(::wait(&status), 0);
    closed.descriptors.clear();
    char bytes[512]{};
    const ssize_t size = ::read(output_.get(), bytes, sizeof bytes - 1);
    EXPECT_EQ(
        std::string(bytes, size > 0 ? static_cast<std::size_t>(size) : 0).find(folder_.path()),
        std::string::npos);
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization::helper
