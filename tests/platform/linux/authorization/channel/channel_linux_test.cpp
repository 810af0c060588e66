#include "quillmoor/platform/linux/authorization/channel/channel_linux.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/message_linux.h"
#include "tests/children/child_tools.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/support/few_descriptors.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using test::childPath;
using test::outputOf;

class ChannelTest : public testing::Test {
  protected:
    Channel& channel() { return helper_.channel(); }
    AuthorizationStatus statusOf(const std::string& tool, const StringList& arguments = {}) {
        return channel().execute(tool, arguments, stream_);
    }

    test::TempFolder folder_;
    std::shared_ptr<AuthorizedToolStream> stream_;
    test::HelperInThread helper_;
};

TEST_F(ChannelTest, PassesArgumentsByteForByte) {
    const StringList nasty{"", "$(id)", "; rm -rf x", "a\nb", "\xff", "-n", "e\xcc\x81"};
    std::string expected = childPath("print_args") + '\0';
    for (const std::string& each : nasty) expected += each + '\0';
    EXPECT_EQ(outputOf(channel(), childPath("print_args"), nasty), expected);
}

TEST_F(ChannelTest, PassesAsManyArgumentsAsAToolCanHave) {
    const StringList many(18, std::string(100'000, 'x'));
    EXPECT_EQ(outputOf(channel(), childPath("print_args"), many).size(),
              childPath("print_args").size() + 1 + 18 * 100'001);
}

TEST_F(ChannelTest, RefusesTooManyArgumentsAndLivesOn) {
    EXPECT_EQ(statusOf("/bin/true", StringList(26, std::string(100'000, 'x'))),
              kAuthorizationToolExecuteFailure);
    EXPECT_EQ(statusOf("/bin/true", {std::string("a\0b", 3)}), kAuthorizationToolExecuteFailure);
    EXPECT_EQ(statusOf("/bin/true"), kAuthorizationSuccess);
}

TEST_F(ChannelTest, ReportsAToolThatCannotBeStartedAndStaysOpen) {
    for (const std::string& tool : {folder_ / "missing", folder_.writeFile("text", "text"),
                                    folder_.path(), std::string("true"), std::string()})
        EXPECT_EQ(statusOf(tool), kAuthorizationToolExecuteFailure) << tool;
    EXPECT_EQ(stream_, nullptr);
    EXPECT_EQ(statusOf("/bin/true"), kAuthorizationSuccess);
}

TEST_F(ChannelTest, ConnectsInputAndOutputToOneStream) {
    ASSERT_EQ(statusOf("/bin/sh", {"-c", "read line; echo \"<$line>\" >/dev/stdout"}), 0);
    ASSERT_TRUE(stream_->write("text\n"));
    EXPECT_EQ(test::allOf(*stream_), "<text>\n");
}

TEST_F(ChannelTest, DoesNotWaitForTheTool) {
    ASSERT_EQ(statusOf(childPath("read_stdin"), {folder_ / "number"}), 0);
    EXPECT_GT(test::pidIn(folder_ / "number"), 0);
    EXPECT_EQ(statusOf("/bin/true"), kAuthorizationSuccess);
}

TEST_F(ChannelTest, PassesTheCallersStandardErrorAndWorkingFolder) {
    const test::TempFolder elsewhere;
    ASSERT_EQ(::chdir(elsewhere.path().c_str()), 0);
    const posix::Descriptor before(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
    const posix::Descriptor file(
        ::open((folder_ / "errors").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    ::dup2(file.get(), STDERR_FILENO);
    const std::string output = outputOf(channel(), "/bin/sh", {"-c", "pwd -P; echo late >&2"});
    ::dup2(before.get(), STDERR_FILENO);
    EXPECT_EQ(output, elsewhere.path() + "\n");
    EXPECT_EQ(test::readFile(folder_ / "errors"), "late\n");
    ASSERT_EQ(::chdir("/"), 0);
}

// Makes opening the working folder fail, and records whether another item is opened instead.
int folderError;
bool hasReplacedFolder;
int failToOpenFolder(int folder, const char* name, int flags, mode_t mode) {
    if (std::string_view(name) == ".") {
        errno = folderError;
        return -1;
    }
    if ((flags & O_PATH) != 0) hasReplacedFolder = true;
    return ::openat(folder, name, flags | O_CLOEXEC, mode);
}

TEST_F(ChannelTest, PassesNoFolderOnlyWhereItCannotBeReached) {
    const test::ChangedCalls calls(
        [](posix::SystemCalls& table) { table.openat = failToOpenFolder; });
    for (const int error : {EACCES, EPERM, ENOENT, ENOTDIR, ESTALE, EIO, ENOTCONN, ECONNABORTED,
                            ETIMEDOUT, EHOSTDOWN}) {
        folderError = error;
        hasReplacedFolder = false;
        const AuthorizationStatus status = statusOf("/bin/true");
        EXPECT_TRUE(hasReplacedFolder) << error;
        // Only root can have the empty folder.
        if (::geteuid() == 0) {
            EXPECT_EQ(status, kAuthorizationSuccess) << error;
        }
    }
    for (const int error : {EMFILE, ENFILE, ENOMEM, EINTR}) {
        folderError = error;
        hasReplacedFolder = false;
        EXPECT_EQ(statusOf("/bin/true"), kAuthorizationToolExecuteFailure) << error;
        EXPECT_FALSE(hasReplacedFolder) << error;
    }
    EXPECT_TRUE(channel().isOpen());
}

TEST_F(ChannelTest, PassesTheNullDeviceWithoutAStandardError) {
    const posix::Descriptor before(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
    ::close(STDERR_FILENO);
    const std::string output =
        outputOf(channel(), "/bin/sh", {"-c", "echo lost >&2 && readlink /proc/self/fd/2"});
    ::dup2(before.get(), STDERR_FILENO);
    EXPECT_EQ(output, "/dev/null\n");
}

TEST_F(ChannelTest, PassesNoOtherDescriptorsAndNoSignals) {
    const int leaked = ::open("/dev/null", O_RDWR);
    EXPECT_EQ(outputOf(channel(), childPath("print_descriptors")), "0\n1\n2\n");
    EXPECT_EQ(outputOf(channel(), childPath("print_signals")), "");
    ::close(leaked);
}

TEST_F(ChannelTest, PassesRootsEnvironmentAndNothingOfTheCallers) {
    ::setenv("LD_PRELOAD", "/lost.so", 1);
    const std::string output = outputOf(channel(), childPath("print_env"));
    ::unsetenv("LD_PRELOAD");
    std::string expected = "HOME=/root" + std::string(1, '\0') +
                           "KX_AUTHORIZED_UID=" + std::to_string(::getuid()) + '\0';
    EXPECT_THAT(output, testing::StartsWith(expected));
    for (const char* name : {"LANG=", "LOGNAME=root", "PATH=", "SHELL=", "USER=root"})
        EXPECT_THAT(output, testing::HasSubstr(name));
    EXPECT_EQ(std::count(output.begin(), output.end(), '\0'), 7);
}

TEST_F(ChannelTest, StartsEachToolInItsOwnProcessGroup) {
    EXPECT_EQ(
        outputOf(channel(), "/bin/sh", {"-c", "test \"$(ps -o pgid= -p $$)\" -eq $$ && echo yes"}),
        "yes\n");
}

TEST_F(ChannelTest, NeedsFewDescriptorsForManyTools) {
    const test::FewDescriptors few(64);
    for (int round = 0; round < 300; ++round) {
        stream_.reset();
        ASSERT_EQ(statusOf("/bin/true"), kAuthorizationSuccess) << round;
    }
}

TEST_F(ChannelTest, OfAForkedChildIsClosedAndTheParentsStaysOpen) {
    static Channel* inherited;
    inherited = &channel();
    ::signal(SIGCHLD, SIG_DFL);
    EXPECT_EQ(test::exitStatusOfFork([] {
                  std::shared_ptr<AuthorizedToolStream> stream;
                  const auto status = inherited->execute("/bin/true", {}, stream);
                  return !inherited->isOpen() && status == kAuthorizationDenied ? 1 : 0;
              }),
              1);
    EXPECT_TRUE(channel().isOpen());
    EXPECT_EQ(statusOf("/bin/true"), kAuthorizationSuccess);
}

TEST_F(ChannelTest, IsOverOnceAnotherProcessHasUsedIt) {
    static Channel* inherited;
    inherited = &channel();
    // Without the handlers that close it in a child.
    const pid_t child = ::_Fork();
    if (child == 0) {
        std::shared_ptr<AuthorizedToolStream> stream;
        ::_exit(inherited->execute("/bin/true", {}, stream) == kAuthorizationDenied ? 0 : 1);
    }
    ::signal(SIGCHLD, SIG_DFL);
    EXPECT_TRUE(test::eventually([this] { return !channel().isOpen(); }));
    EXPECT_EQ(statusOf("/bin/true"), kAuthorizationDenied);
}

// A helper that says what the test says.
class OddHelper : public testing::Test {
  protected:
    std::optional<Channel> greeted() { return Channel::greet(std::move(connection_.first)); }
    int end() const { return connection_.second.get(); }
    bool say(MessageKind kind, std::string_view body = {}) {
        return sendMessage(end(), kind, body);
    }

    test::Connection connection_;
};

TEST_F(OddHelper, ThatClosesWithoutAGreetingIsRejected) {
    connection_.second.reset();
    EXPECT_FALSE(greeted().has_value());
}

TEST_F(OddHelper, WithAnotherGreetingIsRejected) {
    ASSERT_TRUE(say(MessageKind::Reply));
    EXPECT_FALSE(greeted().has_value());
}

TEST_F(OddHelper, ThatHasEndedIsDeniedWithoutASignal) {
    ::signal(SIGPIPE, SIG_DFL);
    ASSERT_TRUE(say(MessageKind::Hello));
    std::optional<Channel> channel = greeted();
    ASSERT_TRUE(channel.has_value());
    EXPECT_TRUE(channel->isOpen());
    connection_.second.reset();
    EXPECT_FALSE(channel->isOpen());
    std::shared_ptr<AuthorizedToolStream> stream;
    EXPECT_EQ(channel->execute("/bin/true", {}, stream), kAuthorizationDenied);
    EXPECT_EQ(channel->execute("/bin/true", {}, stream), kAuthorizationDenied);
    EXPECT_EQ(stream, nullptr);
}

template <int kError>
ssize_t failToSend(int, const msghdr*, int) {
    errno = kError;
    return -1;
}

TEST_F(OddHelper, IsOpenWhileItSendsNothing) {
    ASSERT_TRUE(say(MessageKind::Hello));
    std::optional<Channel> channel = greeted();
    ASSERT_TRUE(channel.has_value());
    errno = EINTR;
    EXPECT_TRUE(channel->isOpen());
}

TEST_F(OddHelper, IsKeptWhereTooManyDescriptorsAreOnTheirWay) {
    ASSERT_TRUE(say(MessageKind::Hello));
    std::optional<Channel> channel = greeted();
    ASSERT_TRUE(channel.has_value());
    std::shared_ptr<AuthorizedToolStream> stream;
    {
        const test::ChangedCalls calls(
            [](posix::SystemCalls& table) { table.sendmsg = failToSend<ETOOMANYREFS>; });
        EXPECT_EQ(channel->execute("/bin/true", {}, stream), kAuthorizationToolExecuteFailure);
        EXPECT_TRUE(channel->isOpen());
    }
    const test::ChangedCalls calls(
        [](posix::SystemCalls& table) { table.sendmsg = failToSend<EPIPE>; });
    EXPECT_EQ(channel->execute("/bin/true", {}, stream), kAuthorizationDenied);
    EXPECT_FALSE(channel->isOpen());
}

TEST_F(OddHelper, ThatEndsInsteadOfReplyingIsDenied) {
    ASSERT_TRUE(say(MessageKind::Hello));
    std::optional<Channel> channel = greeted();
    ASSERT_TRUE(channel.has_value());
    std::thread goes([this] {
        MessageHeader header{};
        receiveBytes(end(), &header, sizeof header);
        connection_.second.reset();
    });
    std::shared_ptr<AuthorizedToolStream> stream;
    EXPECT_EQ(channel->execute("/bin/true", {}, stream), kAuthorizationDenied);
    goes.join();
}

TEST_F(OddHelper, WithAMalformedReplyIsDenied) {
    ASSERT_TRUE(say(MessageKind::Hello));
    std::optional<Channel> channel = greeted();
    ASSERT_TRUE(channel.has_value());
    std::thread answers([this] {
        MessageHeader header{};
        receiveBytes(end(), &header, sizeof header);
        say(MessageKind::Reply, "much too long");
    });
    std::shared_ptr<AuthorizedToolStream> stream;
    EXPECT_EQ(channel->execute("/bin/true", {}, stream), kAuthorizationDenied);
    answers.join();
    EXPECT_FALSE(channel->isOpen());
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
