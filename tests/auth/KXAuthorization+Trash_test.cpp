#include <filesystem>
#include <fstream>

#include "quillmoor/platform/exception.h"
#include "tests/auth/auth_fixture.h"

namespace quillmoor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class AuthorizedTrash : public test::AuthTest {
  protected:
    std::string trashed(const std::string& item, const std::string& name) const {
        return "/bin/mv -f " + item + " " + trash_ + "/" + name;
    }
    std::string file_ = folder_.writeFile("notes.txt", "text");
    std::string trash_ = locations_.home + "/.Trash";
};

TEST_F(AuthorizedTrash, IsWhereItemsAreMovedTo) {
    EXPECT_TRUE(authorized().authTrashFile(file_));
    EXPECT_THAT(authorization_.started(), ElementsAre(trashed(file_, "notes.txt")));
}

TEST_F(AuthorizedTrash, IsPreparedBeforeTheToolStarts) {
    EXPECT_TRUE(authorized().authTrashFile(file_));
    EXPECT_THAT(desktopTrash_.steps,
                ElementsAre("prepare " + trash_, "announce " + trash_ + " notes.txt " + file_));
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(AuthorizedTrash, ThatCannotBeUsedLeavesTheItemInPlace) {
    desktopTrash_.trashIsUsable = false;
    EXPECT_FALSE(authorized().authTrashFile(file_));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(desktopTrash_.steps, ElementsAre("prepare " + trash_));
    EXPECT_THAT(console_.logged, ElementsAre("Unable to trash path " + file_ +
                                             " because the Trash " + trash_ + " cannot be used."));
}

TEST_F(AuthorizedTrash, ThatCannotKeepARecordTakesTheItemAndReportsIt) {
    desktopTrash_.trashTakesNotes = false;
    EXPECT_TRUE(authorized().authTrashFile(file_));
    EXPECT_THAT(authorization_.started(), ElementsAre(trashed(file_, "notes.txt")));
    EXPECT_THAT(console_.logged,
                ElementsAre("The desktop cannot restore " + file_ +
                            " because its Trash has no record of " + trash_ + "/notes.txt."));
}

TEST_F(AuthorizedTrash, ReportsNothingForAnItemThatIsNotMoved) {
    desktopTrash_.trashTakesNotes = false;
    authorization_.executeStatus = platform::kAuthorizationToolExecuteFailure;
    EXPECT_FALSE(authorized().authTrashFile(file_));
    EXPECT_THAT(console_.logged, IsEmpty());
}

// Preparing it may create its folder, with items that are in it already.
TEST_F(AuthorizedTrash, IsSearchedForTheNameAfterItIsPrepared) {
    class Late : public test::AuthTrash {
      public:
        std::string item;
        bool prepareTrash(const std::string&) override {
            std::filesystem::create_directories(std::filesystem::path(item).parent_path());
            std::ofstream(item) << "older";
            return true;
        }
    };
    Late desktopTrash;
    desktopTrash.item = trash_ + "/notes.txt";
    platform_->trash = &desktopTrash;
    EXPECT_TRUE(authorized().authTrashFile(file_));
    EXPECT_THAT(authorization_.started(), ElementsAre(trashed(file_, "notes_20240131235958.txt")));
}

TEST_F(AuthorizedTrash, DiscardsTheRecordOfAnItemThatIsNotMoved) {
    authorization_.rightsStatus = platform::kAuthorizationCanceled;
    EXPECT_FALSE(KXAuthorization::sharedController()->authTrashFile(file_));
    EXPECT_THAT(desktopTrash_.steps,
                ElementsAre("prepare " + trash_, "announce " + trash_ + " notes.txt " + file_,
                            "abandon " + trash_ + " notes.txt"));
}

TEST_F(AuthorizedTrash, DiscardsTheRecordWhenTheToolCannotBeCreated) {
    class NoTasks : public test::ForwardingTasks {
      public:
        std::shared_ptr<platform::Task> makeTask() override {
            throw platform::Exception("Name", "no means");
        }
    };
    NoTasks tasks;
    platform_->tasks = &tasks;
    becomeRoot();
    EXPECT_THROW(KXAuthorization::sharedController()->authTrashFile(file_), platform::Exception);
    ASSERT_EQ(desktopTrash_.steps.size(), 3U);
    EXPECT_EQ(desktopTrash_.steps[2], "abandon " + trash_ + " notes.txt");
}

TEST_F(AuthorizedTrash, ReleasesTheToolsStreamWithoutWaiting) {
    EXPECT_TRUE(authorized().authTrashFile(file_));
    ASSERT_EQ(authorization_.streams.size(), 1U);
    EXPECT_TRUE(authorization_.isLetGo(0));
    EXPECT_EQ(authorization_.streams[0]->reads, 0);
}

TEST_F(AuthorizedTrash, AddsTheDateToATakenNameOnce) {
    folder_.writeFile("home/.Trash/notes.txt");
    EXPECT_TRUE(authorized().authTrashFile(file_));
    EXPECT_THAT(authorization_.started(), ElementsAre(trashed(file_, "notes_20240131235958.txt")));
    EXPECT_THAT(desktopTrash_.steps,
                ElementsAre("prepare " + trash_,
                            "announce " + trash_ + " notes_20240131235958.txt " + file_));
}

TEST_F(AuthorizedTrash, DoesNotCheckTheDatedName) {
    folder_.writeFile("home/.Trash/notes.txt");
    folder_.writeFile("home/.Trash/notes_20240131235958.txt");
    EXPECT_TRUE(authorized().authTrashFile(file_));
    EXPECT_THAT(authorization_.started(), ElementsAre(trashed(file_, "notes_20240131235958.txt")));
}

// As in a Trash that belongs to root.
TEST_F(AuthorizedTrash, ThatCannotBeSearchedCountsEachNameAsTaken) {
    class Closed : public test::AuthTrash {
        bool prepareTrash(const std::string&) override { return true; }
    };
    Closed desktopTrash;
    platform_->trash = &desktopTrash;
    folder_.makeLink("home/.Trash", "nowhere to be seen");
    EXPECT_TRUE(authorized().authTrashFile(file_));
    EXPECT_THAT(authorization_.started(), ElementsAre(trashed(file_, "notes_20240131235958.txt")));
}

TEST_F(AuthorizedTrash, EndsADatedNameWithoutAnExtensionInAFullStop) {
    const std::string report = folder_.writeFile("report");
    folder_.writeFile("home/.Trash/report");
    EXPECT_TRUE(authorized().authTrashFile(report));
    EXPECT_THAT(authorization_.started(), ElementsAre(trashed(report, "report_20240131235958.")));
}

TEST_F(AuthorizedTrash, PutsTheDateBeforeTheLastExtensionOnly) {
    const std::string archive = folder_.writeFile("a.tar.gz");
    folder_.writeFile("home/.Trash/a.tar.gz");
    EXPECT_TRUE(authorized().authTrashFile(archive));
    EXPECT_THAT(authorization_.started(), ElementsAre(trashed(archive, "a.tar_20240131235958.gz")));
}

TEST_F(AuthorizedTrash, FindsNoExtensionInAHiddenName) {
    const std::string profile = folder_.writeFile(".profile");
    folder_.writeFile("home/.Trash/.profile");
    EXPECT_TRUE(authorized().authTrashFile(profile));
    EXPECT_THAT(authorization_.started(),
                ElementsAre(trashed(profile, ".profile_20240131235958.")));
}

TEST_F(AuthorizedTrash, IsTheOneOfTheUsersHomeAtThatMoment) {
    KXAuthorization& session = authorized();
    locations_.home = locations_.ownHome = folder_.makeFolder("new home");
    EXPECT_TRUE(session.authTrashFile(file_));
    EXPECT_THAT(authorization_.started(),
                ElementsAre(test::commandLine(
                    "/bin/mv", {"-f", file_, folder_ / "new home/.Trash/notes.txt"})));
}

TEST_F(AuthorizedTrash, RefusesProtectedFolders) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    authorization_.calls.clear();
    EXPECT_FALSE(session.authTrashFile("/Applications"));
    EXPECT_FALSE(session.authTrashFolderContents(locations_.home + "/Library"));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(desktopTrash_.steps, IsEmpty());
    EXPECT_THAT(console_.logged,
                ElementsAre("Unable to trash path /Applications because it is a system directory.",
                            "Unable to trash folder contents of path " + locations_.home +
                                "/Library because it is a system directory."));
}

