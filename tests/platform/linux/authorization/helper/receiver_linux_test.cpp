#include "quillmoor/platform/linux/authorization/helper/receiver_linux.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "quillmoor/platform/linux/authorization/channel/peer_linux.h"
#include "tests/children/child_tools.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/support/few_descriptors.h"

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

class ReceiverTest : public testing::Test {
  protected:
    // One piece with so many descriptors.
    static bool sendPiece(int socket, std::string bytes, std::size_t descriptors = 0) {
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int) * 253)> room{};
        iovec piece{bytes.data(), bytes.size()};
        msghdr message{};
        message.msg_iov = &piece;
        message.msg_iovlen = 1;
        if (descriptors > 0) {
            const std::vector<int> numbers(descriptors, STDERR_FILENO);
            message.msg_control = room.data();
            message.msg_controllen = CMSG_SPACE(sizeof(int) * descriptors);
            cmsghdr* const control = CMSG_FIRSTHDR(&message);
            control->cmsg_level = SOL_SOCKET;
            control->cmsg_type = SCM_RIGHTS;
            control->cmsg_len = CMSG_LEN(sizeof(int) * descriptors);
            std::memcpy(CMSG_DATA(control), numbers.data(), sizeof(int) * descriptors);
        }
        return ::sendmsg(socket, &message, 0) == static_cast<ssize_t>(bytes.size());
    }
    bool send(const std::string& bytes, std::size_t descriptors = 0) {
        return sendPiece(connection_.first.get(), bytes, descriptors);
    }

    static std::string text(const MessageHeader& header) {
        return {reinterpret_cast<const char*>(&header), sizeof header};
    }
    MessageHeader header() const {
        return {kMessageMagic, static_cast<std::uint32_t>(MessageKind::Request),
                static_cast<std::uint32_t>(body_.size()), kRequestDescriptors};
    }

    // What was sent is refused, and leaves no descriptor open.
    void expectRefused() {
        const int before = test::openDescriptorCount();
        EXPECT_FALSE(Receiver(client_).next().has_value());
        EXPECT_EQ(test::openDescriptorCount(), before);
    }
    void expectRefused(const MessageHeader& header, std::size_t descriptors = 4) {
        ASSERT_TRUE(send(text(header) + body_, descriptors));
        expectRefused();
    }

    const std::string body_ = *encodeCommand("/bin/true", {"a", ""});
    test::Connection connection_;
    Client client_ = test::thisProcessAsClient(std::move(connection_.second));
};

TEST_F(ReceiverTest, AcceptsTheClientsRequests) {
    Receiver receiver(client_);
    const std::array<int, 4> descriptors{0, 1, 2, 2};
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(sendMessage(connection_.first.get(), MessageKind::Request, body_, descriptors));
        const auto request = receiver.next();
        ASSERT_TRUE(request.has_value());
        EXPECT_EQ(request->command, (StringList{"/bin/true", "a", ""}));
        ASSERT_EQ(request->descriptors.size(), kRequestDescriptors);
        for (const auto& descriptor : request->descriptors)
            EXPECT_EQ(::fcntl(descriptor.get(), F_GETFD), FD_CLOEXEC);
    }
}

TEST_F(ReceiverTest, AcceptsAMessageInPieces) {
    const std::string bytes = text(header()) + body_;
    ASSERT_TRUE(send(bytes.substr(0, 5), 4));
    for (std::size_t at = 5; at < bytes.size(); ++at) ASSERT_TRUE(send(bytes.substr(at, 1)));
    EXPECT_TRUE(Receiver(client_).next().has_value());
}

TEST_F(ReceiverTest, EndsWithTheClientsEnd) {
    connection_.first.reset();
    expectRefused();
}

TEST_F(ReceiverTest, RefusesHalfAHeader) {
    ASSERT_TRUE(send(text(header()).substr(0, 7), 4));
    connection_.first.reset();
    expectRefused();
}

TEST_F(ReceiverTest, RefusesHalfABody) {
    ASSERT_TRUE(send(text(header()) + body_.substr(0, 6), 4));
    connection_.first.reset();
    expectRefused();
}

