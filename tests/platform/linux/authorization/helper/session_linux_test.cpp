#include "quillmoor/platform/linux/authorization/helper/session_linux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quillmoor/platform/linux/authorization/channel/channel_linux.h"
#include "quillmoor/platform/linux/authorization/channel/message_linux.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

std::vector<StringList>& recorded() {
    static std::vector<StringList> commands;
    return commands;
}

// Served in a thread, as this process's own client.
class HelpersSession : public testing::Test {
  protected:
    HelpersSession() {
        // As in the helper: the tools are not waited for.
        ::signal(SIGCHLD, SIG_IGN);
        recorded().clear();
        test::Connection connection;
        socket_ = std::move(connection.first);
        served_ = std::thread([client = test::thisProcessAsClient(std::move(connection.second))] {
            serve(client, [](const Client& from, const StringList& command) {
                if (from.pid == ::getpid() && from.uid == ::getuid()) recorded().push_back(command);
            });
            ::shutdown(client.socket.get(), SHUT_RDWR);
        });
    }
    ~HelpersSession() override {
        socket_.reset();
        if (served_.joinable()) served_.join();
        ::signal(SIGCHLD, SIG_DFL);
    }
    MessageHeader nextHeader() const {
        MessageHeader header{};
        EXPECT_TRUE(receiveBytes(socket_.get(), &header, sizeof header));
        return header;
    }
    posix::Descriptor socket_;
    std::thread served_;
};

TEST_F(HelpersSession, BeginsWithAGreeting) {
    const MessageHeader header = nextHeader();
    EXPECT_EQ(header.magic, kMessageMagic);
    EXPECT_EQ(header.kind, static_cast<std::uint32_t>(MessageKind::Hello));
    EXPECT_EQ(header.size, 0U);
}

TEST_F(HelpersSession, EndsWhenTheClientClosesItsEnd) {
    nextHeader();
    socket_.reset();
    served_.join();
    EXPECT_TRUE(recorded().empty());
}

TEST_F(HelpersSession, EndsWithAMessageThatIsNotARequest) {
    nextHeader();
    EXPECT_TRUE(sendMessage(socket_.get(), MessageKind::Reply, "1234"));
    served_.join();
    char byte = 0;
    EXPECT_FALSE(receiveBytes(socket_.get(), &byte, 1)) << "no reply is sent";
}

TEST_F(HelpersSession, PassesOnEachToolThatWasStartedBeforeTheReply) {
    std::optional<Channel> channel = Channel::greet(std::move(socket_));
    ASSERT_TRUE(channel);
    std::shared_ptr<AuthorizedToolStream> stream;
    EXPECT_EQ(channel->execute("/bin/missing", {}, stream), kAuthorizationToolExecuteFailure);
    EXPECT_TRUE(recorded().empty());
    EXPECT_EQ(channel->execute("/bin/true", {"a", ""}, stream), kAuthorizationSuccess);
    EXPECT_THAT(recorded(), testing::ElementsAre(StringList{"/bin/true", "a", ""}));
    EXPECT_EQ(channel->execute("/bin/false", {}, stream), kAuthorizationSuccess);
    channel.reset();
    served_.join();
    EXPECT_THAT(recorded(),
                testing::ElementsAre(StringList{"/bin/true", "a", ""}, StringList{"/bin/false"}));
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization::helper
