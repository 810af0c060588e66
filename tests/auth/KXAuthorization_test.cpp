#include "quillmoor/auth/KXAuthorization.h"

#include <barrier>
#include <future>
#include <thread>

#include "tests/auth/auth_fixture.h"

namespace quillmoor {
namespace {

using test::FakeAuthorization;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using AuthorizationSession = test::AuthTest;

TEST_F(AuthorizationSession, ExistsOnceAndMayAskTheUserByDefault) {
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

TEST_F(AuthorizationSession, AnAllocatedInstanceIsTheSharedOne) {
    KXAuthorization* const own = KXAuthorization::allocWithZone();
    ASSERT_NE(own, nullptr);
    EXPECT_EQ(KXAuthorization::allocWithZone(), nullptr);
    EXPECT_EQ(KXAuthorization::sharedController(), own);
    EXPECT_EQ(own->initWithoutGUI(), own);
    EXPECT_FALSE(own->hasGUI());
    EXPECT_EQ(own->init(), own);
    EXPECT_TRUE(own->hasGUI());
}

TEST_F(AuthorizationSession, IsCreatedOnceByManyThreads) {
    constexpr int kThreads = 32;
    authorization_.handedOver = FakeAuthorization::reference(7);
    std::barrier together(kThreads);
    std::vector<KXAuthorization*> seen(kThreads);
    std::vector<platform::AuthorizationRef> held(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] {
            together.arrive_and_wait();
            seen[i] = KXAuthorization::sharedController(WithGUI::No);
            held[i] = seen[i]->authRef();
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(seen, Each(seen.front()));
    EXPECT_THAT(held, Each(FakeAuthorization::reference(7)));
    EXPECT_THAT(authorization_.calls, ElementsAre("privileged 0"));
}

// While a session is being created, no other thread can see it. A thread that
// did not wait would have finished long before this test stops waiting for it.
TEST_F(AuthorizationSession, IsNotReturnedBeforeItIsReady) {
    std::future<KXAuthorization*> shared;
    std::future<KXAuthorization*> second;
    authorization_.whenMade = [&] {
        shared = std::async(std::launch::async, [] { return KXAuthorization::sharedController(); });
        second = std::async(std::launch::async, [] { return KXAuthorization::allocWithZone(); });
        const auto patience = std::chrono::milliseconds(200);
        EXPECT_EQ(shared.wait_for(patience), std::future_status::timeout);
        EXPECT_EQ(second.wait_for(patience), std::future_status::timeout);
    };
    KXAuthorization* const session = KXAuthorization::sharedController();
    EXPECT_EQ(shared.get(), session);
    EXPECT_EQ(second.get(), nullptr);
}

TEST_F(AuthorizationSession, CannotBeCopiedReleasedOrCounted) {
    KXAuthorization* const session = KXAuthorization::sharedController();
    EXPECT_EQ(session->retain(), session);
    EXPECT_EQ(session->autorelease(), session);
    EXPECT_EQ(session->copyWithZone(), session);
    session->release();
    EXPECT_EQ(session->retainCount(), 4294967295UL);
}

TEST_F(AuthorizationSession, RequestsNothingWhenItIsCreated) {
    KXAuthorization* const session = KXAuthorization::sharedController();
    EXPECT_THAT(authorization_.calls, ElementsAre("privileged 0"));
    EXPECT_EQ(session->authRef(), nullptr);
    EXPECT_FALSE(session->isAuthorized());
}

TEST_F(AuthorizationSession, KeepsAReferenceFromAParent) {
    authorization_.handedOver = FakeAuthorization::reference(7);
    KXAuthorization* const session = KXAuthorization::sharedController();
    EXPECT_EQ(session->authRef(), FakeAuthorization::reference(7));
    EXPECT_TRUE(session->isAuthorized());
}

TEST_F(AuthorizationSession, KeepsNoReferenceAfterAFailure) {
    authorization_.handedOver = FakeAuthorization::reference(7);
    authorization_.handOverStatus = -60008;
    KXAuthorization* const session = KXAuthorization::sharedController();
    EXPECT_EQ(session->authRef(), nullptr);
    EXPECT_FALSE(session->isAuthorized());
}

TEST_F(AuthorizationSession, HasNoRightsWithoutAReferenceFromAParent) {
    authorization_.handsOverNothing = true;
    EXPECT_FALSE(KXAuthorization::sharedController()->isAuthorized());
}

TEST_F(AuthorizationSession, StoresTheUsersHomeOnce) {
    KXAuthorization* const session = KXAuthorization::sharedController();
    const std::string home = locations_.home;
    locations_.home = locations_.ownHome = folder_.makeFolder("new home");
    EXPECT_EQ(session->userDirectory(), home);
}

TEST_F(AuthorizationSession, StoresTheUsersHome) {
    EXPECT_EQ(KXAuthorization::sharedController()->userDirectory(), locations_.home);
}

TEST_F(AuthorizationSession, OfRootHasNoHome) {
    becomeRoot();
    EXPECT_EQ(KXAuthorization::sharedController()->userDirectory(), std::nullopt);
}

TEST_F(AuthorizationSession, DeallocReleasesItsRights) {
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
