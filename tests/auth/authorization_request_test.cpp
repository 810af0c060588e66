#include "quillmoor/auth/authorization_request.h"

#include <gtest/gtest.h>

#include "quillmoor/auth/operation_support.h"
#include "tests/auth/auth_fixture.h"

namespace quillmoor::test {
namespace {

using Authorization = KXFailure::Authorization;
using Reason = KXFailure::Reason;

KXFailure noted(platform::AuthorizationStatus status) {
    EXPECT_FALSE(recorded("op", [&] { return noteRequest(status); }));
    return KXFailure::last().value_or(KXFailure{});
}

TEST(AuthorizationRequest, NotesHowARequestForRightsEnded) {
    EXPECT_EQ(noted(platform::kAuthorizationDenied).authorization, Authorization::Denied);
    EXPECT_EQ(noted(platform::kAuthorizationDenied).reason, Reason::NotAuthorized);
    EXPECT_EQ(noted(platform::kAuthorizationCanceled).authorization, Authorization::Canceled);
    EXPECT_EQ(noted(platform::kAuthorizationCanceled).authorizationStatus, -60006);
    EXPECT_EQ(noted(platform::kAuthorizationInteractionNotAllowed).authorization,
              Authorization::Unavailable);
    EXPECT_EQ(noted(platform::kAuthorizationInteractionNotAllowed).reason, Reason::NotAuthorized);
}

TEST(AuthorizationRequest, NotesAnotherStatusAsTheSystems) {
    const KXFailure failure = noted(platform::kAuthorizationToolExecuteFailure);
    EXPECT_EQ(failure.authorization, Authorization::Failed);
    EXPECT_EQ(failure.reason, Reason::System);
    EXPECT_EQ(failure.platformStatus, -60031);
}

TEST(AuthorizationRequest, NotesNothingForASuccess) {
    EXPECT_TRUE(recorded("op", [] { return noteRequest(platform::kAuthorizationSuccess); }));
    EXPECT_FALSE(KXFailure::last());
}

TEST(AuthorizationRequest, NotesAProtectedFolder) {
    EXPECT_FALSE(recorded("op", [] { return noteProtected(); }));
    EXPECT_EQ(KXFailure::last()->reason, Reason::ProtectedFolder);
    EXPECT_EQ(KXFailure::last()->authorization, Authorization::Protected);
}

// Without a request, in the session of a process that may not ask.
class Sessions : public AuthTest {};

TEST_F(Sessions, WithoutUserInterfaceAreUnavailable) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    session.setAuthRef(nullptr);
    session.setHasGUI(false);
    EXPECT_FALSE(session.authRemoveFile(folder_.writeFile("file")));
    EXPECT_EQ(KXFailure::last()->authorization, Authorization::Unavailable);
    EXPECT_EQ(KXFailure::last()->path, folder_ / "file");
}

TEST_F(Sessions, WhoseTrashCannotBeUsedSaySo) {
    desktopTrash_.trashIsUsable = false;
    EXPECT_FALSE(authorized().authTrashFile(folder_.writeFile("file")));
    const auto failure = KXFailure::last();
    EXPECT_EQ(failure->description, console_.logged.back());
    EXPECT_EQ(failure->path, folder_ / "file");
    EXPECT_EQ(failure->authorization, Authorization::NotTried);
}

TEST_F(Sessions, OfRootHaveTheirRightsAndNoFailure) {
    becomeRoot();
    KXAuthorization& session = *KXAuthorization::sharedController();
    EXPECT_TRUE(session.authCreateDir("/new"));
    EXPECT_FALSE(KXFailure::last());
    // Counts as started although the task runner refuses it.
    EXPECT_EQ(session.authExecTask(folder_.writeFile("tool"), {}), 0);
    EXPECT_FALSE(KXFailure::last());
}

}  // namespace
}  // namespace quillmoor::test
