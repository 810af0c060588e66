// On a volume that folds the case of names.
#include "tests/files/files_fixture.h"
#include "tests/platform/support/folding_file_system.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::EndsWith;

constexpr char kNoIdentity[] =
    "here each spelling of a name has an inode number of its own: nothing tells that it is one "
    "item";

class RootFolding : public test::FilesTest {
  protected:
    void SetUp() override {
        if (!test::isRoot()) GTEST_SKIP() << "only root can mount such a volume";
        volume_.emplace(folder_);
        if (!volume_->excuse().empty()) GTEST_SKIP() << volume_->excuse();
    }
    std::string write(const std::string& name, const std::string& contents = "text") const {
        return folder_.writeFile((*volume_ / name).substr(folder_.path().size() + 1), contents);
    }
    std::string listing() const { return test::listing(volume_->path()); }

    std::optional<test::FoldingFileSystem> volume_;
};

TEST_F(RootFolding, AnItemExistsInEverySpelling) {
    const std::string file = write("Sub/Report.txt");
    const std::string other = *volume_ / "SUB/REPORT.TXT";
    EXPECT_TRUE(KXFileManager::fileExistsAtPath(other));
    EXPECT_TRUE(KXFileManager::isDirectoryAtPath(*volume_ / "SUB"));
    EXPECT_EQ(KXFileManager::fileSize(other), 4U);
    EXPECT_FALSE(KXFileManager::isFolderEmpty(*volume_ / "sUB"));
    EXPECT_EQ(KXFileManager::uniqueFilename(other), *volume_ / "SUB/REPORT 2.TXT");
    EXPECT_EQ(KXFileManager::uniqueFilename(file), *volume_ / "Sub/Report 2.txt");
    EXPECT_TRUE(KXFileManager::createDirectory(*volume_ / "SUB"));
    EXPECT_EQ(listing(), "Sub");
}

TEST_F(RootFolding, TheLibraryStillComparesNamesExactly) {
    const std::string file = write("Sub/.DS_Store");
    EXPECT_THAT(KXFileManager::trashFilesNamed(".ds_store", volume_->path()), ElementsAre());
    EXPECT_THAT(KXFileManager::filesMatchingWildcardPath("SUB/*.ds_store", volume_->path()),
                ElementsAre());
    EXPECT_THAT(KXFileManager::filesMatchingWildcardPath("SUB/*.DS_Store", volume_->path()),
                ElementsAre(*volume_ / "SUB/.DS_Store"));
    EXPECT_TRUE(test::somethingAt(file));
}

TEST_F(RootFolding, AMoveChangesTheSpellingThroughAFreeName) {
    const std::string file = write("Report.txt");
    EXPECT_TRUE(KXFileManager::moveFile(file, *volume_ / "report.txt", 30s));
    EXPECT_THAT(manager_.moved,
                ElementsAre(ElementsAre(file, *volume_ / "report 2.txt"),
                            ElementsAre(*volume_ / "report 2.txt", *volume_ / "report.txt")));
    EXPECT_EQ(listing(), "report.txt");
    EXPECT_EQ(test::readFile(*volume_ / "report.txt"), "text");
    EXPECT_THAT(clock_.slept, ElementsAre(500us));
    write("Folder/inside");
    EXPECT_TRUE(KXFileManager::moveFile(*volume_ / "Folder", *volume_ / "FOLDER", ShouldAuth::No));
    EXPECT_EQ(listing(), "FOLDER report.txt");
    EXPECT_EQ(test::readFile(*volume_ / "FOLDER/inside"), "text");
}

// With the system's own tool, without the free name.
TEST_F(RootFolding, TheSystemsToolChangesTheSpelling) {
    if (!volume_->isUnix()) GTEST_SKIP() << kNoIdentity;
    const std::string file = write("Report.txt");
    write("Folder/inside");
    EXPECT_TRUE(manager_.moveItem(file, *volume_ / "rEPORT.txt"));
    EXPECT_TRUE(manager_.moveItem(*volume_ / "Folder", *volume_ / "fOLDER"));
    EXPECT_EQ(listing(), "fOLDER rEPORT.txt");
    EXPECT_EQ(test::readFile(*volume_ / "rEPORT.txt"), "text");
    EXPECT_EQ(test::readFile(*volume_ / "fOLDER/inside"), "text");
}

TEST_F(RootFolding, ACopyReplacesNoItemOfAnotherSpelling) {
    const std::string file = folder_.writeFile("new", "new");
    write("Report.txt", "old");
    startLog();
    EXPECT_FALSE(KXFileManager::copyFile(file, *volume_ / "REPORT.TXT", ShouldAuth::No));
    EXPECT_FALSE(
        KXFileManager::copyFile(*volume_ / "Report.txt", *volume_ / "report.txt", ShouldAuth::No));
    EXPECT_THAT(logged(), ElementsAre(EndsWith("File exists. Authorizing..."),
                                      EndsWith("File exists. Authorizing...")));
    EXPECT_EQ(listing(), "Report.txt");
    EXPECT_EQ(test::readFile(*volume_ / "Report.txt"), "old");
    EXPECT_EQ(test::readFile(file), "new");
}

