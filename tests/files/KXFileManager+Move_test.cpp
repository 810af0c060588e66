#include "tests/files/files_fixture.h"
#include "tests/files/passing_time.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using Moving = test::FilesTest;

TEST_F(Moving, MovesAnItemToItsNewPath) {
    const std::string file = folder_.writeFile("file", "text");
    EXPECT_TRUE(KXFileManager::moveFile(file, folder_ / "moved"));
    EXPECT_FALSE(test::somethingAt(file));
    EXPECT_EQ(test::readFile(folder_ / "moved"), "text");
}

TEST_F(Moving, FirstUnlocksTheDestinationAndAFolderOfThatNameInIt) {
    noteChanges();
    const std::string file = folder_.writeFile("file");
    folder_.writeFile("to/file/one");
    folder_.writeFile("to/file/sub/two");
    EXPECT_FALSE(KXFileManager::moveFile(file, folder_ / "to", ShouldAuth::No));
    ASSERT_EQ(changes().size(), 4U);
    EXPECT_THAT(changes()[0], ElementsAre("unlock", folder_ / "to"));
    EXPECT_THAT(test::Calls(changes().begin() + 1, changes().begin() + 3),
                UnorderedElementsAre(ElementsAre("unlock", folder_ / "to/file/one"),
                                     ElementsAre("unlock", folder_ / "to/file/sub/two")));
    EXPECT_THAT(changes()[3], ElementsAre("move", file, folder_ / "to"));
}

TEST_F(Moving, UnlocksNothingIfTheDestinationIsMissing) {
    noteChanges();
    const std::string file = folder_.writeFile("file");
    EXPECT_TRUE(KXFileManager::moveFile(file, folder_ / "new"));
    EXPECT_THAT(changes(), ElementsAre(ElementsAre("move", file, folder_ / "new")));
}

TEST_F(Moving, OntoAnExistingFileUsesAuthorization) {
    startLog();
    authorized();
    const std::string one = folder_.writeFile("one", "1");
    const std::string two = folder_.writeFile("two", "2");
    EXPECT_TRUE(KXFileManager::moveFile(one, two));
    EXPECT_THAT(authorization_.started(), ElementsAre("/bin/mv -f " + one + " " + two));
    ASSERT_EQ(logged().size(), 2U);
    EXPECT_THAT(logged()[0], ::testing::MatchesRegex("Error moving file: .*\\."));
    EXPECT_EQ(logged()[1], "Authorizing...");
}