TEST_F(AuthorizedTrash, RefusesAMissingItem) {
    EXPECT_FALSE(authorized().authTrashFile(folder_ / "gone"));
    EXPECT_THAT(console_.logged, IsEmpty());
    EXPECT_FALSE(authorized().authTrashFile(std::nullopt));
    EXPECT_THAT(console_.logged, ElementsAre("Error in authMoveFile: old path is null"));
    EXPECT_THAT(desktopTrash_.steps, IsEmpty());
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

TEST_F(AuthorizedTrash, OfRootIsTheConsoleUsers) {
    becomeRoot();
    KXAuthorization& session = *KXAuthorization::sharedController();
    ASSERT_NE(locations_.homeDirectory(), locations_.home);
    EXPECT_TRUE(session.authTrashFile(file_));
    EXPECT_THAT(tasks_.launched, ElementsAre(trashed(file_, "notes.txt")));
}

TEST_F(AuthorizedTrash, IsThatOfTheSessionsHomeAfterTheProcessBecameRoot) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    session.setUserDirectory(folder_ / "bob");
    becomeRoot();
    EXPECT_TRUE(session.authTrashFile(file_, DeleteOnRootAccount::Yes));
    EXPECT_THAT(tasks_.launched,
                ElementsAre("/bin/mv -f " + file_ + " " + (folder_ / "bob/.Trash/notes.txt")));
}

