// Names of every kind of bytes, and paths longer than one system call takes.
#include "tests/files/copy_async_test.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAreArray;

class NastyNames : public test::FilesTest {
  protected:
    NastyNames() {
        for (const std::string& name : names_) folder_.writeFile("from/" + name, name);
    }
    void useRealTools() {
        platform_->tasks = platform::native().tasks;
        platform_->toolPaths = &tools_;
    }
    const StringList names_{
        "two\nlines",         "-rf", "caf\u00e9", "cafe\u0301", "\xff\xfe",     "100% %@ %s",
        "back\\\\",           " ",   "~",         "*?[x]",      "'q' \"q\" $x", "\x01\x7f",
        std::string(255, 'n')};
    const std::string from_ = folder_.makeFolder("from");

  private:
    class Tools : public test::ForwardingToolPaths {
      public:
        std::string toolPath(const std::string&) override { return KX_DITTO; }
    };
    Tools tools_;
};

TEST_F(NastyNames, AreFoundMeasuredAndMatched) {
    StringList paths;
    for (const std::string& name : names_) {
        const std::string path = from_ + "/" + name;
        EXPECT_TRUE(KXFileManager::fileExistsAtPath(path)) << name;
        EXPECT_EQ(KXFileManager::fileSize(path), name.size());
        EXPECT_FALSE(KXFileManager::isFileLocked(path));
        paths.push_back(path);
    }
    EXPECT_THAT(KXFileManager::filesMatchingWildcardPath("*", from_),
                UnorderedElementsAreArray(paths));
}

TEST_F(NastyNames, AreCopiedMovedAndRemoved) {
    startLog();
    const std::string to = folder_.makeFolder("to");
    for (const std::string& name : names_) {
        const std::string path = from_ + "/" + name;
        EXPECT_TRUE(KXFileManager::copyFile(path, to + "/" + name, ShouldAuth::No));
        EXPECT_EQ(test::readFile(to + "/" + name), name);
        EXPECT_TRUE(KXFileManager::moveFile(path, folder_ / "moved", ShouldAuth::No));
        EXPECT_TRUE(KXFileManager::moveFile(folder_ / "moved", path, ShouldAuth::No));
        EXPECT_EQ(test::readFile(path), name);
        EXPECT_TRUE(KXFileManager::removeFile(to + "/" + name, ShouldAuth::No));
    }
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_EQ(test::listing(to), "");
    EXPECT_EQ(manager_.contentsOfDirectory(from_)->size(), names_.size());
}

TEST_F(NastyNames, AreCopiedAndMovedToAnotherFileSystem) {
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    const std::string tree = test::makeNastyTree(folder_, "tree");
    const std::string before = test::describeTree(tree);
    EXPECT_TRUE(KXFileManager::copyFile(from_, other / "copy", ShouldAuth::No));
    EXPECT_EQ(test::describeTree(other / "copy"), test::describeTree(from_));
    EXPECT_TRUE(KXFileManager::moveFile(tree, other / "tree", ShouldAuth::No));
    EXPECT_EQ(test::describeTree(other / "tree"), before);
    EXPECT_FALSE(test::somethingAt(tree));
}

TEST_F(NastyNames, AreMovedToTheTrash) {
    EXPECT_TRUE(KXFileManager::trashDirectoryContents(from_, ShouldAuth::No));
    EXPECT_EQ(test::listing(from_), "");
    StringList contents;
    const StringList kept = manager_.contentsOfDirectory(trash() + "/").value();
    for (const std::string& name : kept) contents.push_back(test::readFile(trash() + "/" + name));
    EXPECT_THAT(contents, UnorderedElementsAreArray(names_));
}

TEST_F(NastyNames, AreTrashedByName) {
    for (const std::string& name : names_)
        EXPECT_THAT(KXFileManager::trashFilesNamed(name, from_), ElementsAre(from_ + "/" + name));
    EXPECT_EQ(test::listing(from_), "");
}

