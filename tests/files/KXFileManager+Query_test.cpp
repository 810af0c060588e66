#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "tests/files/deep_tree.h"
#include "tests/files/files_fixture.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Query : public test::FilesTest {
  protected:
    // Every path that was checked.
    class Asked : public test::FilesManager {
      public:
        StringList paths;
        bool fileExists(const std::string& path) override {
            paths.push_back(path);
            return FilesManager::fileExists(path);
        }
    };
};

TEST_F(Query, FindsWhatExists) {
    const std::string file = folder_.writeFile("a \"file\"\n");
    const std::string link = folder_.makeLink("link", "a \"file\"\n");
    const std::string dangling = folder_.makeLink("dangling", "nowhere");
    EXPECT_TRUE(KXFileManager::fileExistsAtPath(file));
    EXPECT_TRUE(KXFileManager::fileExistsAtPath(link));
    EXPECT_FALSE(KXFileManager::fileExistsAtPath(dangling));
    EXPECT_FALSE(KXFileManager::fileExistsAtPath(""));
    EXPECT_FALSE(KXFileManager::fileExistsAtPath(std::nullopt));
    EXPECT_FALSE(KXFileManager::fileExistsAtPath(std::string("/\0tmp", 5)));
}

TEST_F(Query, RecognisesFoldersAndLinks) {
    folder_.makeFolder("folder");
    const std::string file = folder_.writeFile("file");
    const std::string link = folder_.makeLink("link", "folder");
    const std::string dangling = folder_.makeLink("dangling", "nowhere");
    EXPECT_TRUE(KXFileManager::isDirectoryAtPath(folder_ / "folder"));
    EXPECT_TRUE(KXFileManager::isDirectoryAtPath(link));
    EXPECT_FALSE(KXFileManager::isDirectoryAtPath(file));
    EXPECT_FALSE(KXFileManager::isDirectoryAtPath(folder_ / "gone"));
    EXPECT_FALSE(KXFileManager::isDirectoryAtPath(std::nullopt));
    EXPECT_TRUE(KXFileManager::isSymbolicLinkAtPath(link));
    EXPECT_TRUE(KXFileManager::isSymbolicLinkAtPath(dangling));
    EXPECT_FALSE(KXFileManager::isSymbolicLinkAtPath(file));
    EXPECT_FALSE(KXFileManager::isSymbolicLinkAtPath(std::nullopt));
}

TEST_F(Query, RecognisesPackages) {
    EXPECT_TRUE(KXFileManager::isPackageAtPath(folder_.makeFolder("Some.app")));
    EXPECT_FALSE(KXFileManager::isPackageAtPath(folder_.makeFolder("Some")));
    EXPECT_FALSE(KXFileManager::isPackageAtPath(std::nullopt));
}

