#include <sys/stat.h>

#include "tests/files/files_fixture.h"
#include "tests/files/passing_time.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/platform/support/locked_item.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Removing = test::FilesTest;

constexpr char kMessage[] = "Error removing file: no, 100%. Authorizing...";

TEST_F(Removing, RemovesAnItemWithItsContents) {
    folder_.writeFile("tree/sub/file");
    EXPECT_TRUE(KXFileManager::removeFile(folder_ / "tree"));
    EXPECT_FALSE(test::somethingAt(folder_ / "tree"));
}

TEST_F(Removing, KeepsTheTargetOfALink) {
    const std::string file = folder_.writeFile("elsewhere/file");
    const std::string link = folder_.makeLink("link", "elsewhere");
    EXPECT_TRUE(KXFileManager::removeFile(link));
    EXPECT_FALSE(test::somethingAt(link));
    EXPECT_TRUE(test::somethingAt(file));
}

TEST_F(Removing, OfAMissingItemSucceedsAndKeepsADanglingLink) {
    const std::string dangling = folder_.makeLink("dangling", "nowhere");
    EXPECT_TRUE(KXFileManager::removeFile(folder_ / "gone"));
    EXPECT_TRUE(KXFileManager::removeFile(dangling));
    EXPECT_TRUE(KXFileManager::removeFile(std::nullopt));
    EXPECT_TRUE(test::somethingAt(dangling));
}

TEST_F(Removing, ThatFailsIsLoggedAndRepeatedWithAuthorization) {
    startLog();
    authorized();
    manager_.refuses = true;
    const std::string file = folder_.writeFile("file");
    EXPECT_TRUE(KXFileManager::removeFile(file));
    EXPECT_THAT(authorization_.started(), ElementsAre("/bin/rm -Rdf " + file));
    EXPECT_THAT(logged(), ElementsAre(kMessage));
}

TEST_F(Removing, ThatFailsLogsAuthorizingEvenWithShouldAuthNo) {
    startLog();
    authorized();
    manager_.refuses = true;
    EXPECT_FALSE(KXFileManager::removeFile(folder_.writeFile("file"), ShouldAuth::No));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(logged(), ElementsAre(kMessage));
}

// In a folder that may not be changed: by its mode, or for root by its locked flag.
TEST_F(Removing, ThatReallyFailsLogsTheSystemsError) {
    authorized();
    const std::string file = folder_.writeFile("closed/file", "text");
    const std::string closed = folder_ / "closed";
    ASSERT_EQ(::chmod(closed.c_str(), 0555), 0);
    const test::LockedItem locked(closed);
    if (test::isRoot() && !locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
    startLog();
    EXPECT_FALSE(KXFileManager::removeFile(file, ShouldAuth::No));
    const char* const reason = test::isRoot() ? "Operation not permitted" : "Permission denied";
    EXPECT_THAT(logged(),
                ElementsAre("Error removing file: \u201cfile\u201d couldn\u2019t be removed: " +
                            std::string(reason) + ". Authorizing..."));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_EQ(test::readFile(file), "text");
}

TEST_F(Removing, OfAProtectedFolderIsRefused) {
    authorized();
    manager_.refuses = true;
    EXPECT_FALSE(KXFileManager::removeFile(locations_.home));
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

TEST_F(Removing, UnlocksTheItemFirst) {
    noteChanges();
    const std::string file = folder_.writeFile("file");
    EXPECT_TRUE(KXFileManager::removeFile(file));
    EXPECT_THAT(changes(), ElementsAre(ElementsAre("unlock", file), ElementsAre("remove", file)));
}

TEST_F(Removing, WithATimeOutWaitsUntilTheItemIsRemoved) {
    test::PassingTime time(platform_);
    authorized();
    manager_.refuses = true;
    const std::string file = folder_.writeFile("file");
    time.duringEvent(3, [&] { std::filesystem::remove(file); });
    EXPECT_TRUE(KXFileManager::removeFile(file, 5s));
    EXPECT_EQ(time.newEvents(), 3U);
    EXPECT_FALSE(KXFileManager::removeFile(folder_.writeFile("stays"), 1s));
    EXPECT_EQ(time.newEvents(), 100U);
    EXPECT_EQ(authorization_.started().size(), 2U);
}

TEST_F(Removing, WithATimeOutThatFailsOrIsZeroDoesNotWait) {
    test::PassingTime time(platform_);
    authorized();
    EXPECT_TRUE(KXFileManager::removeFile(folder_.writeFile("file"), 0s));
    manager_.refuses = true;
    EXPECT_FALSE(KXFileManager::removeFile(folder_.writeFile("stays"), 0s));
    authorization_.executeStatus = -60031;
    EXPECT_FALSE(KXFileManager::removeFile(folder_ / "stays", 30s));
    EXPECT_TRUE(time.nothingWaited());
}

TEST_F(Removing, OfAnEmptyFolderRemovesDesktopFilesToo) {
    folder_.writeFile("f/.DS_Store");
    folder_.makeFolder("f/sub");
    EXPECT_TRUE(KXFileManager::removeFolderIfEmpty(folder_ / "f"));
    EXPECT_FALSE(test::somethingAt(folder_ / "f"));
}

TEST_F(Removing, OfAFolderThatIsNotEmptyLeavesItUnchanged) {
    folder_.writeFile("f/file");
    EXPECT_FALSE(KXFileManager::removeFolderIfEmpty(folder_ / "f"));
    EXPECT_TRUE(test::somethingAt(folder_ / "f/file"));
}

// The item is unlocked even if it turns out to be missing.
TEST_F(Removing, UnlocksBeforeItChecksWhetherTheItemExists) {
    class Looks : public test::FilesManager {
      public:
        bool fileExists(const std::string& path) override {
            changes->push_back({"exists", path});
            return FilesManager::fileExists(path);
        }
    };
    noteChanges();
    Looks manager;
    manager.changes = manager_.changes;
    platform_->fileManager = &manager;
    EXPECT_TRUE(KXFileManager::removeFile(folder_ / "gone"));
    EXPECT_THAT(changes(), ElementsAre(ElementsAre("unlock", folder_ / "gone"),
                                       ElementsAre("exists", folder_ / "gone")));
}

TEST_F(Removing, ThatFailsReportsToTheLogOnly) {
    test::WholeConsole console;
    platform_->console = &console;
    startLog();
    manager_.refuses = true;
    EXPECT_FALSE(KXFileManager::removeFile(folder_.writeFile("file"), ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::createDirectory(folder_ / "new", ShouldAuth::No));
    EXPECT_EQ(logged().size(), 2U);
    EXPECT_THAT(console.lines, IsEmpty());
}

// Neither can be listed, so that both count as empty.
TEST_F(Removing, OfAnEmptyFolderRemovesAFileAndSucceedsForAMissingItem) {
    const std::string file = folder_.writeFile("file", "text");
    EXPECT_TRUE(KXFileManager::removeFolderIfEmpty(file));
    EXPECT_FALSE(test::somethingAt(file));
    EXPECT_TRUE(KXFileManager::removeFolderIfEmpty(folder_ / "gone"));
}

}  // namespace
}  // namespace quillmoor
