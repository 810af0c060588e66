#include "quillmoor/platform/linux/authorization/polkit/polkit_helper_linux.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>

#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using Outcome = PolkitConversation::Outcome;

class AsRoot : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "about root";
    }
};
class AsUser : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() == 0) GTEST_SKIP() << "about an ordinary user";
    }
};
using RootSetuidProgram = AsRoot;
using UserSetuidProgram = AsUser;
using RootPolkitHelper = AsRoot;
using UserPolkitHelper = AsUser;

std::string writeProgram(const test::TempFolder& folder, mode_t mode) {
    const std::string path = folder.writeFile("helper", "#!/bin/sh\n");
    EXPECT_EQ(::chmod(path.c_str(), mode), 0);
    return path;
}

TEST_F(RootSetuidProgram, IsRootsOwnAndMakesRoot) {
    const test::TempFolder folder;
    const std::string path = writeProgram(folder, 04755);
    EXPECT_EQ(setuidProgram(path), path);
    EXPECT_EQ(setuidProgram(folder.makeLink("link", path)), path);
}

TEST_F(RootSetuidProgram, IsNotOneWithoutTheBit) {
    const test::TempFolder folder;
    EXPECT_EQ(setuidProgram(writeProgram(folder, 0755)), std::nullopt);
    EXPECT_EQ(setuidProgram(writeProgram(folder, 02755)), std::nullopt);
}

TEST_F(RootSetuidProgram, IsNotOneThatOthersCanExchange) {
    const test::TempFolder folder;
    EXPECT_EQ(setuidProgram(writeProgram(folder, 04775)), std::nullopt);
    EXPECT_EQ(setuidProgram(writeProgram(folder, 04757)), std::nullopt);
    const std::string path = writeProgram(folder, 04755);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    EXPECT_EQ(setuidProgram(path), std::nullopt);
}

TEST_F(RootSetuidProgram, IsNotOneOfAnotherUser) {
    const test::TempFolder folder;
    const std::string path = writeProgram(folder, 0755);
    ASSERT_EQ(::chown(path.c_str(), 4711, 0), 0);
    ASSERT_EQ(::chmod(path.c_str(), 04755), 0);
    EXPECT_EQ(setuidProgram(path), std::nullopt);
}

TEST_F(UserSetuidProgram, IsNotTheUsersOwn) {
    const test::TempFolder folder;
    EXPECT_EQ(setuidProgram(writeProgram(folder, 04755)), std::nullopt);
}

TEST(SetuidProgram, IsMissing) {
    EXPECT_EQ(setuidProgram("/nonexistent/helper"), std::nullopt);
    EXPECT_EQ(setuidProgram(""), std::nullopt);
}

Outcome outcomeOf(PolkitConversation& conversation) {
    Outcome outcome = Outcome::Undecided;
    while ((outcome = conversation.proceed()) == Outcome::Undecided)
        if (!isReadable(conversation.descriptor(), std::chrono::seconds(10))) break;
    return outcome;
}

// What a helper reads and says; it grants the request only if all it is given is right.
constexpr char kScript[] = R"(#!/bin/sh
[ -t 0 ] && exit 1
read -r cookie
echo "PAM_PROMPT_ECHO_OFF Password: "
read -r password
if [ "$#/$1/$cookie/$password/$HOME$USER$LANG" = "1/kxadmin/cookie-1/pass word/" ]
then echo SUCCESS
else echo FAILURE
fi
)";

TEST(PolkitHelperTest, PassesUserCookieAndPasswordToItsProgram) {
    const test::TempFolder folder;
    PolkitHelper helper;
    EXPECT_FALSE(helper.exists());
    helper.program = folder.writeFile("helper", kScript);
    ASSERT_EQ(::chmod(helper.program->c_str(), 0755), 0);
    EXPECT_TRUE(helper.exists());
    const auto right = helper.start("kxadmin", "cookie-1", "pass word");
    ASSERT_NE(right, nullptr);
    EXPECT_EQ(outcomeOf(*right), Outcome::Granted);
    const auto wrong = helper.start("kxadmin", "cookie-1", "passw0rd");
    ASSERT_NE(wrong, nullptr);
    EXPECT_EQ(outcomeOf(*wrong), Outcome::Refused);
}

TEST(PolkitHelperTest, IsNullWhenItCannotBeStarted) {
    PolkitHelper helper;
    EXPECT_EQ(helper.start("kxadmin", "cookie-1", "x"), nullptr);
    helper.program = "/nonexistent/helper";
    EXPECT_EQ(helper.start("kxadmin", "cookie-1", "x"), nullptr);
    helper.program.reset();
    helper.socket = "/nonexistent/socket";
    EXPECT_TRUE(helper.exists());
    EXPECT_EQ(helper.start("kxadmin", "cookie-1", "x"), nullptr);
    helper.socket = "/" + std::string(200, 'x');
    EXPECT_EQ(helper.start("kxadmin", "cookie-1", "x"), nullptr);
}

// A service that the system would start for each connection.
class Service {
  public:
    Service() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path().c_str(), sizeof address.sun_path - 1);
        EXPECT_EQ(
            ::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
            0);
        EXPECT_EQ(::listen(listener_.get(), 4), 0);
    }
    std::string path() const { return folder_ / "socket"; }
    posix::Descriptor accept() const {
        return posix::Descriptor(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    }

  private:
    test::TempFolder folder_;
    posix::Descriptor listener_{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
};

std::string textAt(const posix::Descriptor& socket) {
    char text[256];
    const ssize_t count = ::recv(socket.get(), text, sizeof text, MSG_DONTWAIT);
    return count > 0 ? std::string(text, static_cast<std::size_t>(count)) : "";
}

TEST_F(RootPolkitHelper, PassesUserCookieAndPasswordToItsSocket) {
    const Service service;
    PolkitHelper helper;
    helper.socket = service.path();
    const auto conversation = helper.start("kxadmin", "cookie-1", "pass word");
    ASSERT_NE(conversation, nullptr);
    const posix::Descriptor caller = service.accept();
    EXPECT_EQ(textAt(caller), "kxadmin\ncookie-1\n");
    constexpr char kPrompt[] = "PAM_PROMPT_ECHO_OFF Password: \n";
    ASSERT_EQ(::send(caller.get(), kPrompt, sizeof kPrompt - 1, 0),
              static_cast<ssize_t>(sizeof kPrompt - 1));
    EXPECT_EQ(conversation->proceed(), Outcome::Undecided);
    EXPECT_EQ(textAt(caller), "pass word\n");
}

TEST_F(UserPolkitHelper, SendsNothingToASocketOfAnotherUser) {
    const Service service;
    PolkitHelper helper;
    helper.socket = service.path();
    EXPECT_EQ(helper.start("kxadmin", "cookie-1", "pass word"), nullptr);
    EXPECT_EQ(textAt(service.accept()), "");
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