TEST_F(NastyNames, ArePackedAndUnpacked) {
    useRealTools();
    const std::string before = test::describeTree(from_);
    ASSERT_TRUE(KXFileManager::compressFile(from_, folder_ / "-a\n.zip"));
    ASSERT_TRUE(KXFileManager::decompressFile(folder_ / "-a\n.zip", folder_ / "-out\n"));
    for (const std::string& name : names_)
        EXPECT_EQ(test::readFile(folder_ / ("-out\n/from/" + name)), name);
    EXPECT_EQ(test::describeTree(from_), before);
}

TEST_F(NastyNames, ThatAreTooLongAreRefusedAndNothingIsCreated) {
    const std::string name(256, 'n');
    const std::string file = folder_.writeFile("file", "text");
    startLog();
    EXPECT_FALSE(KXFileManager::copyFile(file, from_ + "/" + name, ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::moveFile(file, from_ + "/" + name, ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::createDirectory(from_ + "/" + name, ShouldAuth::No));
    EXPECT_THAT(logged(), ElementsAre(HasSubstr("File name too long. Authorizing..."),
                                      EndsWith("File name too long."),
                                      HasSubstr("File name too long. Authorizing...")));
    EXPECT_TRUE(KXFileManager::removeFile(from_ + "/" + name, ShouldAuth::No));
    EXPECT_TRUE(KXFileManager::trashFile(from_ + "/" + name, ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::fileExistsAtPath(from_ + "/" + name));
    EXPECT_EQ(test::readFile(file), "text");
    EXPECT_EQ(manager_.contentsOfDirectory(from_)->size(), names_.size());
}

// An item "bottom" so far down that its path is longer than 4096 bytes.
class LongPaths : public test::FilesTest {
  protected:
    LongPaths() {
        const std::string name(200, 'd');
        test::makeDeepTree(folder_ / "top", 25, name);
        for (int i = 0; i < 25; ++i) long_ += "/" + name;
    }
    std::string long_ = folder_ / "top";
    const std::string file_ = folder_.writeFile("file", "text");
};

TEST_F(LongPaths, AreFoundMeasuredAndMatched) {
    ASSERT_GT(long_.size(), 4096U);
    EXPECT_TRUE(KXFileManager::fileExistsAtPath(long_ + "/bottom"));
    EXPECT_FALSE(KXFileManager::fileExistsAtPath(long_ + "/gone"));
    EXPECT_TRUE(KXFileManager::isDirectoryAtPath(long_));
    EXPECT_FALSE(KXFileManager::isSymbolicLinkAtPath(long_));
    EXPECT_FALSE(KXFileManager::isFolderEmpty(folder_ / "top"));
    EXPECT_EQ(KXFileManager::fileSize(long_ + "/bottom"), 4U);
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "top"), 4U);
    EXPECT_EQ(KXFileManager::uniqueFilename(long_ + "/bottom"), long_ + "/bottom 2");
    EXPECT_THAT(KXFileManager::filesMatchingWildcardPath("*", long_),
                ElementsAre(long_ + "/bottom"));
    EXPECT_THAT(KXFileManager::filesMatchingWildcardPath(long_ + "/bot*"),
                ElementsAre(long_ + "/bottom"));
}

TEST_F(LongPaths, AreCreatedCopiedMovedAndRemoved) {
    startLog();
    EXPECT_TRUE(KXFileManager::createDirectory(long_ + "/new/deeper", ShouldAuth::No));
    EXPECT_TRUE(KXFileManager::copyFile(file_, long_ + "/new/copy", ShouldAuth::No));
    EXPECT_TRUE(KXFileManager::copyFile(long_ + "/bottom", folder_ / "bottom", ShouldAuth::No));
    EXPECT_EQ(test::readFile(folder_ / "bottom"), "here");
    EXPECT_TRUE(KXFileManager::moveFile(long_ + "/new/copy", folder_ / "back", ShouldAuth::No));
    EXPECT_EQ(test::readFile(folder_ / "back"), "text");
    EXPECT_TRUE(KXFileManager::moveFile(file_, long_ + "/new/file", 10s));
    EXPECT_FALSE(test::somethingAt(file_));
    EXPECT_EQ(KXFileManager::fileSize(long_), 8U);
    EXPECT_TRUE(KXFileManager::copyContentsOfDirectory(long_, folder_.makeFolder("all"), 10s));
    EXPECT_EQ(test::listing(folder_ / "all"), "bottom new");
    EXPECT_TRUE(KXFileManager::removeFile(long_ + "/new", ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::fileExistsAtPath(long_ + "/new"));
    EXPECT_TRUE(KXFileManager::createEmptyFile(long_ + "/empty"));
    EXPECT_TRUE(KXFileManager::removeFile(long_ + "/empty", 10s));
    EXPECT_THAT(KXFileManager::filesMatchingWildcardPath("*", long_),
                ElementsAre(long_ + "/bottom"));
}

TEST_F(LongPaths, AreMirrored) {
    const std::string made = (folder_ / "mirror") + long_;
    EXPECT_EQ(KXFileManager::createDirectoryStructure(long_ + "/bottom", folder_ / "mirror"), made);
    EXPECT_TRUE(KXFileManager::isDirectoryAtPath(made));
    EXPECT_TRUE(KXFileManager::removeFile(folder_ / "mirror", ShouldAuth::No));
}

TEST_F(LongPaths, HaveAttributes) {
    startLog();
    const std::string bottom = long_ + "/bottom";
    KXFileManager::setPosixPermissions(0640, bottom);
    const auto date = std::chrono::system_clock::time_point(1000s);
    EXPECT_TRUE(KXFileManager::setModificationDate(date, bottom));
    EXPECT_EQ(platform::current().attributes->attributesOfItem(bottom)->modificationDate, date);
    KXFileManager::unlockFile(bottom);
    KXFileManager::unlockFolder(folder_ / "top");
    EXPECT_FALSE(KXFileManager::isFileLocked(bottom));
    EXPECT_THAT(logged(), IsEmpty());
}

// A reference contains a path, and its size is fixed.
TEST_F(LongPaths, HaveNoReferenceAndNoLabel) {
    const std::string bottom = long_ + "/bottom";
    const platform::FileReference reference = KXFileManager::stringToFSRef(bottom);
    EXPECT_EQ(KXFileManager::stringWithFSRef(&reference), std::nullopt);
    KXFileManager::setFinderColorIndex(2, bottom);
    EXPECT_EQ(KXFileManager::finderColorIndexForPath(bottom), 0);
    KXFileManager::notifyFileSystemChanged(bottom);
}

TEST_F(LongPaths, AreMovedToTheTrashWithTheirWholePathRecorded) {
    EXPECT_TRUE(KXFileManager::trashFile(long_ + "/bottom", ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::fileExistsAtPath(long_ + "/bottom"));
    EXPECT_EQ(test::readFile(trash() + "/bottom"), "here");
    EXPECT_THAT(test::readFile(trash() + "/../info/bottom.trashinfo"),
                HasSubstr("Path=" + long_ + "/bottom\n"));
}

TEST_F(LongPaths, AreTrashedByNameAtEveryDepth) {
    EXPECT_THAT(KXFileManager::trashFilesNamed("bottom", folder_ / "top"),
                ElementsAre(long_ + "/bottom"));
    EXPECT_EQ(test::readFile(trash() + "/bottom"), "here");
}

class LongPathsWithProgress : public test::CopyWithProgressTest {};

TEST_F(LongPathsWithProgress, AreCopied) {
    platform_->fileOperations = platform::native().fileOperations;
    platform_->mainThread = platform::native().mainThread;
    std::string to = folder_ / "top";
    for (int i = 0; i < 25; ++i) to += "/" + std::string(200, 'd');
    ASSERT_TRUE(KXFileManager::copyFileWithProgress(file_, to + "/copy", listener_, nullptr));
    const auto end = std::chrono::steady_clock::now() + 20s;
    while (listener_->events.empty() && std::chrono::steady_clock::now() < end)
        test::serveDefaultMode(5ms);
    EXPECT_THAT(listener_->events, ElementsAre("finished with operation"));
    EXPECT_EQ(KXFileManager::fileSize(to + "/copy"), 4U);
    EXPECT_TRUE(KXFileManager::removeFile(folder_ / "top", ShouldAuth::No));
}

}  // namespace
}  // namespace quillmoor
