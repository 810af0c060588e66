#include "quillmoor/platform/linux/authorization/polkit/bus_connection_linux.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <optional>
#include <string>

#include "tests/platform/linux/authorization/support/fake_polkit.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using Clock = BusConnection::Clock;

constexpr std::chrono::seconds kLong{10};

class BusConnectionTest : public testing::Test {
  protected:
    void SetUp() override {
        if (sdBus() == nullptr) GTEST_SKIP() << "libsystemd is not installed";
    }
    BusMessage watchCall() {
        BusMessage call = connection_->newCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                               "org.freedesktop.DBus", "AddMatch");
        EXPECT_GE(sdBus()->append(call.get(), "s", "type='signal'"), 0);
        return call;
    }
    // Null when no message arrives.
    BusMessage await() {
        const auto limit = Clock::now() + kLong;
        do {
            if (BusMessage message = connection_->receive()) return message;
        } while (connection_->isOpen() && connection_->wait(limit));
        return {};
    }

    test::FakePolkit bus_;
    std::optional<BusConnection> connection_;
};

TEST_F(BusConnectionTest, ReturnsTheReplyToACallSentBeforeTheConnectionWasMade) {
    bus_.serveDuring([&] {
        connection_ = BusConnection::open(*sdBus(), bus_.address());
        ASSERT_TRUE(connection_.has_value());
        const auto first = connection_->send(watchCall());
        const auto second = connection_->send(watchCall());
        ASSERT_TRUE(first && second);
        EXPECT_NE(*first, *second);
        for (const std::uint64_t sent : {*first, *second}) {
            const BusMessage reply = await();
            ASSERT_NE(reply, nullptr);
            std::uint64_t answered = 0;
            EXPECT_GE(sdBus()->getReplyCookie(reply.get(), &answered), 0);
            EXPECT_EQ(answered, sent);
        }
        EXPECT_EQ(connection_->receive(), nullptr);
        EXPECT_TRUE(connection_->isOpen());
    });
}

TEST_F(BusConnectionTest, IsNotMadeWithoutABus) {
    connection_ = BusConnection::open(*sdBus(), "unix:path=/nonexistent/bus");
    if (!connection_) return;
    EXPECT_EQ(await(), nullptr);
    EXPECT_FALSE(connection_->isOpen());
}

TEST_F(BusConnectionTest, IsNotOpenAfterTheOtherEndHasClosed) {
    bus_.serveDuring([&] {
        connection_ = BusConnection::open(*sdBus(), bus_.address());
        ASSERT_TRUE(connection_->send(watchCall()));
        EXPECT_NE(await(), nullptr);
    });
    bus_.closeConnection();
    while (await()) {  // the library says so as well
    }
    EXPECT_FALSE(connection_->isOpen());
    EXPECT_FALSE(connection_->send(watchCall()));
}

TEST_F(BusConnectionTest, WaitsNoLongerThanItsLimit) {
    bus_.serveDuring([&] {
        connection_ = BusConnection::open(*sdBus(), bus_.address());
        ASSERT_TRUE(connection_->send(watchCall()));
        EXPECT_NE(await(), nullptr);
        const auto begin = Clock::now();
        EXPECT_FALSE(connection_->wait(begin + std::chrono::milliseconds(20)));
        EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(20));
        EXPECT_FALSE(connection_->wait(begin));
        EXPECT_EQ(connection_->events(), POLLIN);
    });
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
