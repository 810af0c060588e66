#include <thread>

#include "quillmoor/log/KXLog.h"
#include "tests/auth/auth_fixture.h"

namespace quillmoor {
namespace {

using test::FakeAuthorization;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kRefused[] = "Authorization failed. Invalid username or password";
constexpr char kCreate[] = "create nil nil 0";
constexpr char kAskUser[] = "rights 1 [system.privilege.admin=nil/0] nil 19";
constexpr char kCreateWithAnn[] = "create nil [username='ann'/0 password='secret'/0] 0";
constexpr char kAskWithAnn[] =
    "rights 1 [system.privilege.admin=nil/0] [username='ann'/0 password='secret'/0] 18";

class AuthorizationRights : public test::AuthTest {
  protected:
    KXAuthorization& session(WithGUI withGUI = WithGUI::Yes) {
        KXAuthorization& shared = *KXAuthorization::sharedController(withGUI);
        authorization_.calls.clear();
        return shared;
    }
    // A log of the test's own, and what is in it now.
    std::string openLog() {
        locations_.home = folder_.makeFolder("log home");
        KXLog::createNewLog("Rights");
        return logText();
    }
    static std::string logText() {
        KXLog::finishWriting();
        return test::readFile(KXLog::availableLogs().front());
    }
};

TEST_F(AuthorizationRights, AreAskedOfTheUser) {
    EXPECT_TRUE(session().authStart());
    EXPECT_THAT(authorization_.calls, ElementsAre(kCreate, kAskUser));
    EXPECT_EQ(session().authRef(), FakeAuthorization::reference(1));
    EXPECT_TRUE(session().isAuthorized());
}

TEST_F(AuthorizationRights, AreAskedForOnce) {
    EXPECT_TRUE(session().authStart());
    EXPECT_TRUE(session().authStart());
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

TEST_F(AuthorizationRights, ThatTheUserRefusesAreNotReported) {
    authorization_.rightsStatus = platform::kAuthorizationCanceled;
    KXAuthorization& refused = session();
    EXPECT_FALSE(refused.authStart());
    EXPECT_THAT(authorization_.calls, ElementsAre(kCreate, kAskUser, "free 1 0"));
    EXPECT_EQ(refused.authRef(), nullptr);
    EXPECT_FALSE(refused.isAuthorized());
    EXPECT_THAT(console_.logged, IsEmpty());
}

// The refusal is not remembered.
TEST_F(AuthorizationRights, ThatTheUserRefusesAreAskedForAgain) {
    KXAuthorization& shared = session();
    authorization_.rightsStatus = platform::kAuthorizationCanceled;
    EXPECT_FALSE(shared.authStart());
    authorization_.rightsStatus = platform::kAuthorizationSuccess;
    EXPECT_TRUE(shared.authStart());
    EXPECT_THAT(authorization_.calls,
                ElementsAre(kCreate, kAskUser, "free 1 0", kCreate,
                            "rights 2 [system.privilege.admin=nil/0] nil 19"));
    EXPECT_EQ(shared.authRef(), FakeAuthorization::reference(2));
}

TEST_F(AuthorizationRights, AreAskedForOnTheCallersThread) {
    KXAuthorization& shared = session();
    bool isAuthorizedWhileAsked = false;
    authorization_.whenAsked = [&] { isAuthorizedWhileAsked = shared.authRef() != nullptr; };
    EXPECT_TRUE(shared.authStart());
    EXPECT_THAT(authorization_.askedOn, ElementsAre(std::this_thread::get_id()));
    EXPECT_TRUE(isAuthorizedWhileAsked);
}

TEST_F(AuthorizationRights, ThatAreRefusedAreNotLogged) {
    const std::string before = openLog();
    authorization_.rightsStatus = platform::kAuthorizationCanceled;
    EXPECT_FALSE(session().authStart());
    authorization_.createStatus = platform::kAuthorizationInternal;
    EXPECT_FALSE(session().authStart());
    EXPECT_FALSE(session().authStartWithUser("ann", "secret"));
    session().setHasGUI(false);
    EXPECT_FALSE(session().authStart());
    EXPECT_THAT(console_.logged,
                ElementsAre("Unable to create authRef - error -60008", "Unable to authorize"));
    EXPECT_EQ(logText(), before);
}

TEST_F(AuthorizationRights, WithoutAReferenceAreNotRequested) {
    authorization_.stray = FakeAuthorization::reference(99);
    authorization_.createStatus = platform::kAuthorizationInternal;
    KXAuthorization& refused = session();
    EXPECT_FALSE(refused.authStart());
    EXPECT_THAT(authorization_.calls, ElementsAre(kCreate));
    EXPECT_EQ(refused.authRef(), nullptr);
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(AuthorizationRights, WithoutAUserInterfaceAreRefusedAtOnce) {
    KXAuthorization& silent = session(WithGUI::No);
    EXPECT_FALSE(silent.canAuthorize());
    EXPECT_FALSE(silent.authStart());
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(console_.logged, ElementsAre("Unable to authorize"));
}

TEST_F(AuthorizationRights, ThatAreHeldAreGrantedWithoutAUserInterface) {
    KXAuthorization& silent = session(WithGUI::No);
    silent.setAuthRef(FakeAuthorization::reference(3));
    EXPECT_TRUE(silent.authStart());
    EXPECT_FALSE(silent.canAuthorize());
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(AuthorizationRights, OfRootAreNeverRequested) {
    becomeRoot();
    KXAuthorization& own = session(WithGUI::No);
    EXPECT_TRUE(own.isAuthorized());
    EXPECT_TRUE(own.canAuthorize());
    EXPECT_TRUE(own.authStart());
    EXPECT_TRUE(own.authStartWithUser("ann", "secret"));
    EXPECT_TRUE(own.authStartWithUser(std::nullopt, std::nullopt));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_EQ(own.authRef(), nullptr);
}

TEST_F(AuthorizationRights, AreGrantedForANameAndAPasswordWithoutAskingTheUser) {
    KXAuthorization& silent = session(WithGUI::No);
    EXPECT_TRUE(silent.authStartWithUser("ann", "secret"));
    EXPECT_THAT(authorization_.calls, ElementsAre(kCreateWithAnn, kAskWithAnn));
    EXPECT_TRUE(silent.isAuthorized());
}

TEST_F(AuthorizationRights, ForANameAndAPasswordReplaceTheOldOnes) {
    KXAuthorization& old = session();
    old.setAuthRef(FakeAuthorization::reference(5));
    EXPECT_TRUE(old.authStartWithUser("ann", "secret"));
    EXPECT_THAT(authorization_.calls, ElementsAre(kCreateWithAnn, kAskWithAnn));
    EXPECT_EQ(old.authRef(), FakeAuthorization::reference(1));
}

TEST_F(AuthorizationRights, ForAWrongPasswordAreReportedOnTheConsoleAndInTheLog) {
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    locations_.home = folder_.makeFolder("log home");
    KXLog::createNewLog("Rights");
    KXAuthorization& refused = session();
    EXPECT_FALSE(refused.authStartWithUser("ann", "secret"));
    KXLog::finishWriting();
    EXPECT_THAT(authorization_.calls, ElementsAre(kCreateWithAnn, kAskWithAnn, "free 1 0"));
    EXPECT_EQ(refused.authRef(), nullptr);
    EXPECT_THAT(console_.logged, ElementsAre(kRefused));
    ASSERT_EQ(KXLog::availableLogs().size(), 1U);
    const std::string log = test::readFile(KXLog::availableLogs().front());
    EXPECT_THAT(log, ::testing::EndsWith(std::string(" - ") + kRefused + "\n"));
    EXPECT_EQ(log.find("secret"), std::string::npos);
}

TEST_F(AuthorizationRights, ForAWrongPasswordAreReportedOnTheConsoleFirst) {
    class Console : public test::AuthConsole {
      public:
        std::string logBefore;
        void log(std::string_view text) override {
            KXLog::finishWriting();
            logBefore = test::readFile(KXLog::availableLogs().front());
            AuthConsole::log(text);
        }
    };
    Console console;
    platform_->console = &console;
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    locations_.home = folder_.makeFolder("log home");
    KXLog::createNewLog("Rights");
    EXPECT_FALSE(session().authStartWithUser("ann", "secret"));
    KXLog::finishWriting();
    EXPECT_EQ(console.logBefore.find(kRefused), std::string::npos);
    EXPECT_NE(test::readFile(KXLog::availableLogs().front()).find(kRefused), std::string::npos);
}

TEST_F(AuthorizationRights, WithoutAReferenceForANameAreReportedOnTheConsole) {
    authorization_.createStatus = -60008;
    KXAuthorization& refused = session();
    refused.setAuthRef(FakeAuthorization::reference(5));
    EXPECT_FALSE(refused.authStartWithUser("ann", "secret"));
    EXPECT_THAT(authorization_.calls, ElementsAre(kCreateWithAnn));
    EXPECT_EQ(refused.authRef(), nullptr);
    EXPECT_THAT(console_.logged, ElementsAre("Unable to create authRef - error -60008"));
}

TEST_F(AuthorizationRights, WithoutANameOrAPasswordAreLeftUnchanged) {
    KXAuthorization& held = session();
    held.setAuthRef(FakeAuthorization::reference(5));
    EXPECT_FALSE(held.authStartWithUser(std::nullopt, "secret"));
    EXPECT_FALSE(held.authStartWithUser("ann", std::nullopt));
    EXPECT_EQ(held.authRef(), FakeAuthorization::reference(5));
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

TEST_F(AuthorizationRights, ForAWrongPasswordAreFreedBeforeTheReport) {
    class Console : public test::AuthConsole {
      public:
        explicit Console(const StringList& calls) : calls_(calls) {}
        StringList callsBefore;
        void log(std::string_view) override { callsBefore = calls_; }

      private:
        const StringList& calls_;
    };
    Console console(authorization_.calls);
    platform_->console = &console;
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    EXPECT_FALSE(session().authStartWithUser("ann", "secret"));
    EXPECT_THAT(console.callsBefore, ElementsAre(kCreateWithAnn, kAskWithAnn, "free 1 0"));
}

TEST_F(AuthorizationRights, WithoutANameOrAPasswordAreRefusedWithoutAReport) {
    EXPECT_FALSE(session().authStartWithUser(std::nullopt, "secret"));
    EXPECT_FALSE(session().authStartWithUser("ann", std::nullopt));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(AuthorizationRights, ForAnEmptyNameAndPasswordAreRequestedWithEmptyValues) {
    EXPECT_TRUE(session().authStartWithUser("", ""));
    EXPECT_EQ(authorization_.calls.front(), "create nil [username=''/0 password=''/0] 0");
}

TEST_F(AuthorizationRights, ForANameAreRequestedWithItsBytesUnchanged) {
    EXPECT_TRUE(session().authStartWithUser("J\xC3\xB6rg\n", "p\xFFw"));
    EXPECT_EQ(authorization_.calls.front(),
              "create nil [username='J\xC3\xB6rg\n'/0 password='p\xFFw'/0] 0");
}

TEST_F(AuthorizationRights, EndByFreeingTheReference) {
    KXAuthorization& held = session();
    EXPECT_TRUE(held.authStart());
    authorization_.calls.clear();
    held.authEnd();
    EXPECT_THAT(authorization_.calls, ElementsAre("free 1 0"));
    EXPECT_FALSE(held.isAuthorized());
    held.authEnd();
    EXPECT_THAT(authorization_.calls, ElementsAre("free 1 0"));
}

TEST_F(AuthorizationRights, ThatRootWasPassedAreDroppedWithoutBeingFreed) {
    becomeRoot();
    authorization_.handedOver = FakeAuthorization::reference(7);
    KXAuthorization& own = session();
    EXPECT_EQ(own.authRef(), FakeAuthorization::reference(7));
    own.authEnd();
    EXPECT_EQ(own.authRef(), nullptr);
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_TRUE(own.isAuthorized());
}

TEST_F(AuthorizationRights, AreAPlainReferenceThatCanBeSet) {
    KXAuthorization& held = session();
    held.setAuthRef(FakeAuthorization::reference(5));
    held.setAuthRef(FakeAuthorization::reference(6));
    EXPECT_EQ(held.authRef(), FakeAuthorization::reference(6));
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

}  // namespace
}  // namespace quillmoor