TEST_F(Query, PathsOutsideTheVolumesCountAsMounted) {
    Asked asked;
    platform_->fileManager = &asked;
    EXPECT_TRUE(KXFileManager::isVolumeMountedForPath("/Users/alice/file"));
    EXPECT_TRUE(KXFileManager::isVolumeMountedForPath("/Volumes"));
    EXPECT_TRUE(KXFileManager::isVolumeMountedForPath("/Volumes/"));
    EXPECT_TRUE(KXFileManager::isVolumeMountedForPath(std::nullopt));
    EXPECT_TRUE(KXFileManager::isDriveMountedForPath("/VolumesX/a/b"));
    EXPECT_TRUE(KXFileManager::isDriveMountedForPath("/Volumes/"));
    EXPECT_THAT(asked.paths, IsEmpty());
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(Query, ChecksTheMountPointOfAPathOnAVolume) {
    Asked asked;
    platform_->fileManager = &asked;
    EXPECT_FALSE(KXFileManager::isVolumeMountedForPath("/Volumes/Gone/file"));
    EXPECT_FALSE(KXFileManager::isVolumeMountedForPath("/VolumesX/a/b"));
    EXPECT_THAT(asked.paths, ElementsAre("//Volumes/Gone", "//VolumesX/a"));
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(Query, OfADriveWritesTheMountPointToTheConsole) {
    EXPECT_FALSE(KXFileManager::isDriveMountedForPath("/Volumes/Gone/a/b"));
    EXPECT_THAT(console_.logged, ElementsAre("mountpoint: //Volumes/Gone"));
}

TEST_F(Query, AFolderWithDesktopFilesAndEmptyFoldersIsEmpty) {
    folder_.writeFile("f/.DS_Store");
    folder_.writeFile("f/Icon\r");
    folder_.makeFolder("f/sub/sub");
    EXPECT_TRUE(KXFileManager::isFolderEmpty(folder_ / "f"));
    EXPECT_TRUE(KXFileManager::isFolderEmpty(folder_ / "f/sub"));
    EXPECT_TRUE(KXFileManager::isFolderEmpty(folder_ / "gone"));
    EXPECT_TRUE(KXFileManager::isFolderEmpty(std::nullopt));
    EXPECT_TRUE(KXFileManager::isFolderEmpty(folder_.writeFile("file")));
}

TEST_F(Query, AFolderWithDesktopFilesIsEmpty) {
    folder_.writeFile("one/.DS_Store");
    folder_.writeFile("two/Icon\r");
    EXPECT_TRUE(KXFileManager::isFolderEmpty(folder_ / "one"));
    EXPECT_TRUE(KXFileManager::isFolderEmpty(folder_ / "two"));
}

TEST_F(Query, AFolderWithAnyOtherItemIsNotEmpty) {
    folder_.writeFile("localized/.localized");
    folder_.writeFile("fork/._x");
    folder_.writeFile("deep/.DS_Store");
    folder_.writeFile("deep/a/b/file");
    folder_.makeLink("dangling/link", "nowhere");
    folder_.writeFile("icon/Icon");  // the icon file's name ends in a carriage return
    for (const char* name : {"localized", "fork", "deep", "dangling", "icon"})
        EXPECT_FALSE(KXFileManager::isFolderEmpty(folder_ / name)) << name;
}

TEST_F(Query, IgnoresFoldersWithTheNamesOfDesktopFiles) {
    folder_.writeFile("f/.DS_Store/file");
    EXPECT_TRUE(KXFileManager::isFolderEmpty(folder_ / "f"));
    folder_.writeFile("f/Icon\r/file");
    EXPECT_TRUE(KXFileManager::isFolderEmpty(folder_ / "f"));
}

TEST_F(Query, AFolderWithLinksToAFolderIsEmptyIfThatFolderIs) {
    folder_.makeFolder("other");
    folder_.makeLink("f/link", "../other");
    folder_.makeLink("f/again", "../other");
    EXPECT_TRUE(KXFileManager::isFolderEmpty(folder_ / "f"));
    folder_.writeFile("other/file");
    EXPECT_FALSE(KXFileManager::isFolderEmpty(folder_ / "f"));
}

using UserQuery = Query;

// Its names can be listed, although the items cannot be examined.
TEST_F(UserQuery, OfAFolderThatMayOnlyBeListedFindsItsNames) {
    if (test::isRoot()) GTEST_SKIP() << "root may search everything";
    const std::string file = folder_.writeFile("f/sub/file", "text");
    const std::string closed = folder_ / "f/sub";
    authorized();
    ASSERT_EQ(::chmod(closed.c_str(), 0444), 0);
    EXPECT_FALSE(KXFileManager::isFolderEmpty(closed));
    EXPECT_FALSE(KXFileManager::isFolderEmpty(folder_ / "f"));
    EXPECT_FALSE(KXFileManager::removeFolderIfEmpty(closed));
    EXPECT_THAT(KXFileManager::trashFilesNamed("file", closed), ElementsAre(file));
    startLog();
    EXPECT_FALSE(KXFileManager::copyContentsOfDirectory(closed, folder_.makeFolder("to"),
                                                        std::chrono::seconds(0)));
    EXPECT_THAT(logged(), ElementsAre("File: file", HasSubstr("Authorizing...")));
    EXPECT_THAT(authorization_.started(), IsEmpty());
    ASSERT_EQ(::chmod(closed.c_str(), 0700), 0);
    EXPECT_EQ(test::readFile(file), "text");
}

TEST_F(UserQuery, CountsALinkIntoAFolderThatMayNotBeSearchedWithItsOwnSize) {
    if (test::isRoot()) GTEST_SKIP() << "root may search everything";
    folder_.writeFile("closed/file", "text");
    folder_.makeLink("link", "closed/file");
    const std::string closed = folder_ / "closed";
    ASSERT_EQ(::chmod(closed.c_str(), 0), 0);
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "link"), std::string("closed/file").size());
    ASSERT_EQ(::chmod(closed.c_str(), 0700), 0);
}

