// KXAuthorization over the authorization services: each call in its order, with what the memory of
// the caller holds at that time, and who frees which reference.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/native_services.h"
#include "tests/auth/auth_fixture.h"
#include "tests/platform/macos/fakes/fake_security.h"

namespace quillmoor {
namespace {

using test::SecurityCall;
using test::SecurityItem;
using test::SecurityItems;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kRefused[] = "Authorization failed. Invalid username or password";
const SecurityItems kAdmin{{SecurityItem{"system.privilege.admin", 0, std::nullopt, 0}}};
// An invalid UTF-8 byte and a NUL count like any other.
const std::string kPassword("p\xC3\xA4\0\xff", 5);
const SecurityItems kCredentials{
    {SecurityItem{"username", 3, "ann", 0}, SecurityItem{"password", 5, kPassword, 0}}};

SecurityCall lookForParent() {
    return {.function = "AuthorizationCopyPrivilegedReference"};
}
SecurityCall createWith(const SecurityItems& environment) {
    return {.function = "AuthorizationCreate", .environment = environment};
}
SecurityCall ask(::AuthorizationRef reference, AuthorizationFlags flags,
                 const SecurityItems& environment) {
    return {.function = "AuthorizationCopyRights",
            .reference = reference,
            .flags = flags,
            .rights = kAdmin,
            .environment = environment};
}
SecurityCall askUser(::AuthorizationRef reference) {
    return ask(reference, 19, std::nullopt);
}
SecurityCall start(::AuthorizationRef reference, const char* tool, const StringList& arguments) {
    return {.function = "AuthorizationExecuteWithPrivileges",
            .reference = reference,
            .tool = tool,
            .arguments = arguments,
            .asksForPipe = true};
}
SecurityCall release(::AuthorizationRef reference) {
    return {.function = "AuthorizationFree", .reference = reference};
}

class MacSession : public test::AuthTest {
  protected:
    MacSession() { platform_->authorization = platform::nativeAuthorization(); }
    ~MacSession() override {
        EXPECT_EQ(security_.wronglyFreed, 0);
        session_.setAuthRef(nullptr);
    }

    ::AuthorizationRef held() const {
        return reinterpret_cast<::AuthorizationRef>(session_.authRef());
    }
    ::AuthorizationRef made(std::size_t index = 0) const { return security_.made.at(index); }
    // As a new process would: the session is made once in each.
    void begin() { session_.init(); }
    std::string openLog() {
        KXLog::createNewLog("Session");
        return logText();
    }
    static std::string logText() {
        KXLog::finishWriting();
        return test::readFile(KXLog::availableLogs().front());
    }

