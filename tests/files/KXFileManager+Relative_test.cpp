// Paths without a folder part: items of the current folder.
#include <filesystem>

#include "tests/files/copy_async_test.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// The current folder is the test's own, and no administrator rights may be requested.
class RelativeNames : public test::CopyWithProgressTest {
  protected:
    RelativeNames() : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(folder_.makeFolder("work"));
        platform_->fileOperations = platform::native().fileOperations;
        platform_->mainThread = platform::native().mainThread;
        startLog();
    }
    ~RelativeNames() override { std::filesystem::current_path(before_); }

    void TearDown() override {
        EXPECT_THAT(authorization_.calls, IsEmpty());
        EXPECT_THAT(tasks_.launched, IsEmpty());
        EXPECT_THAT(logged(), IsEmpty());
        CopyWithProgressTest::TearDown();
    }

    std::string writeFile(const std::string& name, std::string_view contents) const {
        return folder_.writeFile("work/" + name, contents);
    }
    std::string contents(const std::string& name) const {
        return test::readFile(folder_ / ("work/" + name));
    }
    std::string workListing() const { return test::listing(folder_ / "work"); }
    std::string record(const std::string& name) const {
        return test::readFile(trash() + "/../info/" + name + ".trashinfo");
    }

  private:
    const std::filesystem::path before_;
};

TEST_F(RelativeNames, AreMovedToTheTrashWithTheirWholePathRecorded) {
    const std::string path = writeFile("mine.txt", "text");
    EXPECT_TRUE(KXFileManager::trashFile("mine.txt"));
    EXPECT_EQ(workListing(), "");
    EXPECT_EQ(test::readFile(trash() + "/mine.txt"), "text");
    EXPECT_THAT(record("mine.txt"), HasSubstr("Path=" + path + "\n"));
}

TEST_F(RelativeNames, OfAFolderAreMovedToTheTrash) {
    const std::string path = writeFile("full/one", "1");
    EXPECT_TRUE(KXFileManager::trashDirectoryContents("full"));
    EXPECT_EQ(workListing(), "full");
    EXPECT_THAT(record("one"), HasSubstr("Path=" + path + "\n"));
}

TEST_F(RelativeNames, AreTrashedByType) {
    writeFile("tree/a.mov", "1");
    EXPECT_THAT(KXFileManager::trashFilesOfType("mov", "tree"), ElementsAre("tree/a.mov"));
    EXPECT_EQ(test::readFile(trash() + "/a.mov"), "1");
}

TEST_F(RelativeNames, AreCreatedCopiedMovedAndRemoved) {
    EXPECT_TRUE(KXFileManager::createDirectory("new"));
    EXPECT_TRUE(KXFileManager::createEmptyFile("empty"));
    EXPECT_EQ(workListing(), "empty new");
    writeFile("file", "text");
    EXPECT_TRUE(KXFileManager::copyFile("file", "copy"));
    EXPECT_TRUE(KXFileManager::moveFile("file", "moved"));
    EXPECT_EQ(contents("copy"), "text");
    EXPECT_EQ(contents("moved"), "text");
    EXPECT_TRUE(KXFileManager::copyContentsOfDirectory("new", "other", 1s));
    for (const char* name : {"empty", "new", "copy", "moved"})
        EXPECT_TRUE(KXFileManager::removeFile(name)) << name;
    EXPECT_EQ(workListing(), "");
}

TEST_F(RelativeNames, AreMovedToAnotherFileSystem) {
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    writeFile("tree/file", "text");
    EXPECT_TRUE(KXFileManager::moveFile("tree", other / "tree"));
    EXPECT_TRUE(KXFileManager::moveFile(other / "tree", "back"));
    EXPECT_EQ(workListing(), "back");
    EXPECT_EQ(contents("back/file"), "text");
}

