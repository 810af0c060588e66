#include "tests/files/files_fixture.h"
#include "tests/files/passing_time.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Creating = test::FilesTest;

constexpr char kMessage[] = "Error creating folder: no, 100%. Authorizing...";

TEST_F(Creating, CreatesAFolderWithThoseAboveIt) {
    EXPECT_TRUE(KXFileManager::createDirectory(folder_ / "new/deep"));
    EXPECT_TRUE(KXFileManager::isDirectoryAtPath(folder_ / "new/deep"));
    EXPECT_TRUE(KXFileManager::createDirectory(folder_ / "new/deep"));
}

TEST_F(Creating, OnAVolumeThatIsNotMountedIsRefusedWithoutAuthorization) {
    startLog();
    authorized();
    EXPECT_FALSE(KXFileManager::createDirectory("/Volumes/Gone/x"));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(console_.logged, ElementsAre("mountpoint: //Volumes/Gone",
                                             "Unable to create directory. Drive is not mounted."));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Creating, ThatFailsIsLoggedAndRepeatedWithAuthorization) {
    startLog();
    authorized();
    manager_.refuses = true;
    EXPECT_TRUE(KXFileManager::createDirectory(folder_ / "new"));
    EXPECT_THAT(authorization_.started(), ElementsAre("/bin/mkdir -p " + (folder_ / "new")));
    EXPECT_THAT(logged(), ElementsAre(kMessage));
}

TEST_F(Creating, ThatFailsLogsAuthorizingEvenWithShouldAuthNo) {
    startLog();
    authorized();
    manager_.refuses = true;
    EXPECT_FALSE(KXFileManager::createDirectory(folder_ / "new", ShouldAuth::No));
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_THAT(logged(), ElementsAre(kMessage));
}

TEST_F(Creating, OverAFileLogsTheSystemsError) {
    startLog();
    const std::string file = folder_.writeFile("file");
    EXPECT_FALSE(KXFileManager::createDirectory(file, ShouldAuth::No));
    ASSERT_EQ(logged().size(), 1U);
    EXPECT_THAT(logged().front(), ::testing::MatchesRegex("Error creating folder: .*file.*: File "
                                                          "exists\\. Authorizing\\.\\.\\."));
}

TEST_F(Creating, WithATimeOutWaitsUntilTheFolderExists) {
    test::PassingTime time(platform_);
    authorized();
    manager_.refuses = true;
    time.duringEvent(3, [&] { folder_.makeFolder("new"); });
    EXPECT_TRUE(KXFileManager::createDirectory(folder_ / "new", 5s));
    EXPECT_EQ(time.newEvents(), 3U);
    EXPECT_FALSE(KXFileManager::createDirectory(folder_ / "never", 1s));
    EXPECT_EQ(time.newEvents(), 100U);
    EXPECT_EQ(authorization_.started().size(), 2U);
}

TEST_F(Creating, WithATimeOutThatFailsOrIsZeroDoesNotWait) {
    test::PassingTime time(platform_);
    authorized();
    EXPECT_TRUE(KXFileManager::createDirectory(folder_ / "new", 0s));
    manager_.refuses = true;
    EXPECT_FALSE(KXFileManager::createDirectory(folder_ / "never", 0s));
    authorization_.executeStatus = -60031;
    EXPECT_FALSE(KXFileManager::createDirectory(folder_ / "never", 30s));
    EXPECT_EQ(time.newEvents(), 0U);
}

TEST_F(Creating, WithoutAPathFails) {
    EXPECT_FALSE(KXFileManager::createDirectory(std::nullopt, ShouldAuth::No));
}

TEST_F(Creating, MirrorsAFolderWithItsWholePath) {
    folder_.makeFolder("Movies");
    const std::string made = (folder_ / "Backup") + (folder_ / "Movies");
    EXPECT_EQ(KXFileManager::createDirectoryStructure(folder_ / "Movies", folder_ / "Backup"),
              made);
    EXPECT_TRUE(KXFileManager::isDirectoryAtPath(made));
}

