#include "quillmoor/log/KXLog.h"
#include "tests/auth/auth_fixture.h"

namespace quillmoor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class AuthorizedFiles : public test::AuthTest {
  protected:
    std::string file_ = folder_.writeFile("a file", "text");
};

TEST_F(AuthorizedFiles, AreRemovedByTheSystemsTool) {
    EXPECT_TRUE(authorized().authRemoveFile(file_));
    EXPECT_THAT(authorization_.started(),
                ElementsAre(test::commandLine("/bin/rm", {"-Rdf", file_})));
}

TEST_F(AuthorizedFiles, AreRemovedWithoutACheckThatTheyExist) {
    KXAuthorization& session = authorized();
    EXPECT_TRUE(session.authRemoveFile("/no/such/item"));
    EXPECT_TRUE(session.authRemoveFile(std::nullopt));
    EXPECT_THAT(authorization_.started(),
                ElementsAre("/bin/rm -Rdf /no/such/item", "/bin/rm -Rdf"));
}

TEST_F(AuthorizedFiles, AreMoved) {
    EXPECT_TRUE(authorized().authMoveFile(file_, "/new"));
    EXPECT_THAT(authorization_.started(),
                ElementsAre(test::commandLine("/bin/mv", {"-f", file_, "/new"})));
}

TEST_F(AuthorizedFiles, AreCopied) {
    EXPECT_TRUE(authorized().authCopyFile(file_, "/new"));
    EXPECT_THAT(authorization_.started(),
                ElementsAre(test::commandLine("/bin/cp", {"-f", "-p", "-R", file_, "/new"})));
}

TEST_F(AuthorizedFiles, ThatAreMissingAreNeitherMovedNorCopied) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    authorization_.calls.clear();
    EXPECT_FALSE(session.authMoveFile(folder_ / "gone", "/new"));
    EXPECT_FALSE(session.authCopyFile(folder_ / "gone", "/new"));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(AuthorizedFiles, WithoutAPathAreReportedOnTheConsole) {
    KXAuthorization& session = authorized();
    EXPECT_FALSE(session.authMoveFile(std::nullopt, std::nullopt));
    EXPECT_FALSE(session.authMoveFile(file_, std::nullopt));
    EXPECT_FALSE(session.authCopyFile(std::nullopt, std::nullopt));
    EXPECT_FALSE(session.authCopyFile(file_, std::nullopt));
    EXPECT_THAT(console_.logged, ElementsAre("Error in authMoveFile: old path is null",
                                             "Error in authMoveFile: new path is null",
                                             "Error in authCopyFile: old path is null",
                                             "Error in authCopyFile: new path is null"));
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

TEST_F(AuthorizedFiles, ThatAreProtectedAreRefusedBeforeTheUserIsAsked) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    authorization_.calls.clear();
    EXPECT_FALSE(session.authRemoveFile("/"));
    EXPECT_FALSE(session.authMoveFile("/Library", "/new"));
    EXPECT_FALSE(session.authMoveFolderContents("/Applications", "/new"));
    EXPECT_FALSE(session.authRemoveFile(locations_.home));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(console_.logged,
                ElementsAre("Unable to delete path / because it is a system directory.",
                            "Unable to move path /Library because it is a system directory.",
                            "Unable to move contents of path /Applications because it is a system "
                            "directory.",
                            "Unable to delete path " + locations_.home +
                                " because it is a system directory."));
}

TEST_F(AuthorizedFiles, ThatAreProtectedAreRefusedToRootToo) {
    becomeRoot();
    KXAuthorization& session = *KXAuthorization::sharedController();
    EXPECT_FALSE(session.authRemoveFile("/Library"));
    EXPECT_FALSE(session.authMoveFile("/Volumes", "/new"));
    EXPECT_THAT(tasks_.launched, IsEmpty());
}

// Only the folders themselves are protected, and only without a trailing slash.
TEST_F(AuthorizedFiles, InsideProtectedFoldersAreNotProtected) {
    KXAuthorization& session = authorized();
    EXPECT_TRUE(session.authRemoveFile("/Library/Startup"));
    EXPECT_TRUE(session.authRemoveFile("/usr"));
    EXPECT_TRUE(session.authRemoveFile("/Library/"));
    EXPECT_THAT(authorization_.started(),
                ElementsAre("/bin/rm -Rdf /Library/Startup", "/bin/rm -Rdf /usr",
                            "/bin/rm -Rdf /Library/"));
}

