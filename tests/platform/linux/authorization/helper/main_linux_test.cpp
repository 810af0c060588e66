// The helper as it is installed, started by a test that runs as root.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "quillmoor/platform/linux/authorization/channel/peer_linux.h"
#include "tests/children/child_tools.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using test::HelperProgram;
using test::outputOf;

constexpr int kBadArguments = 2;
constexpr int kRefused = 3;
constexpr char kNotRoot[] = "not started as root";
constexpr char kNotItsStarter[] = "not started by the client";
constexpr char kNoClient[] = "the client is not there";

void expectRefusal(const test::ProgramEnd& end, const std::string& reason, int code = kRefused) {
    EXPECT_EQ(end.code, code);
    EXPECT_EQ(end.complaint, "quillmoor-rights-helper: " + reason + "\n");
}

StringList commandFor(const std::string& path, pid_t client) {
    return {
        KX_AUTHORIZATION_HELPER, "--connect", path, "--uid", std::to_string(::getuid()), "--pid",
        std::to_string(client)};
}

TEST(HelperProgram, ByHandIsRefused) {
    for (const StringList& command :
         {StringList{KX_AUTHORIZATION_HELPER}, StringList{KX_AUTHORIZATION_HELPER, "--help"}})
        expectRefusal(test::endOfProgram(command), "it is started by other programs only",
                      kBadArguments);
    // This process is there, but does not wait for it.
    expectRefusal(test::endOfProgram(commandFor("/nowhere", ::getpid())),
                  ::geteuid() == 0 ? kNoClient : kNotRoot);
}

TEST(UserHelperProgram, IsRefusedToOrdinaryUsers) {
    if (::geteuid() == 0) GTEST_SKIP() << "about ordinary users";
    const auto rendezvous = Rendezvous::open();
    expectRefusal(test::endOfProgram(test::helperCommand(*rendezvous)), kNotRoot);
}

class RootHelperProgram : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "for root";
        ::unsetenv("PKEXEC_UID");
    }
    test::TempFolder folder_;
};

TEST_F(RootHelperProgram, StartsTools) {
    HelperProgram helper;
    ASSERT_TRUE(helper.channel().has_value());
    EXPECT_EQ(outputOf(*helper.channel(), "/usr/bin/id", {"-u"}), "0\n");
    EXPECT_EQ(outputOf(*helper.channel(), test::childPath("print_descriptors")), "0\n1\n2\n");
    EXPECT_EQ(outputOf(*helper.channel(), test::childPath("print_signals")), "");
}

TEST_F(RootHelperProgram, EndsWithItsChannelAndItsToolsRunOn) {
    HelperProgram helper;
    ASSERT_TRUE(helper.channel().has_value());
    std::shared_ptr<AuthorizedToolStream> stream;
    const std::string script = "read line; echo done > '" + (folder_ / "file") + "'";
    ASSERT_EQ(helper.channel()->execute("/bin/sh", {"-c", script}, stream), 0);
    helper.channel().reset();
    EXPECT_TRUE(helper.ends());
    ASSERT_TRUE(stream->write("go\n"));
    EXPECT_EQ(test::allOf(*stream), "");
    EXPECT_EQ(test::readFile(folder_ / "file"), "done\n");
}

TEST_F(RootHelperProgram, LeavesNoToolUncollected) {
    HelperProgram helper;
    ASSERT_TRUE(helper.channel().has_value());
    for (int round = 0; round < 50; ++round) outputOf(*helper.channel(), "/bin/true");
    const std::string number = std::to_string(helper.pid());
    EXPECT_TRUE(test::eventually([&number] {
        return test::readFile("/proc/" + number + "/task/" + number + "/children").empty();
    }));
    // It closes the last tool's descriptors only after it has replied.
    EXPECT_TRUE(test::eventually([&number] {
        const std::filesystem::directory_iterator descriptors("/proc/" + number + "/fd");
        return std::distance(begin(descriptors), end(descriptors)) == 5;
    }));
}

TEST_F(RootHelperProgram, ThatIsKilledIsDeniedWithoutASignal) {
    HelperProgram helper;
    ASSERT_TRUE(helper.channel().has_value());
    ::kill(helper.pid(), SIGKILL);
    ASSERT_TRUE(helper.ends());
    std::shared_ptr<AuthorizedToolStream> stream;
    EXPECT_EQ(helper.channel()->execute("/bin/true", {}, stream), kAuthorizationDenied);
    EXPECT_FALSE(helper.channel()->isOpen());
}

