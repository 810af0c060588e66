#include "quillmoor/platform/authorization.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "quillmoor/platform/macos/authorization/obsolete_calls_macos.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "quillmoor/platform/native_services.h"
#include "tests/platform/macos/fakes/fake_security.h"

namespace quillmoor::platform {
namespace {

using test::SecurityCall;
using test::SecurityItem;
using test::SecurityItems;

AuthorizationItemSet adminRight() {
    return std::vector{AuthorizationItem{kAuthorizationRightAdmin, std::nullopt, 0}};
}
const SecurityItems kAdminAsPassed{{SecurityItem{"system.privilege.admin", 0, std::nullopt, 0}}};

class MacAuthorizationTest : public testing::Test {
  protected:
    Authorization& service() { return *nativeAuthorization(); }

    AuthorizationRef create() {
        AuthorizationRef reference = nullptr;
        EXPECT_EQ(service().create(std::nullopt, std::nullopt, 0, reference), 0);
        return reference;
    }
    const SecurityCall& lastCall() const { return security_.calls.back(); }
    int callsOf(const std::string& function) const {
        int count = 0;
        for (const SecurityCall& call : security_.calls) count += call.function == function ? 1 : 0;
        return count;
    }

    test::FakeSecurity security_;
    std::shared_ptr<AuthorizedToolStream> stream_;
};

TEST_F(MacAuthorizationTest, CreatesWithoutRightsEnvironmentOrFlags) {
    const AuthorizationRef reference = create();
    ASSERT_EQ(security_.calls.size(), 1U);
    EXPECT_EQ(lastCall().function, "AuthorizationCreate");
    EXPECT_EQ(lastCall().flags, 0U);
    EXPECT_EQ(lastCall().rights, std::nullopt);
    EXPECT_EQ(lastCall().environment, std::nullopt);
    EXPECT_EQ(reinterpret_cast<::AuthorizationRef>(reference), security_.open.at(0));
}

TEST_F(MacAuthorizationTest, CreatesWithTheItemsByteForByte) {
    const std::string password("p\xC3\xA4\0ss", 6);
    const AuthorizationItemSet environment = std::vector{
        AuthorizationItem{kAuthorizationEnvironmentUsername, "alice", 0},
        AuthorizationItem{kAuthorizationEnvironmentPassword, password, 0},
        AuthorizationItem{"prompt", "Type your password.", 0},
        AuthorizationItem{"icon", "/tmp/icon.png", 7}, AuthorizationItem{"empty", "", 0}};
    AuthorizationRef reference = nullptr;
    ASSERT_EQ(service().create(std::nullopt, environment, 0, reference), 0);
    const SecurityItems expected{
        {SecurityItem{"username", 5, "alice", 0}, SecurityItem{"password", 6, password, 0},
         SecurityItem{"prompt", 19, "Type your password.", 0},
         SecurityItem{"icon", 13, "/tmp/icon.png", 7}, SecurityItem{"empty", 0, "", 0}}};
    EXPECT_EQ(lastCall().environment, expected);
}

TEST_F(MacAuthorizationTest, AFailureToCreateLeavesTheReferenceAlone) {
    auto* const before = reinterpret_cast<AuthorizationRef>(&stream_);
    AuthorizationRef reference = before;
    for (const OSStatus status : {-60002, -60005, -60008}) {
        security_.created = status;
        EXPECT_EQ(service().create(std::nullopt, std::nullopt, 0, reference), status);
        EXPECT_EQ(reference, before);
    }
}

TEST_F(MacAuthorizationTest, RequestsTheRightInteractivelyWithFlags19) {
    const AuthorizationRef reference = create();
    ASSERT_EQ(
        service().copyRights(reference, adminRight(), std::nullopt,
                             kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights |
                                 kAuthorizationFlagPreAuthorize),
        0);
    EXPECT_EQ(lastCall().function, "AuthorizationCopyRights");
    EXPECT_EQ(lastCall().reference, security_.open.at(0));
    EXPECT_EQ(lastCall().flags, 19U);
    EXPECT_EQ(lastCall().rights, kAdminAsPassed);
    EXPECT_EQ(lastCall().environment, std::nullopt);
    EXPECT_FALSE(lastCall().asksForGrantedRights);
}

TEST_F(MacAuthorizationTest, TriesCredentialsWithFlags18) {
    const AuthorizationRef reference = create();
    const AuthorizationItemSet environment =
        std::vector{AuthorizationItem{kAuthorizationEnvironmentUsername, "", 0},
                    AuthorizationItem{kAuthorizationEnvironmentPassword, "secret", 0}};
    ASSERT_EQ(service().copyRights(reference, adminRight(), environment,
                                   kAuthorizationFlagExtendRights | kAuthorizationFlagPreAuthorize),
              0);
    EXPECT_EQ(lastCall().flags, 18U);
    EXPECT_EQ(lastCall().rights, kAdminAsPassed);
    const SecurityItems expected{
        {SecurityItem{"username", 0, "", 0}, SecurityItem{"password", 6, "secret", 0}}};
    EXPECT_EQ(lastCall().environment, expected);
}

TEST_F(MacAuthorizationTest, ReturnsTheStatusOfARequest) {
    const AuthorizationRef reference = create();
    for (const OSStatus status : {-60005, -60006, -60007, -60008}) {
        security_.granted = status;
        EXPECT_EQ(service().copyRights(reference, adminRight(), std::nullopt, 19), status);
    }
    // Who frees the reference after a refusal is decided by the caller.
    EXPECT_EQ(callsOf("AuthorizationFree"), 0);
    EXPECT_EQ(security_.open.size(), 1U);
}

TEST_F(MacAuthorizationTest, ARequestForNoRightsPassesAnEmptyList) {
    const AuthorizationRef reference = create();
    ASSERT_EQ(service().copyRights(reference, std::nullopt, std::nullopt, 0), 0);
    EXPECT_EQ(lastCall().rights, SecurityItems{std::vector<SecurityItem>{}});
}

TEST_F(MacAuthorizationTest, FreesOnceWithTheFlagsGiven) {
    for (const AuthorizationFlags flags : {0U, 8U}) {
        const AuthorizationRef reference = create();
        const int before = callsOf("AuthorizationFree");
        EXPECT_EQ(service().free(reference, flags), 0);
        EXPECT_EQ(lastCall().flags, flags);
        EXPECT_EQ(callsOf("AuthorizationFree"), before + 1);
    }
    EXPECT_TRUE(security_.open.empty());
    EXPECT_EQ(security_.wronglyFreed, 0);
    EXPECT_EQ(service().free(nullptr, 0), kAuthorizationInvalidReference);
}

TEST_F(MacAuthorizationTest, TakesOverTheReferenceOfAParent) {
    AuthorizationRef reference = nullptr;
    EXPECT_EQ(service().copyPrivilegedReference(0, reference), kAuthorizationInvalidReference);
    EXPECT_EQ(reference, nullptr);
    security_.passed = security_.makeReference();
    ASSERT_EQ(service().copyPrivilegedReference(0, reference), 0);
    EXPECT_EQ(reinterpret_cast<::AuthorizationRef>(reference), security_.passed);
    EXPECT_EQ(lastCall().function, "AuthorizationCopyPrivilegedReference");
    EXPECT_EQ(lastCall().flags, 0U);
}

TEST_F(MacAuthorizationTest, StartsAToolWithItsArgumentsAndAPipe) {
    const AuthorizationRef reference = create();
    ASSERT_EQ(service().executeWithPrivileges(
                  reference, "/bin/mv", 0, {"-f", "two words", "", "\xff", "line\nbreak"}, stream_),
              0);
    EXPECT_EQ(lastCall().function, "AuthorizationExecuteWithPrivileges");
    EXPECT_EQ(lastCall().reference, security_.open.at(0));
    EXPECT_EQ(lastCall().flags, 0U);
    EXPECT_EQ(lastCall().tool, "/bin/mv");
    EXPECT_EQ(lastCall().arguments, (StringList{"-f", "two words", "", "\xff", "line\nbreak"}));
    EXPECT_TRUE(lastCall().asksForPipe);
    ASSERT_NE(stream_, nullptr);
}

TEST_F(MacAuthorizationTest, AToolWithoutArgumentsGetsAnEmptyList) {
    ASSERT_EQ(service().executeWithPrivileges(create(), "/bin/ls", 0, {}, stream_), 0);
    EXPECT_TRUE(lastCall().arguments.empty());
}

TEST_F(MacAuthorizationTest, ReadsAndWritesBothWaysOverThePipe) {
    ASSERT_EQ(service().executeWithPrivileges(create(), "/bin/cat", 0, {}, stream_), 0);
    EXPECT_TRUE(stream_->write("to the tool"));
    char text[32] = {};
    EXPECT_EQ(::read(security_.toolEnd, text, sizeof text), 11);
    EXPECT_STREQ(text, "to the tool");
    ASSERT_EQ(::write(security_.toolEnd, "a\xff", 2), 2);
    EXPECT_EQ(stream_->readCharacter(), 'a');
    EXPECT_EQ(stream_->readCharacter(), 0xff);
    ::close(security_.toolEnd);
    security_.toolEnd = -1;
    EXPECT_EQ(stream_->readCharacter(), -1);
    EXPECT_FALSE(stream_->write("too late"));
}

TEST_F(MacAuthorizationTest, LeavesThePipeOpenAndToNoChild) {
    ASSERT_EQ(service().executeWithPrivileges(create(), "/bin/cat", 0, {}, stream_), 0);
    EXPECT_EQ(::fcntl(security_.pipeEnd, F_GETFD), FD_CLOEXEC);
    stream_.reset();
    EXPECT_EQ(::fcntl(security_.pipeEnd, F_GETFD), FD_CLOEXEC);
    ::close(security_.pipeEnd);
}

TEST_F(MacAuthorizationTest, ReturnsTheStatusOfAToolThatWasNotStarted) {
    const AuthorizationRef reference = create();
    for (const OSStatus status : {-60005, -60006, -60031}) {
        security_.executed = status;
        EXPECT_EQ(service().executeWithPrivileges(reference, "/bin/ls", 0, {}, stream_), status);
        EXPECT_EQ(stream_, nullptr);
    }
}

// The system makes the stream last, when the tool already runs.
TEST_F(MacAuthorizationTest, AToolWithoutAStreamHasBeenStartedAllTheSame) {
    const AuthorizationRef reference = create();
    security_.hasPipe = false;
    ASSERT_EQ(service().executeWithPrivileges(reference, "/bin/ls", 0, {}, stream_), 0);
    ASSERT_NE(stream_, nullptr);
    EXPECT_EQ(stream_->readCharacter(), -1);
    EXPECT_FALSE(stream_->write("x"));
}

TEST_F(MacAuthorizationTest, StartsNothingThatCannotBePassedOn) {
    const AuthorizationRef reference = create();
    const std::string nul("/bin/ls\0x", 9);
    for (const std::string& tool : {std::string(), std::string("ls"), nul})
        EXPECT_EQ(service().executeWithPrivileges(reference, tool, 0, {}, stream_), -60031) << tool;
    EXPECT_EQ(service().executeWithPrivileges(reference, "/bin/ls", 0, {nul}, stream_), -60031);
    EXPECT_EQ(service().executeWithPrivileges(nullptr, "/bin/ls", 0, {}, stream_), -60002);
    EXPECT_EQ(callsOf("AuthorizationExecuteWithPrivileges"), 0);
    EXPECT_EQ(stream_, nullptr);
}

TEST_F(MacAuthorizationTest, WithoutTheObsoleteCallsNoToolIsStartedAndNothingTakenOver) {
    AuthorizationRef reference = create();
    const AuthorizationRef made = reference;
    security_.passed = security_.makeReference();
    const macos::CallFinder before =
        macos::exchangeCallFinder([](const char*) -> void* { return nullptr; });
    EXPECT_EQ(service().executeWithPrivileges(reference, "/bin/ls", 0, {}, stream_),
              kAuthorizationToolExecuteFailure);
    EXPECT_EQ(service().copyPrivilegedReference(0, reference), kAuthorizationInvalidReference);
    macos::exchangeCallFinder(before);
    EXPECT_EQ(stream_, nullptr);
    EXPECT_EQ(reference, made);
}

}  // namespace
}  // namespace quillmoor::platform