TEST_F(Moving, ThatFailsWithShouldAuthNoDoesNotLogAuthorizing) {
    startLog();
    authorized();
    manager_.refuses = true;
    const std::string file = folder_.writeFile("file");
    EXPECT_FALSE(KXFileManager::moveFile(file, folder_ / "new", ShouldAuth::No));
    EXPECT_THAT(logged(), ElementsAre("Error moving file: no, 100%."));
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

TEST_F(Moving, WithoutAPathFailsInThePlatform) {
    authorized();
    startLog();
    EXPECT_FALSE(KXFileManager::moveFile(std::nullopt, folder_ / "new"));
    EXPECT_THAT(logged(),
                ElementsAre(::testing::StartsWith("Error moving file: "), "Authorizing..."));
    EXPECT_FALSE(KXFileManager::moveFile(folder_.writeFile("file"), std::nullopt));
    EXPECT_THAT(console_.logged, ElementsAre("Error in authMoveFile: old path is null",
                                             "Error in authMoveFile: new path is null"));
}

TEST_F(Moving, ThatChangesOnlyTheCaseUsesAFreeName) {
    const std::string file = folder_.writeFile("Report.txt", "text");
    // As on a file system that folds case.
    class Folding : public test::FilesManager {
      public:
        std::string other;
        bool fileExists(const std::string& path) override {
            return FilesManager::fileExists(path == other ? "/" : path);
        }
    };
    Folding manager;
    manager.other = folder_ / "report.txt";
    platform_->fileManager = &manager;
    EXPECT_TRUE(KXFileManager::moveFile(file, folder_ / "report.txt"));
    EXPECT_THAT(manager.moved,
                ElementsAre(ElementsAre(file, folder_ / "report 2.txt"),
                            ElementsAre(folder_ / "report 2.txt", folder_ / "report.txt")));
    EXPECT_EQ(test::readFile(folder_ / "report.txt"), "text");
}

TEST_F(Moving, ThatChangesOnlyTheCaseWorksWhereCaseIsNotFolded) {
    EXPECT_TRUE(KXFileManager::moveFile(folder_.writeFile("Report.txt", "text"),
                                        folder_ / "report.txt", 30s));
    EXPECT_EQ(test::readFile(folder_ / "report.txt"), "text");
    EXPECT_THAT(clock_.slept, ElementsAre(500us));
}

TEST_F(Moving, ThatChangesOnlyTheCaseLeavesTheFreeNameWhenTheSecondMoveFails) {
    class SecondFails : public test::FilesManager {
      public:
        Outcome moveItem(const std::string& path, const std::string& destination) override {
            if (moved.size() == 1) {
                moved.push_back({path, destination});
                return refusal();
            }
            return FilesManager::moveItem(path, destination);
        }
        bool fileExists(const std::string& path) override {
            return path.ends_with("report.txt") || FilesManager::fileExists(path);
        }
    };
    SecondFails manager;
    platform_->fileManager = &manager;
    startLog();
    EXPECT_FALSE(KXFileManager::moveFile(folder_.writeFile("Report.txt", "text"),
                                         folder_ / "report.txt", ShouldAuth::No));
    EXPECT_EQ(test::readFile(folder_ / "report 2.txt"), "text");
    EXPECT_EQ(manager.moved.size(), 3U);
    // Only the error of the last move is reported.
    EXPECT_THAT(
        logged(),
        ElementsAre(::testing::StartsWith("Unable to unlock file "),
                    ::testing::EndsWith("couldn\u2019t be moved: No such file or directory.")));
}

TEST_F(Moving, ThatChangesOnlyTheCaseIsTriedDirectlyWhenTheFirstMoveFails) {
    class FirstFails : public test::FilesManager {
      public:
        Outcome moveItem(const std::string& path, const std::string& destination) override {
            refuses = moved.empty();
            return FilesManager::moveItem(path, destination);
        }
    };
    FirstFails manager;
    platform_->fileManager = &manager;
    startLog();
    const std::string file = folder_.writeFile("Report.txt", "text");
    EXPECT_TRUE(KXFileManager::moveFile(file, folder_ / "report.txt", ShouldAuth::No));
    ASSERT_EQ(manager.moved.size(), 2U);
    EXPECT_THAT(manager.moved[1], ElementsAre(file, folder_ / "report.txt"));
    EXPECT_EQ(test::readFile(folder_ / "report.txt"), "text");
    EXPECT_THAT(logged(), IsEmpty());
}

// Letters other than ASCII count too, and a path moved onto itself changes none.
TEST_F(Moving, ThatChangesOnlyTheCaseIsRecognisedInEveryScript) {
    const std::string upper = folder_.writeFile("\u00c9.txt", "text");
    EXPECT_TRUE(KXFileManager::moveFile(upper, folder_ / "\u00e9.txt"));
    EXPECT_EQ(manager_.moved.size(), 2U);
    const std::string lower = folder_ / "\u00e9.txt";
    const std::string between = folder_ / "\u00e9 2.txt";
    EXPECT_TRUE(KXFileManager::moveFile(lower, lower, ShouldAuth::No));
    ASSERT_EQ(manager_.moved.size(), 4U);
    EXPECT_THAT(manager_.moved[2], ElementsAre(lower, between));
    EXPECT_THAT(manager_.moved[3], ElementsAre(between, lower));
    EXPECT_EQ(test::readFile(lower), "text");
}

TEST_F(Moving, ThatChangesOnlyTheCaseIsNotCheckedAfterwards) {
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
    const std::string file = folder_.writeFile("Report.txt");
    EXPECT_TRUE(KXFileManager::moveFile(file, folder_ / "report.txt", 30s));
    EXPECT_EQ(changes().back().front(), "move");
}

// Copies to another file system and can only half remove the source.
class HalfRemoving : public test::FilesManager {
  public:
    Outcome moveItem(const std::string& path, const std::string& destination) override {
        moved.push_back({path, destination});
        return Outcome::failure({1, "half", true});
    }
};

TEST_F(Moving, OfWhichACopyRemainsStartsNoToolAndReportsBothPaths) {
    HalfRemoving manager;
    platform_->fileManager = &manager;
    authorized();
    startLog();
    const std::string file = folder_.writeFile("file");
    EXPECT_FALSE(KXFileManager::moveFile(file, folder_ / "copy"));
    EXPECT_FALSE(KXFileManager::moveFile(file, folder_ / "copy", 5s));
    EXPECT_FALSE(KXFileManager::moveFile(file, folder_ / "copy", ShouldAuth::No));
    EXPECT_TRUE(KXFailure::last()->isHalfDone);
    EXPECT_EQ(KXFailure::last()->authorization, KXFailure::Authorization::NotTried);
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(logged(), ElementsAre("Error moving file: half.", "Error moving file: half.",
                                      "Error moving file: half."));
    const std::string message = "Unable to remove " + file +
                                " completely after copying it. The complete copy is at " +
                                (folder_ / "copy") + ".";
    EXPECT_THAT(console_.logged, ElementsAre(message, message, message));
}

TEST_F(Moving, OfWhichACopyRemainsUnderTheFreeNameStops) {
    HalfRemoving manager;
    platform_->fileManager = &manager;
    authorized();
    const std::string file = folder_.writeFile("Report.txt");
    EXPECT_FALSE(KXFileManager::moveFile(file, folder_ / "report.txt"));
    EXPECT_THAT(manager.moved, ElementsAre(ElementsAre(file, folder_ / "report.txt")));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_EQ(console_.logged.size(), 1U);
}

TEST_F(Moving, WithATimeOutWaitsUntilTheSourceIsGone) {
    test::PassingTime time(platform_);
    authorized();
    manager_.refuses = true;
    const std::string file = folder_.writeFile("file");
    time.duringEvent(3, [&] { std::filesystem::remove(file); });
    EXPECT_TRUE(KXFileManager::moveFile(file, folder_ / "nothing comes here", 5s));
    EXPECT_EQ(time.newEvents(), 3U);
}

TEST_F(Moving, WithATimeOutDoesNotCheckTheDestination) {
    test::PassingTime time(platform_);
    authorized();
    manager_.refuses = true;
    const std::string file = folder_.writeFile("file");
    time.duringEvent(1, [&] { folder_.writeFile("new"); });
    EXPECT_FALSE(KXFileManager::moveFile(file, folder_ / "new", 1s));
    EXPECT_EQ(time.newEvents(), 100U);
}

TEST_F(Moving, WithATimeOutThatFailsOrIsZeroDoesNotWait) {
    test::PassingTime time(platform_);
    authorized();
    EXPECT_TRUE(KXFileManager::moveFile(folder_.writeFile("file"), folder_ / "new", 0s));
    manager_.refuses = true;
    EXPECT_FALSE(KXFileManager::moveFile(folder_.writeFile("stays"), folder_ / "newer", 0s));
    authorization_.executeStatus = -60031;
    EXPECT_FALSE(KXFileManager::moveFile(folder_ / "stays", folder_ / "newer", 30s));
    EXPECT_TRUE(time.nothingWaited());
}

}  // namespace
}  // namespace quillmoor