// A home that is found once and then missing.
class LosableHome : public test::AuthLocations {
  public:
    bool isLost = false;
    OptionalPath homeDirectoryForUser(const OptionalString& name) override {
        return isLost ? std::nullopt : AuthLocations::homeDirectoryForUser(name);
    }
};

TEST_F(AuthorizedTrash, ThatDoesNotExistTakesNothing) {
    LosableHome locations;
    locations.isLost = true;
    locations.ownHome = "/var/root";
    platform_->locations = &locations;
    becomeRoot();
    EXPECT_FALSE(KXAuthorization::sharedController()->authTrashFile(file_));
    EXPECT_THAT(console_.logged, ElementsAre("Error in authMoveFile: new path is null"));
    EXPECT_THAT(desktopTrash_.steps, IsEmpty());
    EXPECT_THAT(tasks_.launched, IsEmpty());
}

// The user at the console may log out at any moment.
TEST_F(AuthorizedTrash, IsTheSameForAllOfOneOperation) {
    LosableHome locations;
    locations.home = locations_.home;
    locations.ownHome = "/var/root";
    platform_->locations = &locations;
    becomeRoot();
    class Leaving : public test::AuthTrash {
      public:
        explicit Leaving(bool& isLost) : isLost_(isLost) {}
        bool prepareTrash(const std::string& destination) override {
            isLost_ = true;
            return AuthTrash::prepareTrash(destination);
        }

      private:
        bool& isLost_;
    };
    Leaving desktopTrash(locations.isLost);
    platform_->trash = &desktopTrash;
    EXPECT_TRUE(KXAuthorization::sharedController()->authTrashFile(file_));
    EXPECT_THAT(tasks_.launched, ElementsAre(trashed(file_, "notes.txt")));
}

