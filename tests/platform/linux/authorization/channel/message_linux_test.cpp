#include "quillmoor/platform/linux/authorization/channel/message_linux.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/platform/linux/authorization/support/authorization_fixtures.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

std::string number(std::uint32_t value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

TEST(Command, ArrivesAsItWasSent) {
    const StringList nasty{"", "$(id)", "; rm", "a\nb", "\xff\xfe", "-rf", "e\xcc\x81"};
    const auto body = encodeCommand("/bin/true", nasty);
    ASSERT_TRUE(body.has_value());
    StringList expected = nasty;
    expected.insert(expected.begin(), "/bin/true");
    EXPECT_EQ(decodeCommand(*body), expected);
}

TEST(Command, WithANulIsNotSent) {
    EXPECT_FALSE(encodeCommand(std::string("/bin/true\0x", 11), {}));
    EXPECT_FALSE(encodeCommand("/bin/true", {"a", std::string("\0", 1)}));
}

TEST(Command, IsSentUpToItsLimitAndNotBeyond) {
    const std::string most(kLargestBody - 3 * sizeof(std::uint32_t) - 2, 'x');
    const auto body = encodeCommand("/x", {most});
    ASSERT_TRUE(body.has_value());
    EXPECT_EQ(body->size(), kLargestBody);
    EXPECT_EQ(decodeCommand(*body), (StringList{"/x", most}));
    EXPECT_FALSE(encodeCommand("/x", {most + "x"}));
    EXPECT_FALSE(encodeCommand("/x", {most, ""}));
    EXPECT_FALSE(encodeCommand("/x", StringList(kLargestBody / 4, "")));
    EXPECT_FALSE(encodeCommand(std::string(kLargestBody + 1, '/'), {}));
}

TEST(Command, IsRefusedInAnyOtherForm) {
    const std::string good = *encodeCommand("/x", {"a"});
    ASSERT_TRUE(decodeCommand(good));
    for (std::size_t size = 0; size < good.size(); ++size)
        EXPECT_FALSE(decodeCommand(good.substr(0, size))) << size;
    for (const std::string& body :
         {good + '\0', number(0), number(0) + number(1) + "x", number(0xffffffff),
          number(0xffffffff) + good.substr(4), number(3) + good.substr(4),
          number(1) + good.substr(4), number(1) + number(0xffffffff) + "x",
          number(1) + number(0xfffffffc) + "xyz", number(1) + number(2) + std::string("x\0", 2)})
        EXPECT_FALSE(decodeCommand(body)) << testing::PrintToString(body);
}

TEST(Message, RaisesNoSignalWithoutAReader) {
    test::Connection connection;
    connection.second.reset();
    EXPECT_FALSE(sendMessage(connection.first.get(), MessageKind::Hello, {}));
    char byte = 0;
    EXPECT_FALSE(receiveBytes(connection.first.get(), &byte, 1));
}

TEST(Message, IsAHeaderAndABody) {
    test::Connection connection;
    ASSERT_TRUE(sendMessage(connection.first.get(), MessageKind::Reply, "body"));
    connection.first.reset();
    MessageHeader header{};
    char body[4];
    ASSERT_TRUE(receiveBytes(connection.second.get(), &header, sizeof header));
    ASSERT_TRUE(receiveBytes(connection.second.get(), body, sizeof body));
    EXPECT_EQ(header.magic, kMessageMagic);
    EXPECT_EQ(header.kind, static_cast<std::uint32_t>(MessageKind::Reply));
    EXPECT_EQ(header.size, 4U);
    EXPECT_EQ(header.descriptors, 0U);
    EXPECT_EQ(std::string(body, 4), "body");
    EXPECT_FALSE(receiveBytes(connection.second.get(), body, 1));
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
