#include "quillmoor/platform/linux/authorization/helper/client_linux.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <string>

#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

// This process is the client; what is started is its child.
class HelpersClient : public testing::Test {
  protected:
    HelpersClient() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, client_.path.c_str(), sizeof address.sun_path - 1);
        socket_ = posix::Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(
            ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(socket_.get(), 4), 0);
    }
    // What holds in a child of this process, or further down.
    static bool inDescendant(int generations, const std::function<bool()>& holds) {
        const pid_t child = ::fork();
        if (child == 0) {
            const bool result = generations > 1 ? inDescendant(generations - 1, holds) : holds();
            ::_exit(result ? 0 : 1);
        }
        return test::exitCodeOf(child) == 0;
    }
    bool connects(const Arguments& expected) const {
        return inDescendant(1, [&] { return connectToClient(expected).has_value(); });
    }

    test::TempFolder folder_;
    const Arguments client_{folder_ / "socket", ::getuid(), ::getpid()};
    posix::Descriptor socket_;
};

TEST_F(HelpersClient, HasStartedItsChildrenAndTheirs) {
    const auto wasStarted = [this] { return wasStartedBy(client_, nullptr); };
    EXPECT_TRUE(inDescendant(1, wasStarted));
    EXPECT_TRUE(inDescendant(2, wasStarted));
    EXPECT_FALSE(wasStarted()) << "it has not started itself";
}

TEST_F(HelpersClient, IsTheUserThatTheGranterNames) {
    const std::string own = std::to_string(client_.uid);
    EXPECT_TRUE(inDescendant(1, [&] { return wasStartedBy(client_, own.c_str()); }));
    for (const std::string& other : {own + "1", own + " ", "0" + own, std::string()})
        EXPECT_FALSE(inDescendant(1, [&] { return wasStartedBy(client_, other.c_str()); }))
            << other;
}

TEST_F(HelpersClient, IsConnectedToWithTheCredentialsOfSenders) {
    EXPECT_TRUE(inDescendant(1, [this] {
        const std::optional<Client> client = connectToClient(client_);
        int passes = 0;
        socklen_t size = sizeof passes;
        return client && client->pid == client_.pid && client->uid == client_.uid &&
               client->process && client->socket &&
               ::getsockopt(client->socket.get(), SOL_SOCKET, SO_PASSCRED, &passes, &size) == 0 &&
               passes == 1;
    }));
}

TEST_F(HelpersClient, IsNotAnotherProcessThatListensThere) {
    EXPECT_FALSE(connects({client_.path, client_.uid, client_.pid + 1}));
    EXPECT_FALSE(connects({client_.path, client_.uid + 1, client_.pid}));
}

TEST_F(HelpersClient, IsNotConnectedToByAProcessThatItDidNotStart) {
    EXPECT_FALSE(connectToClient(client_).has_value());
}

TEST_F(HelpersClient, IsNilWithoutAListener) {
    EXPECT_FALSE(connects({folder_ / "missing", client_.uid, client_.pid}));
    EXPECT_FALSE(connects({std::string(200, 'x'), client_.uid, client_.pid}));
    socket_.reset();
    EXPECT_FALSE(connects(client_));
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization::helper
