#include "quillmoor/platform/authorization.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/children/child_tools.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

AuthorizationItem item(const char* name, std::optional<std::string_view> value = std::nullopt) {
    return {name, value, 0};
}

const AuthorizationItemSet kAdmin = std::vector{item(kAuthorizationRightAdmin)};
constexpr AuthorizationFlags kNoInteraction =
    kAuthorizationFlagExtendRights | kAuthorizationFlagPreAuthorize;

AuthorizationItemSet credentials(std::optional<std::string_view> user,
                                 std::optional<std::string_view> password) {
    return std::vector{item(kAuthorizationEnvironmentUsername, user),
                       item(kAuthorizationEnvironmentPassword, password)};
}

class AuthorizationTest : public testing::Test {
  protected:
    void SetUp() override {
        ::unsetenv("KX_AUTHORIZED_UID");
        ASSERT_EQ(service_.create(std::nullopt, std::nullopt, 0, reference_),
                  kAuthorizationSuccess);
    }
    void TearDown() override { EXPECT_EQ(service_.free(reference_, 0), kAuthorizationSuccess); }
    AuthorizationStatus copyRights(const AuthorizationItemSet& rights,
                                   const AuthorizationItemSet& environment = std::nullopt) {
        return service_.copyRights(reference_, rights, environment, kNoInteraction);
    }
    AuthorizationStatus execute(const std::string& tool, const StringList& arguments = {}) {
        return service_.executeWithPrivileges(reference_, tool, 0, arguments, stream_);
    }

    Authorization& service_ = *native().authorization;
    AuthorizationRef reference_ = nullptr;
    std::shared_ptr<AuthorizedToolStream> stream_;
};

TEST_F(AuthorizationTest, MakesAReferenceWithoutAskingTheUser) {
    AuthorizationRef other = nullptr;
    EXPECT_EQ(service_.create(std::nullopt, credentials("nobody", "wrong"), 0, other),
              kAuthorizationSuccess);
    EXPECT_NE(other, nullptr);
    EXPECT_NE(other, reference_);
    EXPECT_EQ(service_.free(other, 0), kAuthorizationSuccess);
}

TEST_F(AuthorizationTest, RejectsANullReference) {
    EXPECT_EQ(service_.copyRights(nullptr, kAdmin, std::nullopt, 0),
              kAuthorizationInvalidReference);
    EXPECT_EQ(service_.executeWithPrivileges(nullptr, "/bin/true", 0, {}, stream_),
              kAuthorizationInvalidReference);
    EXPECT_EQ(service_.free(nullptr, 0), kAuthorizationInvalidReference);
}

TEST_F(AuthorizationTest, GrantsARequestForNoRights) {
    EXPECT_EQ(copyRights(std::nullopt), kAuthorizationSuccess);
    EXPECT_EQ(copyRights(std::vector<AuthorizationItem>{}), kAuthorizationSuccess);
    EXPECT_EQ(execute("/bin/true"), kAuthorizationDenied);
}

TEST_F(AuthorizationTest, DeniesOtherRights) {
    EXPECT_EQ(copyRights(std::vector{item("system.preferences")}), kAuthorizationDenied);
    EXPECT_EQ(copyRights(std::vector{item(kAuthorizationRightAdmin), item("system.preferences")}),
              kAuthorizationDenied);
    EXPECT_EQ(execute("/bin/true"), kAuthorizationDenied);
}

TEST_F(AuthorizationTest, ParentsHandNothingDownByThemselves) {
    AuthorizationRef handed = reference_;
    EXPECT_EQ(service_.copyPrivilegedReference(0, handed), kAuthorizationDenied);
    EXPECT_EQ(handed, reference_);
}

class UserAuthorization : public AuthorizationTest {
  protected:
    void SetUp() override {
        AuthorizationTest::SetUp();
        if (::getuid() == 0) GTEST_SKIP() << "about ordinary users";
        ASSERT_TRUE(watch_);
        ASSERT_GE(::inotify_add_watch(watch_.get(), std::getenv("XDG_RUNTIME_DIR"), IN_CREATE), 0);
    }
    // A socket was made for a helper, if only for a moment.
    bool wasRendezvousMade() const {
        pollfd made{watch_.get(), POLLIN, 0};
        return ::poll(&made, 1, 0) != 0;
    }

