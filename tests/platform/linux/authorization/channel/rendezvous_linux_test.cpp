#include "quillmoor/platform/linux/authorization/channel/rendezvous_linux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/authorization/channel/message_linux.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/support/few_descriptors.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

class RendezvousTest : public testing::Test {
  protected:
    std::string path() const { return rendezvous_->helperArguments().at(1); }
    bool hasPendingConnection() const {
        pollfd request{rendezvous_->descriptor(), POLLIN, 0};
        return ::poll(&request, 1, 0) == 1;
    }
    posix::Descriptor connectSocket() const {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path().c_str(), sizeof address.sun_path - 1);
        posix::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const auto* where = reinterpret_cast<const sockaddr*>(&address);
        return ::connect(socket.get(), where, sizeof address) == 0 ? std::move(socket)
                                                                   : posix::Descriptor();
    }
    // The other end has closed it, perhaps without having read all.
    static bool isClosed(const posix::Descriptor& socket) {
        char byte = 0;
        const ssize_t count = ::recv(socket.get(), &byte, 1, MSG_DONTWAIT);
        return count == 0 || (count < 0 && errno == ECONNRESET);
    }

    std::optional<Rendezvous> rendezvous_ = Rendezvous::open();
};

TEST_F(RendezvousTest, PausesWithoutADescriptorForAPendingConnection) {
    const posix::Descriptor caller = connectSocket();
    ASSERT_TRUE(hasPendingConnection());
    {
        const test::FewDescriptors none(0);
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_FALSE(rendezvous_->accept(::getpid()));
        EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(100));
    }
    EXPECT_TRUE(hasPendingConnection());
}

TEST_F(RendezvousTest, IsInAFolderThatOnlyThisUserMayEnter) {
    ASSERT_TRUE(rendezvous_.has_value());
    struct stat status {};
    const std::string folder = deleteLastPathComponent(path());
    EXPECT_EQ(deleteLastPathComponent(folder), std::getenv("XDG_RUNTIME_DIR"));
    ASSERT_EQ(::stat(folder.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFDIR | 0700));
    EXPECT_EQ(status.st_uid, ::geteuid());
}

TEST_F(RendezvousTest, IsRemovedWithTheObject) {
    const std::string folder = deleteLastPathComponent(path());
    Rendezvous moved = *std::move(rendezvous_);
    rendezvous_.reset();
    EXPECT_TRUE(test::somethingAt(folder));
    rendezvous_ = std::move(moved);
    EXPECT_TRUE(test::somethingAt(path()));
    rendezvous_.reset();
    EXPECT_FALSE(test::somethingAt(folder));
}

TEST_F(RendezvousTest, RemovesWhatAKilledProcessLeft) {
    const pid_t killed = ::fork();
    if (killed == 0) {
        const auto rendezvous = Rendezvous::open();
        ::kill(::getpid(), rendezvous ? SIGKILL : SIGTERM);
    }
    ASSERT_EQ(test::exitCodeOf(killed), 128 + SIGKILL);
    const std::filesystem::path place(std::getenv("XDG_RUNTIME_DIR"));
    const auto count = [&place] {
        return std::distance(std::filesystem::directory_iterator(place), {});
    };
    EXPECT_EQ(count(), 2);
    const auto another = Rendezvous::open();
    EXPECT_EQ(count(), 2);
    EXPECT_TRUE(test::somethingAt(path()));
}

TEST_F(RendezvousTest, PassesItsPathUserAndProcessToTheHelper) {
    EXPECT_THAT(rendezvous_->helperArguments(),
                testing::ElementsAre("--connect", path(), "--uid", std::to_string(::getuid()),
                                     "--pid", std::to_string(::getpid())));
}

TEST_F(RendezvousTest, ReturnsNilWithoutAPendingConnection) {
    EXPECT_FALSE(hasPendingConnection());
    EXPECT_FALSE(rendezvous_->accept(::getpid()).has_value());
}

class UserRendezvous : public RendezvousTest {
  protected:
    void SetUp() override {
        if (::geteuid() == 0) GTEST_SKIP() << "about ordinary users";
    }
};

TEST_F(UserRendezvous, ClosesAConnectionOfAnotherUserThanRootAndKeepsWaiting) {
    const posix::Descriptor caller = connectSocket();
    const posix::Descriptor next = connectSocket();
    ASSERT_TRUE(caller && next);
    ASSERT_TRUE(sendMessage(caller.get(), MessageKind::Hello, {}));
    EXPECT_TRUE(hasPendingConnection());
    EXPECT_FALSE(rendezvous_->accept(::getpid()).has_value());
    EXPECT_TRUE(isClosed(caller));
    EXPECT_TRUE(hasPendingConnection());
    EXPECT_FALSE(isClosed(next));
}

class RootRendezvous : public RendezvousTest {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "for root";
    }
};

TEST_F(RootRendezvous, ClosesAConnectionOfRootsThatIsNoDescendant) {
    const pid_t launcher = ::fork();
    if (launcher == 0) {
        ::pause();
        ::_exit(0);
    }
    const posix::Descriptor caller = connectSocket();
    ASSERT_TRUE(sendMessage(caller.get(), MessageKind::Hello, {}));
    EXPECT_FALSE(rendezvous_->accept(launcher).has_value());
    EXPECT_TRUE(isClosed(caller));
    ::kill(launcher, SIGKILL);
    test::exitCodeOf(launcher);
}

TEST_F(RootRendezvous, LetsTheLauncherAndItsChildrenIn) {
    const posix::Descriptor caller = connectSocket();
    ASSERT_TRUE(sendMessage(caller.get(), MessageKind::Hello, {}));
    EXPECT_TRUE(rendezvous_->accept(::getpid()).has_value());
    const posix::Descriptor child = connectSocket();
    ASSERT_TRUE(sendMessage(child.get(), MessageKind::Hello, {}));
    EXPECT_TRUE(rendezvous_->accept(::getppid()).has_value());
}

TEST_F(RootRendezvous, ClosesAConnectionWithAnotherGreeting) {
    const posix::Descriptor caller = connectSocket();
    ASSERT_TRUE(sendMessage(caller.get(), MessageKind::Hello, "more"));
    EXPECT_FALSE(rendezvous_->accept(::getpid()).has_value());
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