// The item stays, and the item with its new name in the Trash is removed.
TEST_F(AuthorizedTrash, InRootsAccountRemovesTheItemOfThatName) {
    becomeRoot();
    KXAuthorization& session = *KXAuthorization::sharedController();
    EXPECT_TRUE(session.authTrashFile(file_, DeleteOnRootAccount::Yes));
    EXPECT_THAT(tasks_.launched, ElementsAre("/bin/rm -Rdf " + trash_ + "/notes.txt"));
    EXPECT_EQ(test::readFile(file_), "text");
    EXPECT_THAT(desktopTrash_.steps, IsEmpty());
}

TEST_F(AuthorizedTrash, InRootsAccountRemovesTheDatedNameIfTheNameIsTaken) {
    becomeRoot();
    folder_.writeFile("home/.Trash/notes.txt");
    EXPECT_TRUE(
        KXAuthorization::sharedController()->authTrashFile(file_, DeleteOnRootAccount::Yes));
    EXPECT_THAT(tasks_.launched,
                ElementsAre("/bin/rm -Rdf " + trash_ + "/notes_20240131235958.txt"));
}

TEST_F(AuthorizedTrash, DeletesNothingForAnOrdinaryUser) {
    EXPECT_TRUE(authorized().authTrashFile(file_, DeleteOnRootAccount::Yes));
    EXPECT_THAT(authorization_.started(), ElementsAre(trashed(file_, "notes.txt")));
}

TEST_F(AuthorizedTrash, MovesAFoldersContentsOneByOne) {
    const std::string one = folder_.writeFile("full/one");
    const std::string hidden = folder_.writeFile("full/.hidden");
    EXPECT_TRUE(authorized().authTrashFolderContents(folder_ / "full"));
    EXPECT_THAT(authorization_.started(),
                UnorderedElementsAre(trashed(one, "one"), trashed(hidden, ".hidden")));
}

TEST_F(AuthorizedTrash, TriesAllOfAFoldersContentsWhenOneFails) {
    test::ListingFileManager manager;
    manager.listings["/full"] = {"one", "two", "three"};
    platform_->fileManager = &manager;
    for (std::size_t failing = 0; failing < 3; ++failing) {
        KXAuthorization& session = authorized();
        authorization_.executeStatuses = {0, 0, 0};
        authorization_.executeStatuses[failing] = platform::kAuthorizationToolExecuteFailure;
        EXPECT_FALSE(session.authTrashFolderContents("/full"));
        EXPECT_THAT(authorization_.started(),
                    ElementsAre(trashed("/full/one", "one"), trashed("/full/two", "two"),
                                trashed("/full/three", "three")));
    }
}

TEST_F(AuthorizedTrash, MovesAFoldersContentsInListingOrder) {
    test::ListingFileManager manager;
    manager.listings["/full"] = {"b", "c", "a"};
    platform_->fileManager = &manager;
    EXPECT_TRUE(authorized().authTrashFolderContents("/full"));
    EXPECT_THAT(
        authorization_.started(),
        ElementsAre(trashed("/full/b", "b"), trashed("/full/c", "c"), trashed("/full/a", "a")));
}

TEST_F(AuthorizedTrash, RefusesAProtectedFolderAmongAFoldersContents) {
    test::ListingFileManager manager;
    manager.listings["/Users"] = {"Shared", "x"};
    platform_->fileManager = &manager;
    EXPECT_FALSE(authorized().authTrashFolderContents("/Users"));
    EXPECT_THAT(authorization_.started(), ElementsAre(trashed("/Users/x", "x")));
    EXPECT_THAT(console_.logged, ElementsAre("Unable to trash path /Users/Shared because it is a "
                                             "system directory."));
}