  private:
    posix::Descriptor watch_{::inotify_init1(IN_CLOEXEC)};
};

TEST_F(UserAuthorization, CredentialsAreTried) {
    EXPECT_NE(copyRights(kAdmin, credentials("nobody of this name", "word")),
              kAuthorizationSuccess);
    EXPECT_TRUE(wasRendezvousMade());
}

TEST_F(UserAuthorization, IsNotGrantedWithoutInteractionAndCredentials) {
    EXPECT_EQ(copyRights(kAdmin), kAuthorizationInteractionNotAllowed);
    for (const auto& half : {credentials("user", std::nullopt), credentials(std::nullopt, "word"),
                             credentials(std::nullopt, std::nullopt)})
        EXPECT_EQ(copyRights(kAdmin, half), kAuthorizationInteractionNotAllowed);
    EXPECT_EQ(execute("/bin/true"), kAuthorizationDenied);
    EXPECT_FALSE(wasRendezvousMade());
}

TEST_F(UserAuthorization, CredentialsOfMoreThanALineAreDeniedWithoutAsking) {
    using std::string_view;
    for (const auto& odd :
         {credentials(string_view("us\0er", 5), "word"), credentials("us\ner", "word"),
          credentials("user", string_view("\0", 1)), credentials("user", "word\n")})
        EXPECT_EQ(copyRights(kAdmin, odd), kAuthorizationDenied);
    EXPECT_FALSE(wasRendezvousMade());
}

TEST_F(UserAuthorization, CannotBeClaimedByTheEnvironment) {
    ::setenv("KX_AUTHORIZED_UID", "0", 1);
    AuthorizationRef handed = nullptr;
    EXPECT_EQ(service_.copyPrivilegedReference(0, handed), kAuthorizationDenied);
    EXPECT_EQ(handed, nullptr);
}

class RootAuthorization : public AuthorizationTest {
  protected:
    void SetUp() override {
        AuthorizationTest::SetUp();
        if (::getuid() != 0) GTEST_SKIP() << "for root";
    }
};

TEST_F(RootAuthorization, IsGrantedWithoutAsking) {
    EXPECT_EQ(execute("/bin/true"), kAuthorizationDenied);
    EXPECT_EQ(copyRights(kAdmin, credentials("nobody", "wrong")), kAuthorizationSuccess);
    ASSERT_EQ(execute("/usr/bin/id", {"-u"}), kAuthorizationSuccess);
    EXPECT_EQ(test::allOf(*stream_), "0\n");
}

TEST_F(RootAuthorization, ReportsAToolThatCannotBeStarted) {
    const test::TempFolder folder;
    ASSERT_EQ(copyRights(kAdmin), kAuthorizationSuccess);
    for (const std::string& tool :
         {std::string("true"), std::string(), folder / "missing", folder.path(),
          folder.writeFile("text"), std::string("/bin/true\0", 10)})
        EXPECT_EQ(execute(tool), kAuthorizationToolExecuteFailure) << tool;
    EXPECT_EQ(stream_, nullptr);
}

TEST_F(RootAuthorization, PassesItsAuthorizationToATool) {
    ASSERT_EQ(copyRights(kAdmin), kAuthorizationSuccess);
    ASSERT_EQ(execute(test::childPath("print_env")), kAuthorizationSuccess);
    EXPECT_THAT(test::allOf(*stream_), testing::HasSubstr("KX_AUTHORIZED_UID=0"));
}

TEST_F(RootAuthorization, UsesTheAuthorizationOfItsParentAndPassesItOn) {
    ::setenv("KX_AUTHORIZED_UID", "1234", 1);
    AuthorizationRef handed = nullptr;
    ASSERT_EQ(service_.copyPrivilegedReference(0, handed), kAuthorizationSuccess);
    ASSERT_EQ(service_.executeWithPrivileges(handed, test::childPath("print_env"), 0, {}, stream_),
              kAuthorizationSuccess);
    EXPECT_THAT(test::allOf(*stream_), testing::HasSubstr("KX_AUTHORIZED_UID=1234"));
    EXPECT_EQ(service_.copyRights(handed, kAdmin, std::nullopt, 0), kAuthorizationSuccess);
    EXPECT_EQ(service_.free(handed, 0), kAuthorizationSuccess);
}

}  // namespace
}  // namespace quillmoor::platform