TEST_F(Creating, MirrorsTheParentOfAFileAPackageAndAMissingItem) {
    folder_.writeFile("Movies/clip.mov");
    folder_.makeFolder("Movies/Some.app");
    const std::string made = (folder_ / "Backup") + (folder_ / "Movies");
    for (const char* name : {"Movies/clip.mov", "Movies/Some.app", "Movies/gone"})
        EXPECT_EQ(KXFileManager::createDirectoryStructure(folder_ / name, folder_ / "Backup"), made)
            << name;
    EXPECT_TRUE(std::filesystem::is_empty(made));
}

TEST_F(Creating, DoesNotMirrorAnExistingFolder) {
    const std::string there = folder_.makeFolder("Backup" + (folder_ / "Movies"));
    manager_.refuses = true;
    authorized();
    EXPECT_EQ(KXFileManager::createDirectoryStructure(folder_ / "Movies/clip", folder_ / "Backup"),
              there);
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

TEST_F(Creating, ReturnsTheMirroredFolderEvenIfItCannotBeCreated) {
    manager_.refuses = true;
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    EXPECT_EQ(KXFileManager::createDirectoryStructure("/gone/clip", folder_ / "Backup"),
              folder_ / "Backup/gone");
    EXPECT_FALSE(test::somethingAt(folder_ / "Backup/gone"));
    EXPECT_EQ(KXFileManager::createDirectoryStructure(std::nullopt, "/x"), std::nullopt);
    EXPECT_EQ(KXFileManager::createDirectoryStructure("/x/y", std::nullopt), std::nullopt);
}

TEST_F(Creating, MovesAnEmptyFileToItsPath) {
    EXPECT_TRUE(KXFileManager::createEmptyFile(folder_ / "new"));
    EXPECT_TRUE(test::somethingAt(folder_ / "new"));
    EXPECT_EQ(test::readFile(folder_ / "new"), "");
    ASSERT_EQ(manager_.moved.size(), 1U);
    EXPECT_FALSE(test::somethingAt(manager_.moved[0].at(0)));
}

TEST_F(Creating, AnEmptyFileWithoutATemporaryFolderFails) {
    class NoTemporaryFolder : public test::AuthLocations {
      public:
        std::string temporaryDirectory() override { return "/no/such/folder"; }
    };
    NoTemporaryFolder locations;
    platform_->locations = &locations;
    EXPECT_FALSE(KXFileManager::createEmptyFile(folder_ / "new"));
    EXPECT_THAT(manager_.moved, IsEmpty());
}

TEST_F(Creating, AnEmptyFileUsesAuthorizationAsAMoveDoes) {
    authorized();
    manager_.refuses = true;
    EXPECT_TRUE(KXFileManager::createEmptyFile(folder_ / "new"));
    ASSERT_EQ(authorization_.started().size(), 1U);
    EXPECT_TRUE(authorization_.started()[0].starts_with("/bin/mv -f "));
    const std::string scratch = authorization_.started()[0].substr(11);
    std::filesystem::remove(scratch.substr(0, scratch.find(' ')));
}

TEST_F(Creating, AnEmptyFileThatCannotBeMovedStaysInTheTemporaryFolder) {
    class RefusesMoves : public test::FilesManager {
      public:
        Outcome moveItem(const std::string& path, const std::string& destination) override {
            moved.push_back({path, destination});
            return refusal();
        }
    };
    RefusesMoves manager;
    platform_->fileManager = &manager;
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    EXPECT_FALSE(KXFileManager::createEmptyFile(folder_ / "new"));
    ASSERT_EQ(manager.moved.size(), 1U);
    const std::string scratch = manager.moved[0].at(0);
    EXPECT_TRUE(test::somethingAt(scratch));
    std::filesystem::remove(scratch);
}

TEST_F(Creating, AnEmptyFileReplacesAnExistingOneOnlyWithAuthorization) {
    authorized();
    startLog();
    const std::string file = folder_.writeFile("file", "text");
    EXPECT_TRUE(KXFileManager::createEmptyFile(file));
    EXPECT_EQ(test::readFile(file), "text");
    EXPECT_THAT(logged(),
                ElementsAre(::testing::MatchesRegex("Error moving file: .*: File exists\\."),
                            "Authorizing..."));
    EXPECT_EQ(authorization_.started().size(), 1U);
    std::filesystem::remove(manager_.moved.at(0).at(0));
}

}  // namespace
}  // namespace quillmoor