TEST_F(RootHelperProgram, LeavesTheLimitsOfItsStarter) {
    const pid_t test = ::fork();
    if (test == 0) {
        const rlimit small{4096, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &small);
        ::setrlimit(RLIMIT_CPU, &small);
        ::umask(0);
        HelperProgram helper;
        const std::string limits = helper.channel()
                                       ? outputOf(*helper.channel(), "/bin/sh",
                                                  {"-c", "ulimit -f; ulimit -t; ulimit -c; umask"})
                                       : "";
        ::_exit(limits == "unlimited\nunlimited\n0\n0022\n" ? 0 : 1);
    }
    EXPECT_EQ(test::exitCodeOf(test), 0);
}

TEST_F(RootHelperProgram, RefusesAProcessThatDidNotStartIt) {
    const auto rendezvous = Rendezvous::open();
    const std::string path = rendezvous->helperArguments().at(1);
    const pid_t other = ::fork();
    if (other == 0) {
        ::pause();
        ::_exit(0);
    }
    expectRefusal(test::endOfProgram(commandFor(path, other)), kNotItsStarter);
    ::kill(other, SIGKILL);
    test::exitCodeOf(other);
}

TEST_F(RootHelperProgram, IsRefusedWhereAnotherProcessWaits) {
    const std::string path = folder_ / "path";
    const pid_t other = ::fork();
    if (other == 0) {
        const auto rendezvous = Rendezvous::open();
        std::filesystem::create_symlink(rendezvous->helperArguments().at(1), path);
        ::pause();
        ::_exit(0);
    }
    ASSERT_TRUE(test::eventually([&path] { return test::somethingAt(path); }));
    expectRefusal(test::endOfProgram(commandFor(path, ::getpid())), kNoClient);
    ::kill(other, SIGKILL);
    test::exitCodeOf(other);
}

TEST_F(RootHelperProgram, IsRefusedWhereTheGranterNamesAnotherUser) {
    ::setenv("PKEXEC_UID", "12345", 1);
    HelperProgram refused;
    EXPECT_FALSE(refused.channel().has_value());
    EXPECT_TRUE(refused.ends());
}

TEST_F(RootHelperProgram, RefusesToRunWithASetuidBit) {
    const std::string copy = folder_ / "helper";
    std::filesystem::copy_file(KX_AUTHORIZATION_HELPER, copy);
    ASSERT_EQ(::chmod(copy.c_str(), 04755), 0);
    // The way there is open to everybody.
    const std::filesystem::path home = std::filesystem::path(std::getenv("HOME")).parent_path();
    for (const std::string& folder :
         {folder_.path(), std::string(std::getenv("TMPDIR")), home.string()})
        ASSERT_EQ(::chmod(folder.c_str(), 0711), 0);
    const pid_t user = ::fork();
    if (user == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(1);
        const pid_t test = ::getpid();
        StringList command = commandFor("/nowhere", test);
        command.front() = copy;
        expectRefusal(test::endOfProgram(command), kNotRoot);
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    EXPECT_EQ(test::exitCodeOf(user), 0);
}

// A client in its own process, whose channel another process has as well; it writes the helper's
// id.
[[noreturn]] void beClient(const std::string& pidFile) {
    auto* const helper = new HelperProgram;
    if (!helper->channel()) ::_exit(1);
    // A child made without the fork handlers keeps its copy of the channel.
    if (::_Fork() == 0) {
        ::usleep(3'000'000);
        ::_exit(0);
    }
    const std::string number = std::to_string(helper->pid());
    const posix::Descriptor file(
        ::open(pidFile.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_APPEND, 0600));
    if (::write(file.get(), number.data(), number.size()) <= 0) ::_exit(1);
    ::pause();
    ::_exit(0);
}

TEST_F(RootHelperProgram, EndsWithItsClientThoughAnotherProcessHasTheChannel) {
    const pid_t client = ::fork();
    if (client == 0) beClient(folder_ / "number");
    const pid_t helper = test::pidIn(folder_ / "number");
    ASSERT_GT(helper, 0);
    const posix::Descriptor process = test::openProcess(helper);
    ASSERT_TRUE(process);
    EXPECT_FALSE(hasEnded(process));
    ::kill(client, SIGKILL);
    test::exitCodeOf(client);
    EXPECT_TRUE(test::eventually([&process] { return hasEnded(process); }));
}

TEST_F(RootHelperProgram, EndsWhenAnotherProcessUsesTheChannel) {
    HelperProgram helper;
    ASSERT_TRUE(helper.channel().has_value());
    const pid_t thief = ::_Fork();
    if (thief == 0) {
        std::shared_ptr<AuthorizedToolStream> stream;
        const auto status =
            helper.channel()->execute("/usr/bin/touch", {folder_ / "stolen"}, stream);
        ::_exit(status == kAuthorizationDenied ? 0 : 1);
    }
    EXPECT_EQ(test::exitCodeOf(thief), 0);
    EXPECT_TRUE(helper.ends());
    EXPECT_FALSE(test::somethingAt(folder_ / "stolen"));
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
