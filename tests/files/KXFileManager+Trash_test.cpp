#include <sys/stat.h>

#include "tests/files/deep_tree.h"
#include "tests/files/files_fixture.h"
#include "tests/files/passing_time.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class Trashing : public test::FilesTest {
  protected:
    // Holds rights, so that operations which need them are recorded.
    void authorize() { authorized(); }
};

TEST_F(Trashing, MovesAnItemIntoTheUsersTrash) {
    const std::string file = folder_.writeFile("a \"name\"\n.txt", "text");
    EXPECT_TRUE(KXFileManager::trashFile(file));
    EXPECT_FALSE(test::somethingAt(file));
    EXPECT_EQ(test::readFile(trash() + "/a \"name\"\n.txt"), "text");
    EXPECT_THAT(desktop_.recycled,
                ElementsAre(ElementsAre(folder_.path(), trash(), "a \"name\"\n.txt")));
}

TEST_F(Trashing, OfAMissingItemSucceeds) {
    const std::string dangling = folder_.makeLink("dangling", "nowhere");
    EXPECT_TRUE(KXFileManager::trashFile(folder_ / "gone"));
    EXPECT_TRUE(KXFileManager::trashFile(std::nullopt));
    EXPECT_TRUE(KXFileManager::trashFile(dangling));
    EXPECT_TRUE(test::somethingAt(dangling));
    EXPECT_THAT(desktop_.recycled, IsEmpty());
}

TEST_F(Trashing, UnlocksTheItemFirst) {
    noteChanges();
    const std::string file = folder_.writeFile("file");
    EXPECT_TRUE(KXFileManager::trashFile(file));
    EXPECT_THAT(changes(), ElementsAre(ElementsAre("unlock", file),
                                       ElementsAre("recycle", folder_.path(), "file")));
}

TEST_F(Trashing, ThatFailsIsRepeatedWithAuthorization) {
    authorize();
    desktop_.refusesToRecycle = true;
    const std::string file = folder_.writeFile("file");
    EXPECT_TRUE(KXFileManager::trashFile(file));
    EXPECT_THAT(authorization_.started(),
                ElementsAre("/bin/mv -f " + file + " " + trash() + "/file"));
}

TEST_F(Trashing, ThatFailsWithShouldAuthNoReturnsFalseAndLogsNothing) {
    startLog();
    authorize();
    desktop_.refusesToRecycle = true;
    const std::string file = folder_.writeFile("file");
    EXPECT_FALSE(KXFileManager::trashFile(file, ShouldAuth::No));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_TRUE(test::somethingAt(file));
}