TEST_F(RelativeNames, AreMirroredBelowTheDestination) {
    writeFile("file", "text");
    folder_.makeFolder("work/tree");
    EXPECT_EQ(KXFileManager::createDirectoryStructure("file", "mirror"), "mirror");
    EXPECT_EQ(KXFileManager::createDirectoryStructure("tree", "mirror"), "mirror/tree");
    EXPECT_EQ(test::listing(folder_ / "work/mirror"), "tree");
}

TEST_F(RelativeNames, AreUnlockedInTheCurrentFolder) {
    noteChanges();
    writeFile("file", "text");
    EXPECT_TRUE(KXFileManager::copyFile("file", "copy"));
    EXPECT_THAT(changes(),
                ElementsAre(ElementsAre("unlock", "."), ElementsAre("copy", "file", "copy")));
}

TEST_F(RelativeNames, HaveAttributesAndLabels) {
    writeFile("file", "text");
    KXFileManager::setPosixPermissions(0640, "file");
    KXFileManager::unlockFile("file");
    EXPECT_TRUE(
        KXFileManager::setModificationDate(std::chrono::system_clock::time_point(1s), "file"));
    EXPECT_EQ(KXFileManager::fileSize("file"), 4U);
    EXPECT_EQ(KXFileManager::uniqueFilename("file"), "file 2");
    KXFileManager::setFinderColorIndex(12, "file");
    EXPECT_EQ(KXFileManager::finderColorIndexForPath("file"),
              KXFileManager::finderColorIndexForPath(folder_ / "work/file"));
}

TEST_F(RelativeNames, AreCopiedWithProgress) {
    writeFile("file", "text");
    ASSERT_TRUE(KXFileManager::copyFileWithProgress("file", "copy", listener_, nullptr));
    const auto end = std::chrono::steady_clock::now() + 20s;
    while (listener_->events.empty() && std::chrono::steady_clock::now() < end)
        test::serveDefaultMode(5ms);
    EXPECT_THAT(listener_->events, ElementsAre("finished with operation"));
    EXPECT_EQ(std::get<std::string>(listener_->last.at("destination")), "copy");
    EXPECT_EQ(contents("copy"), "text");
    EXPECT_EQ(workListing(), "copy file");
    EXPECT_THAT(console_.logged, IsEmpty());
}

// With the real archiving tool.
class RelativeArchives : public RelativeNames {
  protected:
    RelativeArchives() {
        platform_->tasks = platform::native().tasks;
        platform_->toolPaths = &tools_;
    }

  private:
    class Tools : public test::ForwardingToolPaths {
      public:
        std::string toolPath(const std::string&) override { return KX_DITTO; }
    };
    Tools tools_;
};

TEST_F(RelativeArchives, MoveAnExistingItemToTheTrashFirst) {
    writeFile("tree/file", "text");
    writeFile("a.zip", "old archive");
    ASSERT_TRUE(KXFileManager::compressFile("tree", "a.zip"));
    EXPECT_EQ(test::readFile(trash() + "/a.zip"), "old archive");
    const std::string old = writeFile("relout/old", "old");
    ASSERT_TRUE(KXFileManager::decompressFile("a.zip", "relout"));
    EXPECT_EQ(test::listing(folder_ / "work/relout"), "tree");
    EXPECT_EQ(contents("relout/tree/file"), "text");
    EXPECT_EQ(test::readFile(trash() + "/relout/old"), "old");
    EXPECT_THAT(record("relout"), HasSubstr("Path=" + (folder_ / "work/relout") + "\n"));
}

TEST_F(RelativeNames, WithATildeAreNotExpanded) {
    EXPECT_TRUE(KXFileManager::createDirectory("~/x"));
    EXPECT_EQ(test::listing(folder_ / "work/~"), "x");
    EXPECT_TRUE(KXFileManager::createEmptyFile("~/file"));
    EXPECT_TRUE(KXFileManager::removeFile("~/x"));
    EXPECT_EQ(test::listing(folder_ / "work/~"), "file");
    EXPECT_TRUE(KXFileManager::trashFile("~"));
    EXPECT_EQ(workListing(), "");
}

}  // namespace
}  // namespace quillmoor
