#include "quillmoor/platform/linux/authorization/channel/peer_linux.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

TEST(Peer, OfAConnectionIsWhoMadeIt) {
    const test::Connection connection;
    const auto peer = peerOf(connection.first.get());
    ASSERT_TRUE(peer.has_value());
    EXPECT_EQ(peer->pid, ::getpid());
    EXPECT_EQ(peer->uid, ::geteuid());
    EXPECT_FALSE(hasEnded(peer->process));
}

TEST(Peer, IsNilAfterItsEnd) {
    const test::TempFolder folder;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, (folder / "s").c_str(), sizeof address.sun_path - 1);
    const auto* where = reinterpret_cast<const sockaddr*>(&address);
    const posix::Descriptor waiting(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(::bind(waiting.get(), where, sizeof address), 0);
    ASSERT_EQ(::listen(waiting.get(), 1), 0);
    const pid_t caller = ::fork();
    if (caller == 0) {
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        ::_exit(::connect(socket, where, sizeof address) == 0 ? 0 : 1);
    }
    // Ended, and not collected yet.
    siginfo_t info{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(caller), &info, WEXITED | WNOWAIT), 0);
    const posix::Descriptor accepted(::accept4(waiting.get(), nullptr, nullptr, SOCK_CLOEXEC));
    ASSERT_TRUE(accepted);
    EXPECT_FALSE(peerOf(accepted.get()).has_value());
    EXPECT_EQ(test::exitCodeOf(caller), 0);
}

TEST(Peer, IsNilForADescriptorThatIsNotASocket) {
    const auto process = test::openProcess(::getpid());
    EXPECT_FALSE(peerOf(process.get()).has_value());
    EXPECT_FALSE(peerOf(-1).has_value());
}

TEST(Ancestry, HoldsTheProcessItselfAndAllAboveIt) {
    EXPECT_TRUE(descendsFrom(::getpid(), ::getpid()));
    EXPECT_TRUE(descendsFrom(::getpid(), ::getppid()));
    EXPECT_FALSE(descendsFrom(::getppid(), ::getpid()));
    static pid_t test;
    test = ::getpid();
    EXPECT_EQ(
        test::exitStatusOfFork([] {
            return test::exitStatusOfFork([] { return descendsFrom(::getpid(), test) ? 1 : 0; });
        }),
        1);
}

TEST(Ancestry, IsNotMisledByTheNameOfAProcess) {
    static pid_t test;
    test = ::getpid();
    EXPECT_EQ(test::exitStatusOfFork([] {
                  ::prctl(PR_SET_NAME, "x) S 1 (y) 1", 0, 0, 0);
                  return descendsFrom(::getpid(), test) ? 1 : 0;
              }),
              1);
}

TEST(Ancestry, IsNoneForAMissingProcess) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    test::exitCodeOf(child);
    EXPECT_FALSE(descendsFrom(child, ::getpid()));
    EXPECT_FALSE(descendsFrom(0, ::getpid()));
    EXPECT_FALSE(descendsFrom(-1, -1));
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
