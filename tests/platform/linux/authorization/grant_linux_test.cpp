#include "quillmoor/platform/linux/authorization/grant_linux.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <thread>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/message_linux.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

// A grant whose first helper ends when the test says, and one that a renewal starts.
class GrantTest : public testing::Test {
  protected:
    GrantTest() { sendMessage(first_.second.get(), MessageKind::Hello, {}); }

    Grant granted(Grant::Renewal renewal) {
        return Grant(*Channel::greet(std::move(first_.first)), std::move(renewal));
    }
    Grant::Renewal bringsAnother() {
        return [this](std::optional<Channel>& channel) {
            ++asked_;
            channel = std::move(another_.channel());
            return kAuthorizationSuccess;
        };
    }
    Grant::Renewal isAnswered(AuthorizationStatus status) {
        return [this, status](std::optional<Channel>&) {
            ++asked_;
            return status;
        };
    }
    void helperGoes() { first_.second.reset(); }
    AuthorizationStatus start(Grant& grant) { return grant.execute("/bin/true", {}, stream_); }

    test::Connection first_;
    test::HelperInThread another_;
    std::shared_ptr<AuthorizedToolStream> stream_;
    int asked_ = 0;
};

TEST_F(GrantTest, IsHeldAsLongAsItsHelperIsThere) {
    const Grant grant = granted(nullptr);
    EXPECT_TRUE(grant.isHeld());
    helperGoes();
    EXPECT_FALSE(grant.isHeld());
}

TEST_F(GrantTest, RenewsOnceWhenItsHelperHasEnded) {
    Grant grant = granted(bringsAnother());
    helperGoes();
    ASSERT_EQ(grant.execute("/bin/echo", {"a b", "\n\xff"}, stream_), kAuthorizationSuccess);
    EXPECT_EQ(test::allOf(*stream_), "a b \n\xff\n");
    EXPECT_EQ(start(grant), kAuthorizationSuccess);
    EXPECT_TRUE(grant.isHeld());
    EXPECT_EQ(asked_, 1);
}

TEST_F(GrantTest, ReturnsTheFailedRenewalAndTriesAgainNextTime) {
    Grant grant = granted(isAnswered(kAuthorizationCanceled));
    helperGoes();
    EXPECT_EQ(start(grant), kAuthorizationCanceled);
    EXPECT_EQ(asked_, 1);
    EXPECT_EQ(start(grant), kAuthorizationCanceled);
    EXPECT_EQ(asked_, 2);
    EXPECT_EQ(stream_, nullptr);
}

TEST_F(GrantTest, WithoutARenewalIsDenied) {
    Grant grant = granted(nullptr);
    helperGoes();
    EXPECT_EQ(start(grant), kAuthorizationDenied);
    EXPECT_EQ(stream_, nullptr);
}

// It may have started the tool before it went.
TEST_F(GrantTest, DeniesARequestLostWithItsHelperAndRenewsNextTime) {
    Grant grant = granted(bringsAnother());
    std::thread goes([this] {
        MessageHeader header{};
        receiveBytes(first_.second.get(), &header, sizeof header);
        helperGoes();
    });
    EXPECT_EQ(start(grant), kAuthorizationDenied);
    goes.join();
    EXPECT_EQ(asked_, 0);
    EXPECT_EQ(start(grant), kAuthorizationSuccess);
    EXPECT_EQ(asked_, 1);
}

TEST_F(GrantTest, OfAForkedChildIsDeniedWithoutAsking) {
    static Grant* inherited;
    static int* asked;
    Grant grant = granted(bringsAnother());
    inherited = &grant;
    asked = &asked_;
    ::signal(SIGCHLD, SIG_DFL);
    EXPECT_EQ(test::exitStatusOfFork([] {
                  std::shared_ptr<AuthorizedToolStream> stream;
                  const auto status = inherited->execute("/bin/true", {}, stream);
                  return status == kAuthorizationDenied && *asked == 0 ? 1 : 0;
              }),
              1);
    EXPECT_TRUE(grant.isHeld());
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