TEST_F(ReceiverTest, RefusesAnotherProtocol) {
    MessageHeader wrong = header();
    wrong.magic += 1;
    expectRefused(wrong);
}

TEST_F(ReceiverTest, RefusesAnotherKindOfMessage) {
    MessageHeader wrong = header();
    wrong.kind = static_cast<std::uint32_t>(MessageKind::Reply);
    expectRefused(wrong);
}

TEST_F(ReceiverTest, RefusesAHugeBodyWithoutReadingIt) {
    MessageHeader wrong = header();
    wrong.size = 0xffffffff;
    expectRefused(wrong);
}

TEST_F(ReceiverTest, RefusesABodyJustTooLarge) {
    MessageHeader wrong = header();
    wrong.size = kLargestBody + 1;
    expectRefused(wrong);
}

TEST_F(ReceiverTest, RefusesABodyOfNothing) {
    MessageHeader wrong = header();
    wrong.size = 0;
    expectRefused(wrong);
}

TEST_F(ReceiverTest, RefusesABodyWithBytesLeftOver) {
    MessageHeader wrong = header();
    wrong.size += 1;
    ASSERT_TRUE(send(text(wrong) + body_ + "x", 4));
    expectRefused();
}

TEST_F(ReceiverTest, RefusesALieAboutDescriptors) {
    MessageHeader wrong = header();
    wrong.descriptors = 3;
    expectRefused(wrong);
}

TEST_F(ReceiverTest, RefusesTooFewDescriptors) {
    expectRefused(header(), 3);
}

TEST_F(ReceiverTest, RejectsARequestWithoutDescriptors) {
    expectRefused(header(), 0);
}

TEST_F(ReceiverTest, RefusesTooManyDescriptors) {
    expectRefused(header(), 5);
}

TEST_F(ReceiverTest, RefusesVeryManyDescriptors) {
    expectRefused(header(), 200);
}

TEST_F(ReceiverTest, RefusesDescriptorsWithTheBody) {
    ASSERT_TRUE(send(text(header()), 4));
    ASSERT_TRUE(send(body_, 1));
    expectRefused();
}

TEST_F(ReceiverTest, RefusesDescriptorsInTwoPieces) {
    const std::string bytes = text(header()) + body_;
    ASSERT_TRUE(send(bytes.substr(0, 5), 2));
    ASSERT_TRUE(send(bytes.substr(5), 2));
    expectRefused();
}

TEST_F(ReceiverTest, RefusesAnotherProcessOfTheSameUser) {
    static int socket;
    static std::string bytes;
    socket = connection_.first.get();
    bytes = text(header()) + body_;
    ASSERT_EQ(test::exitStatusOfFork([] { return sendPiece(socket, bytes, 4) ? 0 : 1; }), 0);
    expectRefused();
}

TEST_F(ReceiverTest, RefusesAnotherProcessInTheMiddleOfAMessage) {
    static int socket;
    socket = connection_.first.get();
    ASSERT_TRUE(send(text(header()), 4));
    ASSERT_EQ(test::exitStatusOfFork([] { return sendPiece(socket, "\1\0\0\0") ? 0 : 1; }), 0);
    expectRefused();
}

TEST_F(ReceiverTest, RefusesWhatWasSentBeforeSendersWereAskedFor) {
    test::Connection early;
    ASSERT_TRUE(sendPiece(early.first.get(), text(header()) + body_, 4));
    const Client late = test::thisProcessAsClient(std::move(early.second));
    EXPECT_FALSE(Receiver(late).next().has_value());
}

TEST_F(ReceiverTest, EndsWithTheClientThoughAnotherProcessHasItsEnd) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    client_.process = test::openProcess(child);
    ASSERT_TRUE(test::eventually([this] { return hasEnded(client_.process); }));
    ASSERT_TRUE(send(text(header()) + body_, 4));
    expectRefused();
    test::exitCodeOf(child);
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization::helper
