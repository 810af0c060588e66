#include "auth/KXAuthorization.h"

#include <thread>

#include "tests/auth/auth_fixture.h"

namespace quillmoor {
namespace {

using test::FakeAuthorization;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using AuthorizationSession = test::AuthTest;

TEST_F(AuthorizationSession, IsOneAndMayAskTheUserUnlessToldOtherwise) {
    KXAuthorization* const session = KXAuthorization::sharedController();
    ASSERT_NE(session, nullptr);
    EXPECT_EQ(KXAuthorization::sharedController(), session);
    EXPECT_TRUE(session->hasGUI());
}

TEST_F(AuthorizationSession, ItsFirstCallDecidesWhetherTheUserMayBeAsked) {
    KXAuthorization* const session = KXAuthorization::sharedController(WithGUI::No);
    EXPECT_EQ(KXAuthorization::sharedController(WithGUI::Yes), session);
    EXPECT_EQ(KXAuthorization::sharedController(), session);
    EXPECT_FALSE(session->hasGUI());
    session->setHasGUI(true);
    EXPECT_TRUE(session->hasGUI());
}

TEST_F(AuthorizationSession, IsAllocatedOnce) {
    EXPECT_NE(KXAuthorization::sharedController(), nullptr);
    EXPECT_EQ(KXAuthorization::allocWithZone(), nullptr);
}

TEST_F(AuthorizationSession, AnInstanceOfOnesOwnIsTheSharedOne) {
    KXAuthorization* const own = KXAuthorization::allocWithZone();
    ASSERT_NE(own, nullptr);
    EXPECT_EQ(KXAuthorization::allocWithZone(), nullptr);
    EXPECT_EQ(KXAuthorization::sharedController(), own);
    EXPECT_EQ(own->initWithoutGUI(), own);
    EXPECT_FALSE(own->hasGUI());
    EXPECT_EQ(own->init(), own);
    EXPECT_TRUE(own->hasGUI());
}

TEST_F(AuthorizationSession, IsMadeOnceByManyThreads) {
    std::vector<KXAuthorization*> seen(8);
    std::vector<std::thread> threads;
    for (KXAuthorization*& each : seen)
        threads.emplace_back([&each] { each = KXAuthorization::sharedController(WithGUI::No); });
    for (std::thread& thread : threads) thread.join();
    for (const KXAuthorization* each : seen) EXPECT_EQ(each, seen.front());
    EXPECT_THAT(authorization_.calls, ElementsAre("privileged 0"));
}

TEST_F(AuthorizationSession, CannotBeCopiedReleasedOrCounted) {
    KXAuthorization* const session = KXAuthorization::sharedController();
    EXPECT_EQ(session->retain(), session);
    EXPECT_EQ(session->autorelease(), session);
    EXPECT_EQ(session->copyWithZone(), session);
    session->release();
    EXPECT_EQ(session->retainCount(), 4294967295UL);
}

TEST_F(AuthorizationSession, AsksForNothingWhenItIsMade) {
    KXAuthorization* const session = KXAuthorization::sharedController();
    EXPECT_THAT(authorization_.calls, ElementsAre("privileged 0"));
    EXPECT_EQ(session->authRef(), nullptr);
    EXPECT_FALSE(session->isAuthorized());
}

TEST_F(AuthorizationSession, TakesOverWhatAPrivilegedParentHandedOver) {
    authorization_.handedOver = FakeAuthorization::reference(7);
    KXAuthorization* const session = KXAuthorization::sharedController();
    EXPECT_EQ(session->authRef(), FakeAuthorization::reference(7));
    EXPECT_TRUE(session->isAuthorized());
}

TEST_F(AuthorizationSession, NotesTheUsersHome) {
    EXPECT_EQ(KXAuthorization::sharedController()->userDirectory(), locations_.home);
}

TEST_F(AuthorizationSession, OfTheSuperUserHasNoHome) {
    becomeSuperUser();
    EXPECT_EQ(KXAuthorization::sharedController()->userDirectory(), std::nullopt);
}

TEST_F(AuthorizationSession, IsTornDownByGivingItsRightsUp) {
    KXAuthorization& session = authorized();
    session.dealloc();
    EXPECT_EQ(session.authRef(), nullptr);
    session.setAuthRef(FakeAuthorization::reference(8));
    session.finalize();
    EXPECT_EQ(session.authRef(), nullptr);
    EXPECT_THAT(authorization_.calls, ElementsAre("free 9 0", "free 8 0"));
}

}  // namespace
}  // namespace quillmoor