TEST_F(Trashing, OfAProtectedFolderIsRefused) {
    authorize();
    desktop_.refusesToRecycle = true;
    EXPECT_FALSE(KXFileManager::trashFile(locations_.home));
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

TEST_F(Trashing, WithATimeOutOfZeroReturnsAtOnceWhetherTheItemIsGone) {
    test::PassingTime time(platform_);
    authorize();
    EXPECT_TRUE(KXFileManager::trashFile(folder_.writeFile("file"), 0s));
    desktop_.refusesToRecycle = true;
    const std::string stays = folder_.writeFile("stays");
    for (const bool onMainThread : {true, false}) {
        time.events.onMainThread = onMainThread;
        EXPECT_FALSE(KXFileManager::trashFile(stays, 0s));  // started, and nothing has moved
        EXPECT_FALSE(KXFileManager::trashFile(stays, -3s));
    }
    EXPECT_EQ(authorization_.started().size(), 4U);
    EXPECT_TRUE(time.nothingWaited());
}

TEST_F(Trashing, WithATimeOutThatFailsDoesNotWait) {
    test::PassingTime time(platform_);
    authorize();
    desktop_.refusesToRecycle = true;
    authorization_.executeStatus = -60031;
    EXPECT_FALSE(KXFileManager::trashFile(folder_.writeFile("file"), 30s));
    EXPECT_EQ(authorization_.started().size(), 1U);
    EXPECT_TRUE(time.nothingWaited());
}

TEST_F(Trashing, WithATimeOutWaitsUntilTheItemIsGone) {
    test::PassingTime time(platform_);
    authorize();
    desktop_.refusesToRecycle = true;
    const std::string file = folder_.writeFile("file");
    time.duringEvent(3, [&] { std::filesystem::remove(file); });
    EXPECT_TRUE(KXFileManager::trashFile(file, 5s));
    EXPECT_EQ(time.newEvents(), 3U);
    EXPECT_FALSE(KXFileManager::trashFile(folder_.writeFile("stays"), 1s));
    EXPECT_EQ(time.newEvents(), 100U);
}

TEST_F(Trashing, MovesAFoldersContents) {
    folder_.writeFile("full/one");
    folder_.writeFile("full/.hidden");
    folder_.writeFile("full/sub/two");
    EXPECT_TRUE(KXFileManager::trashDirectoryContents(folder_ / "full"));
    EXPECT_TRUE(std::filesystem::is_empty(folder_ / "full"));
    EXPECT_TRUE(test::somethingAt(trash() + "/.hidden"));
    EXPECT_TRUE(test::somethingAt(trash() + "/sub/two"));
}

TEST_F(Trashing, OfWhichACopyRemainsStartsNoToolAndReportsBothPaths) {
    class HalfRemoving : public test::FilesTrash {
      public:
        platform::RecycleOutcome recycle(const std::string& source, const OptionalPath&,
                                         const StringList& names) override {
            return {false, {{source + "/" + names.at(0), "/trash/copy"}}};
        }
    };
    HalfRemoving desktop;
    platform_->trash = &desktop;
    authorized();
    const std::string file = folder_.writeFile("file");
    EXPECT_FALSE(KXFileManager::trashFile(file));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(desktop.steps, IsEmpty());
    EXPECT_THAT(console_.logged, ElementsAre("Unable to remove " + file +
                                             " completely after copying it. The complete copy is "
                                             "at /trash/copy."));
}

TEST_F(Trashing, OfAFoldersContentsTriesAllAndReturnsFalseIfOneFails) {
    class OneStays : public test::FilesTrash {
      public:
        platform::RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                                         const StringList& names) override {
            if (names.at(0) == "stays") return {};
            return FilesTrash::recycle(source, destination, names);
        }
    };
    OneStays desktop;
    platform_->trash = &desktop;
    for (const char* name : {"full/a", "full/stays", "full/z"}) folder_.writeFile(name);
    EXPECT_FALSE(KXFileManager::trashDirectoryContents(folder_ / "full", ShouldAuth::No));
    EXPECT_TRUE(test::somethingAt(folder_ / "full/stays"));
    EXPECT_TRUE(test::somethingAt(trash() + "/a"));
    EXPECT_TRUE(test::somethingAt(trash() + "/z"));
}

// A folder that may not be changed cannot be moved, nor a folder on which something is mounted.
TEST_F(Trashing, OfAFoldersContentsTriesAllAndReturnsFalseIfOneReallyFails) {
    folder_.writeFile("full/a", "1");
    folder_.writeFile("full/z", "2");
    const std::string stays = folder_.makeFolder("full/stays");
    test::PrivateMounts mounts;
    if (!test::isRoot()) {
        ASSERT_EQ(::chmod(stays.c_str(), 0555), 0);
    } else if (!mounts.mountMemory(stays, "size=64k")) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    EXPECT_FALSE(KXFileManager::trashDirectoryContents(folder_ / "full", ShouldAuth::No));
    EXPECT_EQ(test::listing(folder_ / "full"), "stays");
    EXPECT_EQ(test::readFile(trash() + "/a"), "1");
    EXPECT_EQ(test::readFile(trash() + "/z"), "2");
    EXPECT_EQ(test::listing(trash() + "/../info"), "a.trashinfo z.trashinfo");
}