TEST_F(AuthorizedFiles, ThatAreProtectedMayBeCopiedAndBeDestinations) {
    KXAuthorization& session = authorized();
    EXPECT_TRUE(session.authCopyFile("/", "/new"));
    EXPECT_TRUE(session.authMoveFile(file_, "/Library"));
    EXPECT_THAT(authorization_.started(),
                ElementsAre("/bin/cp -f -p -R / /new",
                            test::commandLine("/bin/mv", {"-f", file_, "/Library"})));
}

TEST_F(AuthorizedFiles, OfAFolderWithoutADestinationAreReportedOneByOne) {
    folder_.writeFile("full/one");
    folder_.writeFile("full/two");
    EXPECT_FALSE(authorized().authMoveFolderContents(folder_ / "full", std::nullopt));
    EXPECT_THAT(console_.logged, ElementsAre("Error in authMoveFile: new path is null",
                                             "Error in authMoveFile: new path is null"));
    EXPECT_THAT(authorization_.started(), IsEmpty());
}

TEST_F(AuthorizedFiles, OfAFolderAreMovedOneByOne) {
    folder_.writeFile("full/one");
    folder_.writeFile("full/.hidden");
    folder_.makeFolder("full/two words");
    const std::string full = folder_ / "full";
    EXPECT_TRUE(authorized().authMoveFolderContents(full, "/to"));
    EXPECT_THAT(
        authorization_.started(),
        UnorderedElementsAre(
            "/bin/mv -f " + full + "/one /to/one", "/bin/mv -f " + full + "/.hidden /to/.hidden",
            test::commandLine("/bin/mv", {"-f", full + "/two words", "/to/two words"})));
}

TEST_F(AuthorizedFiles, OfAFolderAreAllTriedWhenOneFails) {
    test::ListingFileManager manager;
    manager.listings["/from"] = {"one", "two", "three"};
    platform_->fileManager = &manager;
    for (std::size_t failing = 0; failing < 3; ++failing) {
        KXAuthorization& session = authorized();
        authorization_.executeStatuses = {0, 0, 0};
        authorization_.executeStatuses[failing] = platform::kAuthorizationToolExecuteFailure;
        EXPECT_FALSE(session.authMoveFolderContents("/from", "/to"));
        EXPECT_THAT(authorization_.started(),
                    ElementsAre("/bin/mv -f /from/one /to/one", "/bin/mv -f /from/two /to/two",
                                "/bin/mv -f /from/three /to/three"));
    }
}

