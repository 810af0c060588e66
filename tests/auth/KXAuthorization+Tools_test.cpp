#include <sys/stat.h>

#include <thread>

#include "tests/auth/auth_fixture.h"

namespace quillmoor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using AuthorizedTool = test::AuthTest;

TEST_F(AuthorizedTool, IsStartedWithRightsAndNotWaitedFor) {
    EXPECT_EQ(authorized().authExecTask("/bin/ls", {"-l", "a b", "", "\n$(id)\xFF"}), 0);
    EXPECT_THAT(authorization_.calls, ElementsAre("execute 9 0 /bin/ls -l 'a b' '' '\n$(id)\xFF'"));
    ASSERT_EQ(authorization_.streams.size(), 1U);
    EXPECT_EQ(authorization_.streams[0]->reads, 0);
}

TEST_F(AuthorizedTool, ThatIsWaitedForIsReadToTheEndOfItsOutput) {
    authorization_.output = "\xFF\x00 ok";
    authorization_.output.push_back('\0');
    const int characters = static_cast<int>(authorization_.output.size());
    EXPECT_EQ(authorized().authExecTask("/bin/ls", {}, Async::No), 0);
    EXPECT_EQ(authorization_.streams.at(0)->reads, characters + 1);
}

TEST_F(AuthorizedTool, ThatIsMissingIsReportedBeforeTheUserIsAsked) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    authorization_.calls.clear();
    EXPECT_EQ(session.authExecTask(folder_ / "no tool", {}), -2);
    EXPECT_EQ(session.authExecTask(std::nullopt, {}), -2);
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(console_.logged, ElementsAre("Unable to execute task: path " +
                                                 (folder_ / "no tool") + " doesn't exist",
                                             "Unable to execute task: path (null) doesn't exist"));
}

TEST_F(AuthorizedTool, RequestsRightsOnce) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    authorization_.calls.clear();
    EXPECT_EQ(session.authExecTask("/bin/ls", {}), 0);
    EXPECT_EQ(session.authExecTask("/bin/ls", {}), 0);
    EXPECT_THAT(authorization_.calls,
                ElementsAre("create nil nil 0", "rights 1 [system.privilege.admin=nil/0] nil 19",
                            "execute 1 0 /bin/ls", "execute 1 0 /bin/ls"));
}

TEST_F(AuthorizedTool, WithoutRightsIsNotStarted) {
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    EXPECT_EQ(KXAuthorization::sharedController()->authExecTask("/bin/ls", {}), -1);
    EXPECT_THAT(authorization_.started(), IsEmpty());
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(AuthorizedTool, WithoutAUserInterfaceIsNotStarted) {
    EXPECT_EQ(KXAuthorization::sharedController(WithGUI::No)->authExecTask("/bin/ls", {}), -1);
    EXPECT_THAT(console_.logged, ElementsAre("Unable to authorize"));
}

TEST_F(AuthorizedTool, ThatThePlatformRefusesReturnsItsStatus) {
    authorization_.executeStatus = platform::kAuthorizationToolExecuteFailure;
    EXPECT_EQ(authorized().authExecTask("/bin/ls", {}, Async::No), -60031);
    EXPECT_THAT(authorization_.streams, IsEmpty());
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(AuthorizedTool, ThatIsNotAProgramIsRefusedByThePlatform) {
    const std::string file = folder_.writeFile("file");
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    authorization_.executeStatus = platform::kAuthorizationToolExecuteFailure;
    EXPECT_EQ(authorized().authExecTask(file, {"x"}), -60031);
    EXPECT_THAT(authorization_.started(), ElementsAre(file + " x"));
    EXPECT_THAT(console_.logged, IsEmpty());
}

// The tool starts only when the user has answered.
TEST_F(AuthorizedTool, IsStartedOnlyAfterTheUserHasAnswered) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    std::size_t startedWhileAsked = 1;
    authorization_.whenAsked = [&] { startedWhileAsked = authorization_.started().size(); };
    EXPECT_TRUE(session.authRemoveFile("/item"));
    EXPECT_EQ(startedWhileAsked, 0U);
    EXPECT_THAT(authorization_.askedOn, ElementsAre(std::this_thread::get_id()));
    EXPECT_THAT(authorization_.started(), ElementsAre("/bin/rm -Rdf /item"));
}

TEST_F(AuthorizedTool, OfRootThatIsNotAProgramCountsAsStarted) {
    becomeRoot();
    const std::string file = folder_.writeFile("file");
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    KXAuthorization& session = *KXAuthorization::sharedController();
    EXPECT_EQ(session.authExecTask(file, {}), 0);
    EXPECT_EQ(session.authExecTask(file, {}, Async::No), 0);
    EXPECT_THAT(tasks_.launched, IsEmpty());
}

TEST_F(AuthorizedTool, OfRootIsStartedDirectly) {
    becomeRoot();
    KXAuthorization& session = *KXAuthorization::sharedController();
    EXPECT_EQ(session.authExecTask("/bin/ls", {"-l"}), 0);
    EXPECT_THAT(tasks_.launched, ElementsAre("/bin/ls -l"));
    EXPECT_EQ(session.authExecTask("/bin/ls", {"-a"}, Async::No), 0);
    EXPECT_THAT(tasks_.launched, ElementsAre("/bin/ls -l", "/bin/ls -a", "waited"));
    EXPECT_THAT(authorization_.started(), IsEmpty());
}

}  // namespace
}  // namespace quillmoor