    test::FakeSecurity security_;
    KXAuthorization& session_ = *KXAuthorization::sharedController();
};

TEST_F(MacSession, BeginsWithoutRightsAndWithoutADialog) {
    begin();
    EXPECT_THAT(security_.calls, Contains(lookForParent()));
    EXPECT_EQ(held(), nullptr);
    EXPECT_FALSE(session_.isAuthorized());
    EXPECT_THAT(security_.made, IsEmpty());
}

TEST_F(MacSession, BeginsWithTheRightsOfItsParentAndFreesThem) {
    security_.passed = security_.makeReference();
    security_.calls.clear();
    begin();
    EXPECT_EQ(held(), security_.passed);
    EXPECT_TRUE(session_.authStart());
    session_.authEnd();
    EXPECT_THAT(security_.calls, ElementsAre(lookForParent(), release(security_.passed)));
    EXPECT_EQ(held(), nullptr);
    EXPECT_THAT(security_.open, IsEmpty());
}

TEST_F(MacSession, AsksTheUserOnceAndFreesOnce) {
    begin();
    security_.calls.clear();
    EXPECT_TRUE(session_.authStart());
    EXPECT_TRUE(session_.authStart());
    EXPECT_EQ(held(), made());
    session_.authEnd();
    session_.authEnd();
    EXPECT_THAT(security_.calls,
                ElementsAre(createWith(std::nullopt), askUser(made()), release(made())));
    EXPECT_EQ(held(), nullptr);
    EXPECT_THAT(security_.open, IsEmpty());
}

TEST_F(MacSession, FreesTheReferenceThatTheUserRefused) {
    begin();
    for (const OSStatus refusal : {-60005, -60006, -60007}) {
        security_.calls.clear();
        security_.granted = refusal;
        EXPECT_FALSE(session_.authStart());
        const ::AuthorizationRef last = security_.made.back();
        EXPECT_THAT(security_.calls,
                    ElementsAre(createWith(std::nullopt), askUser(last), release(last)));
        EXPECT_EQ(held(), nullptr);
        EXPECT_THAT(security_.open, IsEmpty());
    }
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(MacSession, FreesNothingWhereNoReferenceWasMade) {
    begin();
    security_.calls.clear();
    security_.created = -60008;
    EXPECT_FALSE(session_.authStart());
    EXPECT_FALSE(session_.authStartWithUser("ann", kPassword));
    EXPECT_THAT(security_.calls, ElementsAre(createWith(std::nullopt), createWith(kCredentials)));
    EXPECT_EQ(held(), nullptr);
    EXPECT_THAT(console_.logged, ElementsAre("Unable to create authRef - error -60008"));
}

TEST_F(MacSession, PassesTheCredentialsByteForByteToBothCalls) {
    begin();
    security_.calls.clear();
    EXPECT_TRUE(session_.authStartWithUser("ann", kPassword));
    EXPECT_EQ(held(), made());
    session_.authEnd();
    EXPECT_THAT(security_.calls, ElementsAre(createWith(kCredentials),
                                             ask(made(), 18, kCredentials), release(made())));
    EXPECT_THAT(security_.open, IsEmpty());
}

TEST_F(MacSession, AnEmptyNameIsAValueOfNoBytes) {
    begin();
    security_.calls.clear();
    const SecurityItems empty{
        {SecurityItem{"username", 0, "", 0}, SecurityItem{"password", 0, "", 0}}};
    EXPECT_TRUE(session_.authStartWithUser("", ""));
    EXPECT_THAT(security_.calls, ElementsAre(createWith(empty), ask(made(), 18, empty)));
    session_.authEnd();
}

TEST_F(MacSession, FreesTheReferenceThatTheCredentialsDidNotGet) {
    begin();
    const std::string before = openLog();
    security_.calls.clear();
    security_.granted = -60005;
    EXPECT_FALSE(session_.authStartWithUser("ann", kPassword));
    EXPECT_THAT(security_.calls, ElementsAre(createWith(kCredentials),
                                             ask(made(), 18, kCredentials), release(made())));
    EXPECT_EQ(held(), nullptr);
    EXPECT_THAT(security_.open, IsEmpty());
    EXPECT_THAT(console_.logged, ElementsAre(kRefused));
    EXPECT_TRUE(logText().substr(before.size()).ends_with(std::string(kRefused) + "\n"));
}

// Kept for compatibility: see authStartWithUser.
TEST_F(MacSession, CredentialsReplaceAReferenceThatIsNotFreed) {
    begin();
    EXPECT_TRUE(session_.authStart());
    EXPECT_TRUE(session_.authStartWithUser("ann", kPassword));
    EXPECT_EQ(held(), made(1));
    session_.authEnd();
    EXPECT_THAT(security_.open, ElementsAre(made(0)));
}

TEST_F(MacSession, GetsRightsForTheFirstToolAndKeepsThem) {
    begin();
    security_.calls.clear();
    security_.toolOutput = "";
    EXPECT_EQ(session_.authExecTask("/bin/mv", {"-f", "two words", "", "\xff"}), 0);
    EXPECT_EQ(session_.authExecTask("/bin/rm", {}), 0);
    EXPECT_THAT(security_.calls,
                ElementsAre(createWith(std::nullopt), askUser(made()),
                            start(made(), "/bin/mv", {"-f", "two words", "", "\xff"}),
                            start(made(), "/bin/rm", {})));
    EXPECT_THAT(security_.open, ElementsAre(made()));
    session_.authEnd();
    EXPECT_THAT(security_.open, IsEmpty());
}

TEST_F(MacSession, StartsNoToolWithoutRights) {
    begin();
    security_.calls.clear();
    security_.granted = -60006;
    EXPECT_EQ(session_.authExecTask("/bin/mv", {"-f"}), -1);
    EXPECT_THAT(security_.calls,
                ElementsAre(createWith(std::nullopt), askUser(made()), release(made())));
}

TEST_F(MacSession, KeepsItsRightsAfterAToolThatWasNotStarted) {
    begin();
    EXPECT_TRUE(session_.authStart());
    security_.calls.clear();
    security_.executed = -60031;
    EXPECT_EQ(session_.authExecTask("/bin/mv", {"-f"}, Async::No), -60031);
    EXPECT_THAT(security_.calls, ElementsAre(start(made(), "/bin/mv", {"-f"})));
    EXPECT_EQ(held(), made());
    session_.authEnd();
}

TEST_F(MacSession, ReadsTheOutputToItsEndOnlyIfItIsToWait) {
    begin();
    security_.toolOutput = "some output";
    char rest[32];
    EXPECT_EQ(session_.authExecTask("/bin/mv", {}, Async::Yes), 0);
    EXPECT_EQ(::recv(security_.pipeEnd, rest, sizeof rest, MSG_DONTWAIT), 11);
    EXPECT_EQ(session_.authExecTask("/bin/mv", {}, Async::No), 0);
    EXPECT_EQ(::recv(security_.pipeEnd, rest, sizeof rest, MSG_DONTWAIT), 0);
    EXPECT_GE(::fcntl(security_.pipeEnd, F_GETFD), 0) << "was closed";
    session_.authEnd();
}

TEST_F(MacSession, WaitsForNothingWithoutAStream) {
    begin();
    security_.hasPipe = false;
    EXPECT_EQ(session_.authExecTask("/bin/mv", {}, Async::No), 0);
    session_.authEnd();
}

// Kept for compatibility: see authEnd.
TEST_F(MacSession, OfRootCallsNothingAndFreesNothing) {
    becomeRoot();
    security_.passed = security_.makeReference();
    begin();
    EXPECT_EQ(held(), security_.passed);
    EXPECT_TRUE(session_.authStart());
    EXPECT_TRUE(session_.authStartWithUser("ann", kPassword));
    session_.authEnd();
    EXPECT_EQ(held(), nullptr);
    EXPECT_THAT(security_.calls, ElementsAre(lookForParent()));
    EXPECT_THAT(security_.open, ElementsAre(security_.passed));
}

}  // namespace
}  // namespace quillmoor
