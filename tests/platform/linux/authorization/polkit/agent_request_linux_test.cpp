#include "quillmoor/platform/linux/authorization/polkit/agent_request_linux.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "quillmoor/platform/linux/authorization/polkit/bus_connection_linux.h"
#include "tests/platform/linux/authorization/support/fake_polkit.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using testing::ElementsAre;
using testing::Pair;

constexpr pid_t kLauncher = 1234;
constexpr uid_t kUser = 4711;

AgentRequest ownRequest() {
    return {"com.quillmoor.rights",
            "cookie",
            {{"polkit.caller-pid", "1234"}, {"polkit.subject-pid", std::to_string(::getpid())}},
            {0, kUser}};
}

TEST(IsForLauncherTest, TheLaunchersOwnRequest) {
    AgentRequest request = ownRequest();
    EXPECT_TRUE(isForLauncher(request, kLauncher, kUser));
    EXPECT_TRUE(isForLauncher(request, kLauncher, 0));
    request.action = "org.freedesktop.policykit.exec";
    EXPECT_TRUE(isForLauncher(request, kLauncher, kUser));
}

TEST(IsForLauncherTest, RejectsOtherActions) {
    for (const char* action : {"", "org.freedesktop.policykit.exec2", "com.quillmoor"}) {
        AgentRequest request = ownRequest();
        request.action = action;
        EXPECT_FALSE(isForLauncher(request, kLauncher, kUser)) << action;
    }
}

TEST(IsForLauncherTest, RejectsOtherProcesses) {
    for (const char* detail : {"polkit.caller-pid", "polkit.subject-pid"}) {
        AgentRequest request = ownRequest();
        for (const char* other : {"", "1", "01234", "1234 ", "12345"}) {
            request.details[detail] = other;
            EXPECT_FALSE(isForLauncher(request, kLauncher, kUser)) << detail << other;
        }
        request.details.erase(detail);
        EXPECT_FALSE(isForLauncher(request, kLauncher, kUser)) << detail;
    }
}

TEST(IsForLauncherTest, RejectsOtherUsers) {
    AgentRequest request = ownRequest();
    EXPECT_FALSE(isForLauncher(request, kLauncher, 1));
    request.users.clear();
    EXPECT_FALSE(isForLauncher(request, kLauncher, kUser));
    EXPECT_FALSE(isForLauncher(request, kLauncher, 0));
}

// A call as it is read at the other end.
class ReadAgentRequest : public testing::Test {
  protected:
    void SetUp() override {
        if (sdBus() == nullptr) GTEST_SKIP() << "libsystemd is not installed";
        connection_ = BusConnection::open(*sdBus(), bus_.address());
        ASSERT_TRUE(connection_.has_value());
        call_ = connection_->newCall("a.b", "/a", "a.b", "BeginAuthentication");
        ASSERT_NE(call_, nullptr);
    }
    template <class... Values>
    void append(const char* types, Values... values) {
        ASSERT_GE(sdBus()->append(call_.get(), types, values...), 0);
    }
    std::optional<AgentRequest> read() {
        using Seal = int (*)(sd_bus_message*, std::uint64_t, std::uint64_t);
        void* const library = ::dlopen("libsystemd.so.0", RTLD_LAZY | RTLD_LOCAL);
        const auto seal = reinterpret_cast<Seal>(::dlsym(library, "sd_bus_message_seal"));
        EXPECT_GE(seal(call_.get(), 1, 0), 0);
        return readAgentRequest(*sdBus(), call_.get());
    }

    test::FakePolkit bus_;
    std::optional<BusConnection> connection_;
    BusMessage call_;
};

TEST_F(ReadAgentRequest, ReadsWhatIsNeeded) {
    append("sss", "an.action", "a message", "an icon");
    append("a{ss}", 2U, "a", "1", "b", "2");
    append("s", "a cookie");
    append("a(sa{sv})", 4U, "unix-user", 2U, "name", "s", "x", "uid", "u", 5U,  //
           "unix-group", 1U, "gid", "u", 6U,                                    //
           "unix-group", 1U, "uid", "u", 7U,                                    //
           "unix-user", 2U, "uid", "u", 8U, "list", "as", 1U, "y");
    const auto request = read();
    ASSERT_TRUE(request.has_value());
    EXPECT_EQ(request->action, "an.action");
    EXPECT_EQ(request->cookie, "a cookie");
    EXPECT_THAT(request->details, ElementsAre(Pair("a", "1"), Pair("b", "2")));
    EXPECT_THAT(request->users, ElementsAre(5U, 8U));
}

TEST_F(ReadAgentRequest, AcceptsEmptyLists) {
    append("sss", "", "", "");
    append("a{ss}", 0U);
    append("s", "");
    append("a(sa{sv})", 0U);
    const auto request = read();
    ASSERT_TRUE(request.has_value());
    EXPECT_TRUE(request->details.empty());
    EXPECT_TRUE(request->users.empty());
}

TEST_F(ReadAgentRequest, RefusesMissingArguments) {
    append("sss", "an.action", "a message", "an icon");
    append("a{ss}", 0U);
    append("s", "a cookie");
    EXPECT_FALSE(read().has_value());
}

TEST_F(ReadAgentRequest, RejectsACallWithoutArguments) {
    EXPECT_FALSE(read().has_value());
}

TEST_F(ReadAgentRequest, RefusesDetailsOfAnotherType) {
    append("sss", "an.action", "a message", "an icon");
    append("a{su}", 1U, "polkit.caller-pid", 1U);
    append("s", "a cookie");
    append("a(sa{sv})", 0U);
    EXPECT_FALSE(read().has_value());
}

TEST_F(ReadAgentRequest, RefusesAUserOfAnotherType) {
    append("sss", "an.action", "a message", "an icon");
    append("a{ss}", 0U);
    append("s", "a cookie");
    append("a(sa{sv})", 1U, "unix-user", 1U, "uid", "s", "5");
    EXPECT_FALSE(read().has_value());
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