TEST_F(AuthorizedFiles, OfAFolderMayBeMovedIntoAProtectedFolder) {
    test::ListingFileManager manager;
    manager.listings["/from"] = {"one"};
    platform_->fileManager = &manager;
    EXPECT_TRUE(authorized().authMoveFolderContents("/from", "/Users/Shared"));
    EXPECT_THAT(authorization_.started(), ElementsAre("/bin/mv -f /from/one /Users/Shared/one"));
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(AuthorizedFiles, ThatAreProtectedWithoutADestinationReportTheMissingPath) {
    EXPECT_FALSE(authorized().authMoveFile("/", std::nullopt));
    EXPECT_THAT(console_.logged, ElementsAre("Error in authMoveFile: new path is null"));
}

TEST_F(AuthorizedFiles, ProtectedFoldersMayBeCreated) {
    EXPECT_TRUE(authorized().authCreateDir("/Volumes"));
    EXPECT_THAT(authorization_.started(), ElementsAre("/bin/mkdir -p /Volumes"));
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(AuthorizedFiles, OfAnEmptyFolderAreMovedWithoutATool) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    authorization_.calls.clear();
    EXPECT_TRUE(session.authMoveFolderContents(folder_.makeFolder("empty"), "/to"));
    EXPECT_TRUE(session.authMoveFolderContents(folder_ / "gone", "/to"));
    EXPECT_TRUE(session.authMoveFolderContents(std::nullopt, "/to"));
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

TEST_F(AuthorizedFiles, FoldersAreCreatedAndWaitedForBriefly) {
    KXAuthorization& session = authorized();
    EXPECT_TRUE(session.authCreateDir("/a/b"));
    EXPECT_TRUE(session.authCreateDir(std::nullopt));
    EXPECT_THAT(authorization_.started(), ElementsAre("/bin/mkdir -p /a/b", "/bin/mkdir -p"));
    EXPECT_THAT(clock_.slept,
                ElementsAre(std::chrono::microseconds(500), std::chrono::microseconds(500)));
}

TEST_F(AuthorizedFiles, WithoutRightsAreLeftUnchanged) {
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    KXAuthorization& session = *KXAuthorization::sharedController();
    EXPECT_FALSE(session.authRemoveFile(file_));
    EXPECT_FALSE(session.authMoveFile(file_, "/new"));
    EXPECT_FALSE(session.authCopyFile(file_, "/new"));
    EXPECT_FALSE(session.authCreateDir("/a"));
    EXPECT_THAT(authorization_.started(), IsEmpty());
    EXPECT_THAT(clock_.slept, IsEmpty());
}

TEST_F(AuthorizedFiles, WhoseToolIsRefusedAreLeftUnchanged) {
    authorization_.executeStatus = platform::kAuthorizationToolExecuteFailure;
    EXPECT_FALSE(authorized().authRemoveFile(file_));
    EXPECT_FALSE(authorized().authMoveFile(file_, "/new"));
    EXPECT_FALSE(authorized().authCopyFile(file_, "/new"));
    EXPECT_FALSE(authorized().authCreateDir("/a"));
    EXPECT_THAT(clock_.slept, IsEmpty());
}

TEST_F(AuthorizedFiles, OfRootReturnTrueEvenWithoutATool) {
    class NoTools : public test::ForwardingFileManager {
      public:
        bool fileExists(const std::string& path) override {
            return !path.starts_with("/bin/") && ForwardingFileManager::fileExists(path);
        }
    };
    NoTools manager;
    platform_->fileManager = &manager;
    becomeRoot();
    KXAuthorization& session = *KXAuthorization::sharedController();
    EXPECT_TRUE(session.authMoveFile(file_, "/new"));
    EXPECT_TRUE(session.authCopyFile(file_, "/new"));
    EXPECT_TRUE(session.authCreateDir("/a"));
    EXPECT_THAT(console_.logged, IsEmpty());
    EXPECT_FALSE(session.authRemoveFile(file_));
    EXPECT_THAT(console_.logged, ElementsAre("Unable to execute task: path /bin/rm doesn't exist"));
}

TEST_F(AuthorizedFiles, OfRootNeedNoRightsAndReturnTrue) {
    becomeRoot();
    KXAuthorization& session = *KXAuthorization::sharedController();
    EXPECT_TRUE(session.authRemoveFile(file_));
    EXPECT_TRUE(session.authMoveFile(file_, "/new"));
    EXPECT_TRUE(session.authCopyFile(file_, "/new"));
    EXPECT_TRUE(session.authCreateDir("/a"));
    EXPECT_THAT(tasks_.launched,
                ElementsAre(test::commandLine("/bin/rm", {"-Rdf", file_}),
                            test::commandLine("/bin/mv", {"-f", file_, "/new"}),
                            test::commandLine("/bin/cp", {"-f", "-p", "-R", file_, "/new"}),
                            "/bin/mkdir -p /a"));
    EXPECT_THAT(authorization_.started(), IsEmpty());
    EXPECT_THAT(clock_.slept, IsEmpty());
}

// Every text of these operations.
TEST_F(AuthorizedFiles, AreNeverReportedInTheLog) {
    KXLog::createNewLog("Files");
    KXLog::finishWriting();
    const std::string before = test::readFile(KXLog::availableLogs().front());
    KXAuthorization& session = authorized();
    EXPECT_EQ(session.authExecTask("/no/tool", {}), -2);
    EXPECT_FALSE(session.authRemoveFile("/"));
    EXPECT_FALSE(session.authTrashFile("/"));
    EXPECT_FALSE(session.authTrashFolderContents("/"));
    EXPECT_FALSE(session.authMoveFolderContents("/", "/new"));
    EXPECT_FALSE(session.authMoveFile("/", "/new"));
    EXPECT_FALSE(session.authMoveFile(std::nullopt, "/new"));
    EXPECT_FALSE(session.authMoveFile("/", std::nullopt));
    EXPECT_FALSE(session.authCopyFile(std::nullopt, "/new"));
    EXPECT_FALSE(session.authCopyFile("/", std::nullopt));
    KXLog::finishWriting();
    EXPECT_EQ(console_.logged.size(), 10U);
    EXPECT_EQ(test::readFile(KXLog::availableLogs().front()), before);
}

}  // namespace
}  // namespace quillmoor