TEST_F(Query, CountsALinkToAnInvalidNameWithItsOwnSize) {
    folder_.makeLink("link", std::string(300, 'x'));
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "link"), 300U);
}

TEST_F(Query, EndsInALoopOfLinks) {
    folder_.makeLink("loop/one", ".");
    folder_.makeLink("loop/two", ".");
    folder_.makeLink("loop/up", "../loop");
    EXPECT_FALSE(KXFileManager::isFolderEmpty(folder_ / "loop"));
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "loop"), 0U);
    folder_.writeFile("loop/zz", "1234567890");
    EXPECT_FALSE(KXFileManager::isFolderEmpty(folder_ / "loop"));
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "loop"), 10U);
}

TEST_F(Query, AddsTheSizesOfFiles) {
    folder_.writeFile("f/one", "1234567890");
    folder_.writeFile("f/.two", "1234567890");
    folder_.makeFolder("f/empty");
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "f"), 20U);
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "f/one"), 10U);
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "f/empty"), 0U);
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "gone"), 0U);
    EXPECT_EQ(KXFileManager::fileSize(std::nullopt), 0U);
}

TEST_F(Query, CountsALinkToAFileWithItsOwnSizeAndFollowsOneToAFolder) {
    folder_.writeFile("other/big", std::string(1000, 'x'));
    folder_.makeLink("f/file", "../other/big");
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "f"), 12U);
    folder_.makeLink("f/folder", "../other");
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "f"), 1012U);
}

TEST_F(Query, FormatsSizesByPowersOf1024) {
    EXPECT_EQ(KXFileManager::formatFileSize(0), "0 B");
    EXPECT_EQ(KXFileManager::formatFileSize(1023), "1023 B");
    EXPECT_EQ(KXFileManager::formatFileSize(1024), "1.00 KB");
    EXPECT_EQ(KXFileManager::formatFileSize(1536), "1.50 KB");
    EXPECT_EQ(KXFileManager::formatFileSize(1048575), "1024.00 KB");
    EXPECT_EQ(KXFileManager::formatFileSize(1048576), "1.00 MB");
    EXPECT_EQ(KXFileManager::formatFileSize(1073741824), "1.00 GB");
    EXPECT_EQ(KXFileManager::formatFileSize(5368709120), "5.00 GB");
    EXPECT_EQ(KXFileManager::formatFileSize(1099511627776), "1024.00 GB");
    EXPECT_EQ(KXFileManager::formatFileSize(-5), "-5 B");
}

TEST_F(Query, ConvertsPathsToReferencesAndBack) {
    const std::string file = folder_.writeFile("a\nfile");
    const platform::FileReference reference = KXFileManager::stringToFSRef(file);
    EXPECT_EQ(KXFileManager::stringWithFSRef(&reference), file);
    std::filesystem::remove(file);
    EXPECT_EQ(KXFileManager::stringWithFSRef(&reference), std::nullopt);
    EXPECT_EQ(KXFileManager::stringWithFSRef(nullptr), std::nullopt);
    const platform::FileReference none = KXFileManager::stringToFSRef(folder_ / "gone");
    EXPECT_EQ(KXFileManager::stringWithFSRef(&none), std::nullopt);
}