TEST_F(Trashing, OfAFoldersContentsUsesAuthorizationForEachItem) {
    authorize();
    desktop_.refusesToRecycle = true;
    const std::string one = folder_.writeFile("full/one");
    const std::string two = folder_.writeFile("full/two");
    EXPECT_TRUE(KXFileManager::trashDirectoryContents(folder_ / "full"));
    EXPECT_THAT(authorization_.started(),
                UnorderedElementsAre("/bin/mv -f " + one + " " + trash() + "/one",
                                     "/bin/mv -f " + two + " " + trash() + "/two"));
}

TEST_F(Trashing, OfAnEmptyOrMissingFoldersContentsSucceeds) {
    EXPECT_TRUE(KXFileManager::trashDirectoryContents(folder_.makeFolder("empty")));
    EXPECT_TRUE(KXFileManager::trashDirectoryContents(folder_ / "gone"));
    EXPECT_TRUE(KXFileManager::trashDirectoryContents(std::nullopt));
}

TEST_F(Trashing, ByTypeIgnoresCase) {
    const std::string one = folder_.writeFile("tree/clip.mov");
    const std::string two = folder_.writeFile("tree/sub/CLIP.Mov");
    const std::string three = folder_.writeFile("tree/Some.app/inside.MOV");
    folder_.writeFile("tree/x.mov/kept.txt");
    folder_.writeFile("tree/mov");
    EXPECT_THAT(KXFileManager::trashFilesOfType("MOV", folder_ / "tree"),
                UnorderedElementsAre(one, two, three));
    EXPECT_FALSE(test::somethingAt(one) || test::somethingAt(two) || test::somethingAt(three));
    EXPECT_TRUE(test::somethingAt(folder_ / "tree/x.mov/kept.txt"));
    EXPECT_TRUE(test::somethingAt(folder_ / "tree/mov"));
}

TEST_F(Trashing, ByNameIsExact) {
    const std::string one = folder_.writeFile("tree/.DS_Store");
    const std::string two = folder_.writeFile("tree/sub/.DS_Store");
    folder_.writeFile("tree/.ds_store");
    folder_.makeFolder("tree/other/.DS_Store/");
    EXPECT_THAT(KXFileManager::trashFilesNamed(".DS_Store", folder_ / "tree"),
                UnorderedElementsAre(one, two));
    EXPECT_TRUE(test::somethingAt(folder_ / "tree/.ds_store"));
    EXPECT_TRUE(test::somethingAt(folder_ / "tree/other/.DS_Store"));
}

TEST_F(Trashing, ByTypeOrNameReturnsAllMatchesTrashedOrNot) {
    desktop_.refusesToRecycle = true;
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    const std::string file = folder_.writeFile("tree/a.mov");
    EXPECT_THAT(KXFileManager::trashFilesOfType("mov", folder_ / "tree"), ElementsAre(file));
    EXPECT_TRUE(test::somethingAt(file));
}

TEST_F(Trashing, ByTypeFollowsLinksToFoldersWithoutLooping) {
    const std::string file = folder_.writeFile("elsewhere/a.mov");
    folder_.makeLink("tree/out", "../elsewhere");
    folder_.makeLink("tree/loop", ".");
    EXPECT_THAT(KXFileManager::trashFilesOfType("mov", folder_ / "tree"),
                ElementsAre(folder_ / "tree/out/a.mov"));
    EXPECT_FALSE(test::somethingAt(file));
}

TEST_F(Trashing, ByTypeReachesTheBottomOfAVeryDeepTree) {
    test::DeepTree tree({"a.mov", "b.txt"});
    platform_->fileManager = &tree;
    desktop_.refusesToRecycle = true;
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    const std::string file = tree.inTheEnd("a.mov");
    test::onASmallStack([&] {
        EXPECT_THAT(KXFileManager::trashFilesOfType("mov", tree.kTop), ElementsAre(file));
        EXPECT_THAT(KXFileManager::trashFilesNamed("a.mov", tree.kTop), ElementsAre(file));
    });
    EXPECT_EQ(desktop_.recycled.size(), 2U);
}