TEST_F(AuthorizedTrash, InRootsAccountDeletesAProtectedFolderAmongAFoldersContents) {
    becomeRoot();
    test::ListingFileManager manager;
    manager.listings["/Users"] = {"Shared"};
    platform_->fileManager = &manager;
    EXPECT_TRUE(KXAuthorization::sharedController()->authTrashFolderContents(
        "/Users", DeleteOnRootAccount::Yes));
    EXPECT_THAT(tasks_.launched, ElementsAre("/bin/rm -R -f /Users/Shared"));
    EXPECT_THAT(console_.logged, IsEmpty());
}

// The user changes while the first item is deleted.
TEST_F(AuthorizedTrash, DecidesOnceWhetherAFoldersContentsAreDeleted) {
    class Leaving : public test::RecordingTasks {
      public:
        explicit Leaving(unsigned& user) : user_(user) {}
        std::shared_ptr<platform::Task> makeTask() override {
            user_ = 501;
            return RecordingTasks::makeTask();
        }

      private:
        unsigned& user_;
    };
    test::ListingFileManager manager;
    manager.listings["/full"] = {"one", "two"};
    platform_->fileManager = &manager;
    becomeRoot();
    Leaving tasks(user_.uid);
    platform_->tasks = &tasks;
    EXPECT_TRUE(authorized().authTrashFolderContents("/full", DeleteOnRootAccount::Yes));
    EXPECT_THAT(tasks.launched, ElementsAre("/bin/rm -R -f /full/one"));
    EXPECT_THAT(authorization_.started(), ElementsAre("/bin/rm -R -f /full/two"));
}

TEST_F(AuthorizedTrash, OfAFolderThatCannotBeListedDoesNothing) {
    KXAuthorization& session = authorized();
    EXPECT_TRUE(session.authTrashFolderContents(folder_ / "missing"));
    EXPECT_TRUE(session.authTrashFolderContents(file_));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(AuthorizedTrash, InRootsAccountDeletesAFoldersContents) {
    becomeRoot();
    const std::string one = folder_.writeFile("full/one");
    EXPECT_TRUE(KXAuthorization::sharedController()->authTrashFolderContents(
        folder_ / "full", DeleteOnRootAccount::Yes));
    EXPECT_THAT(tasks_.launched, ElementsAre("/bin/rm -R -f " + one));
    EXPECT_THAT(desktopTrash_.steps, IsEmpty());
}

TEST_F(AuthorizedTrash, InRootsAccountNeedsTheToolToDeleteAFoldersContents) {
    class NoTools : public test::ForwardingFileManager {
      public:
        bool fileExists(const std::string& path) override {
            return path != "/bin/rm" && ForwardingFileManager::fileExists(path);
        }
    };
    NoTools manager;
    platform_->fileManager = &manager;
    becomeRoot();
    folder_.writeFile("full/one");
    folder_.writeFile("full/two");
    EXPECT_FALSE(KXAuthorization::sharedController()->authTrashFolderContents(
        folder_ / "full", DeleteOnRootAccount::Yes));
    EXPECT_EQ(console_.logged.size(), 2U);  // all are tried
    EXPECT_THAT(tasks_.launched, IsEmpty());
}

TEST_F(AuthorizedTrash, MovesAFoldersContentsForRootUnlessAskedToDelete) {
    becomeRoot();
    const std::string one = folder_.writeFile("full/one");
    EXPECT_TRUE(KXAuthorization::sharedController()->authTrashFolderContents(folder_ / "full"));
    EXPECT_THAT(tasks_.launched, ElementsAre(trashed(one, "one")));
}

TEST_F(AuthorizedTrash, StartsNoToolForAnEmptyFolder) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    authorization_.calls.clear();
    EXPECT_TRUE(session.authTrashFolderContents(folder_.makeFolder("empty")));
    EXPECT_TRUE(session.authTrashFolderContents(folder_ / "gone"));
    EXPECT_TRUE(session.authTrashFolderContents(std::nullopt));
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

}  // namespace
}  // namespace quillmoor