TEST_F(Query, NotifiesTheFileManagerWithoutAReport) {
    class Finder : public test::ForwardingFinderInfo {
      public:
        StringList notified;
        std::int32_t sendUpdateEvent(const platform::FileReference& reference) override {
            notified.emplace_back(reference.path.data());
            return -43;
        }
    };
    Finder finder;
    platform_->finderInfo = &finder;
    const std::string file = folder_.writeFile("file");
    KXFileManager::notifyFileSystemChanged(file);
    KXFileManager::notifyFileSystemChanged(folder_ / "gone");
    EXPECT_THAT(finder.notified, ElementsAre(file, ""));
    const platform::FileReference reference = KXFileManager::stringToFSRef(file);
    EXPECT_EQ(SendFinderSyncEvent(&reference), -43);
    EXPECT_NE(SendFinderSyncEvent(nullptr), 0);
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(Query, RegistersApplications) {
    class Desktop : public test::ForwardingApplications {
      public:
        std::int32_t status = 0;
        StringList registered;
        std::int32_t registerApplication(const std::string& path) override {
            registered.push_back(path);
            return status;
        }
    };
    Desktop desktop;
    platform_->applications = &desktop;
    EXPECT_TRUE(KXFileManager::registerApplicationWithLaunchServices("/Applications/Some.app"));
    desktop.status = -10814;
    EXPECT_FALSE(KXFileManager::registerApplicationWithLaunchServices("/Applications/Some.app"));
    EXPECT_FALSE(KXFileManager::registerApplicationWithLaunchServices(std::nullopt));
    EXPECT_THAT(desktop.registered,
                ElementsAre("/Applications/Some.app", "/Applications/Some.app"));
}

TEST_F(Query, DecidesWhetherAVeryDeepFolderIsEmpty) {
    test::DeepTree litter({".DS_Store"});
    test::DeepTree file({".DS_Store", "file"});
    test::onASmallStack([&] {
        platform_->fileManager = &litter;
        EXPECT_TRUE(KXFileManager::isFolderEmpty(test::DeepTree::kTop));
        platform_->fileManager = &file;
        EXPECT_FALSE(KXFileManager::isFolderEmpty(test::DeepTree::kTop));
    });
}

TEST_F(Query, StopsAtTheFirstContentOfAFolder) {
    test::OrderedManager manager;
    platform_->fileManager = &manager;
    folder_.writeFile("f/file");
    folder_.makeFolder("f/sub");
    manager.order[folder_ / "f"] = {".DS_Store", "file", "sub"};
    EXPECT_FALSE(KXFileManager::isFolderEmpty(folder_ / "f"));
    EXPECT_THAT(manager.listed, ElementsAre(folder_ / "f"));
}

TEST_F(Query, OfADriveWritesTheMountPointBeforeItChecksIt) {
    static StringList steps;
    class Console : public test::ForwardingConsole {
        void log(std::string_view text) override { steps.emplace_back(text); }
    };
    class Manager : public test::FilesManager {
        bool fileExists(const std::string& path) override {
            steps.push_back("exists " + path);
            return true;
        }
    };
    Console console;
    Manager manager;
    platform_->console = &console;
    platform_->fileManager = &manager;
    EXPECT_TRUE(KXFileManager::isDriveMountedForPath("/Volumes/Disk/a"));
    EXPECT_THAT(steps, ElementsAre("mountpoint: //Volumes/Disk", "exists //Volumes/Disk"));
}

TEST_F(Query, CountsAnItemOnceForEachHardLink) {
    const std::string file = folder_.writeFile("f/one", "1234567890");
    std::filesystem::create_hard_link(file, folder_ / "f/two");
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "f"), 20U);
}

TEST_F(Query, CountsSizesBeyond32BitsAndHoles) {
    constexpr std::uint64_t kSize = 5'368'709'120;
    const std::string file = folder_.writeFile("f/sparse");
    ASSERT_EQ(::truncate(file.c_str(), static_cast<off_t>(kSize)), 0);
    EXPECT_EQ(KXFileManager::fileSize(file), kSize);
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "f"), kSize);
}

TEST_F(Query, DoesNotCountExtendedAttributes) {
    const std::string file = folder_.writeFile("file", "1234567890");
    const std::string value(100, 'x');
    if (::setxattr(file.c_str(), "user.test", value.data(), value.size(), 0) != 0)
        GTEST_SKIP() << "this file system keeps no extended attributes";
    EXPECT_EQ(KXFileManager::fileSize(file), 10U);
}

TEST_F(Query, ChoosesTheUnitBeforeItRounds) {
    EXPECT_EQ(KXFileManager::formatFileSize(1023.6), "1024 B");
    EXPECT_EQ(KXFileManager::formatFileSize(1048575.9), "1024.00 KB");
    EXPECT_EQ(KXFileManager::formatFileSize(1073741823), "1024.00 MB");
}

}  // namespace
}  // namespace quillmoor