TEST_F(Trashing, ByTypeIgnoresTrailingSlashesOfTheFolder) {
    folder_.writeFile("tree/a/one.mov");
    folder_.writeFile("tree/b/two.mov");
    EXPECT_THAT(KXFileManager::trashFilesOfType("mov", (folder_ / "tree") + "//"),
                UnorderedElementsAre(folder_ / "tree/a/one.mov", folder_ / "tree/b/two.mov"));
}

TEST_F(Trashing, ByTypeInAMissingFolderFindsNothing) {
    folder_.writeFile("tree/noextension");
    EXPECT_THAT(KXFileManager::trashFilesOfType(std::nullopt, folder_ / "tree"), IsEmpty());
    EXPECT_THAT(KXFileManager::trashFilesOfType("mov", folder_ / "gone"), IsEmpty());
    EXPECT_THAT(KXFileManager::trashFilesOfType("mov", std::nullopt), IsEmpty());
    EXPECT_THAT(KXFileManager::trashFilesNamed(std::nullopt, folder_ / "tree"), IsEmpty());
}

TEST_F(Trashing, ByAnEmptyTypeMatchesNamesWithoutExtension) {
    const std::string file = folder_.writeFile("tree/noextension");
    folder_.writeFile("tree/a.txt");
    EXPECT_THAT(KXFileManager::trashFilesOfType("", folder_ / "tree"), ElementsAre(file));
}

// If recycling reports that it has moved the item, that is the result.
TEST_F(Trashing, UnlocksThenChecksThenRecyclesWithoutAnotherCheck) {
    class Looks : public test::FilesManager {
      public:
        bool fileExists(const std::string& path) override {
            changes->push_back({"exists", path});
            return FilesManager::fileExists(path);
        }
    };
    class Claims : public test::FilesTrash {
      public:
        platform::RecycleOutcome recycle(const std::string&, const OptionalPath&,
                                         const StringList&) override {
            changes->push_back({"recycle"});
            return {true, {}};
        }
    };
    noteChanges();
    Looks manager;
    Claims desktop;
    manager.changes = desktop.changes = manager_.changes;
    platform_->fileManager = &manager;
    platform_->trash = &desktop;
    const std::string file = folder_.writeFile("file");
    EXPECT_TRUE(KXFileManager::trashFile(file));
    EXPECT_TRUE(test::somethingAt(file));
    EXPECT_THAT(changes(), ElementsAre(ElementsAre("unlock", file), ElementsAre("exists", file),
                                       ElementsAre("recycle")));
}

TEST_F(Trashing, OfAFoldersContentsIsInListingOrder) {
    test::OrderedManager manager;
    platform_->fileManager = &manager;
    const StringList names{"m", "a", "z", "b"};
    for (const std::string& name : names) folder_.writeFile("full/" + name);
    manager.order[folder_ / "full"] = names;
    EXPECT_TRUE(KXFileManager::trashDirectoryContents(folder_ / "full"));
    StringList recycled;
    for (const StringList& call : desktop_.recycled) recycled.push_back(call.at(2));
    EXPECT_EQ(recycled, names);
}

TEST_F(Trashing, ByTypeReturnsMatchesInListingOrderOfTheTree) {
    test::OrderedManager manager;
    platform_->fileManager = &manager;
    for (const char* name : {"a.mov", "sub/x.mov", "z.mov"})
        folder_.writeFile("tree/" + std::string(name));
    manager.order[folder_ / "tree"] = {"z.mov", "sub", "a.mov"};
    EXPECT_THAT(
        KXFileManager::trashFilesOfType("mov", folder_ / "tree"),
        ElementsAre(folder_ / "tree/z.mov", folder_ / "tree/sub/x.mov", folder_ / "tree/a.mov"));
}

}  // namespace
}  // namespace quillmoor