TEST_F(RootFolding, AMoveReplacesNoItemOfAnotherSpelling) {
    const std::string file = folder_.writeFile("new", "new");
    const std::string one = write("One", "one");
    write("Two", "two");
    EXPECT_FALSE(KXFileManager::moveFile(file, *volume_ / "TWO", ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::moveFile(one, *volume_ / "tWO", ShouldAuth::No));
    EXPECT_EQ(listing(), "One Two");
    EXPECT_EQ(test::readFile(*volume_ / "Two"), "two");
    EXPECT_EQ(test::readFile(file), "new");
}

TEST_F(RootFolding, AFolderIsNotMovedIntoItselfInAnotherSpelling) {
    if (!volume_->isUnix()) GTEST_SKIP() << kNoIdentity;
    write("Tree/inside");
    EXPECT_FALSE(
        KXFileManager::copyFile(*volume_ / "Tree", *volume_ / "TREE/copy", ShouldAuth::No));
    EXPECT_FALSE(
        KXFileManager::moveFile(*volume_ / "Tree", *volume_ / "TREE/moved", ShouldAuth::No));
    EXPECT_EQ(test::listing(*volume_ / "Tree"), "inside");
}

TEST_F(RootFolding, AnItemIsRemovedAndTrashedInAnySpelling) {
    write("One", "one");
    write("Two");
    EXPECT_TRUE(KXFileManager::trashFile(*volume_ / "ONE", ShouldAuth::No));
    EXPECT_TRUE(KXFileManager::removeFile(*volume_ / "tWO", ShouldAuth::No));
    EXPECT_EQ(listing(), "");
    EXPECT_EQ(test::readFile(trash() + "/ONE"), "one");
}

// With the real archiving tool.
class RootFoldingArchives : public RootFolding {
  protected:
    void SetUp() override {
        RootFolding::SetUp();
        platform_->tasks = platform::native().tasks;
        platform_->toolPaths = &tools_;
    }
    bool pack(const std::string& folder) const {
        return KXFileManager::compressFile(folder_ / folder, folder_ / "a.zip", IncludeParent::No);
    }

  private:
    class Tools : public test::ForwardingToolPaths {
      public:
        std::string toolPath(const std::string&) override { return KX_DITTO; }
    };
    Tools tools_;
};

TEST_F(RootFoldingArchives, NamesThatDifferInCaseOnlyAreRefusedOnlyWhereTheyFold) {
    folder_.writeFile("names/Readme", "one");
    folder_.writeFile("names/README", "two");
    ASSERT_TRUE(pack("names"));
    EXPECT_FALSE(KXFileManager::decompressFile(folder_ / "a.zip", *volume_ / "out"));
    EXPECT_EQ(listing(), "");
    EXPECT_TRUE(KXFileManager::decompressFile(folder_ / "a.zip", folder_ / "out"));
    EXPECT_EQ(test::readFile(folder_ / "out/Readme"), "one");
    EXPECT_EQ(test::readFile(folder_ / "out/README"), "two");
}

TEST_F(RootFoldingArchives, FoldersThatDifferInCaseOnlyAreRefusedOnlyWhereTheyFold) {
    folder_.writeFile("names/Sub/a", "one");
    folder_.writeFile("names/SUB/b", "two");
    ASSERT_TRUE(pack("names"));
    const bool unpacked = KXFileManager::decompressFile(folder_ / "a.zip", *volume_ / "out");
    // Either nothing or everything is unpacked.
    if (unpacked) {
        EXPECT_EQ(test::readFile(*volume_ / "out/sub/a"), "one");
        EXPECT_EQ(test::readFile(*volume_ / "out/sub/b"), "two");
    } else {
        EXPECT_EQ(listing(), "");
    }
    EXPECT_TRUE(KXFileManager::decompressFile(folder_ / "a.zip", folder_ / "out"));
    EXPECT_EQ(test::listing(folder_ / "out"), "SUB Sub");
}

TEST_F(RootFoldingArchives, OtherNamesAreUnpacked) {
    folder_.writeFile("names/Readme", "one");
    folder_.writeFile("names/Sub/README", "two");
    ASSERT_TRUE(pack("names"));
    EXPECT_TRUE(KXFileManager::decompressFile(folder_ / "a.zip", *volume_ / "out"));
    EXPECT_EQ(test::readFile(*volume_ / "OUT/README"), "one");
    EXPECT_EQ(test::readFile(*volume_ / "out/Sub/README"), "two");
    EXPECT_EQ(listing(), "out");
}

}  // namespace
}  // namespace quillmoor
