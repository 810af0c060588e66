// Trees that cannot be handled completely: the result is false, the source is complete, and nothing
// else is changed.
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/files/files_fixture.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Trees : public test::FilesTest {
  protected:
    // Neither a copy nor a move creates `to`, and its folder is left unchanged.
    void expectRefused(const std::string& tree, const std::string& to, const std::string& reason) {
        const std::string before = test::describeTree(tree);
        const std::string folder = to.substr(0, to.rfind('/'));
        const std::string around = test::listing(folder);
        startLog();
        EXPECT_FALSE(KXFileManager::copyFile(tree, to, ShouldAuth::No));
        EXPECT_THAT(logged(), ElementsAre(EndsWith(": " + reason + ". Authorizing...")));
        startLog();
        EXPECT_FALSE(KXFileManager::moveFile(tree, to, ShouldAuth::No));
        EXPECT_THAT(logged(), ElementsAre(EndsWith(": " + reason + ".")));
        EXPECT_EQ(test::describeTree(tree), before);
        EXPECT_EQ(test::listing(folder), around);
        EXPECT_THAT(authorization_.calls, IsEmpty());
    }
    void makeSocket(const std::string& path) const {
        const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        ASSERT_LT(path.size(), sizeof address.sun_path);
        path.copy(address.sun_path, path.size());
        ASSERT_EQ(::bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ::close(descriptor);
    }
};

TEST_F(Trees, AreNotCopiedOrMovedIntoThemselves) {
    folder_.writeFile("tree/sub/file", "text");
    folder_.makeLink("way", "tree");
    const std::string tree = folder_ / "tree";
    for (const std::string& to :
         {tree + "/copy", tree + "/sub/copy", folder_ / "way/sub/copy", tree + "/sub/../copy"})
        expectRefused(tree, to, "Invalid argument");
    expectRefused(tree, tree + "/sub", "File exists");
}

TEST_F(Trees, ContentsCopiedIntoOneOfThemselvesEnd) {
    folder_.writeFile("tree/sub/file", "text");
    EXPECT_FALSE(
        KXFileManager::copyContentsOfDirectory(folder_ / "tree", folder_ / "tree/sub", 0s));
    EXPECT_EQ(test::listing(folder_ / "tree/sub"), "file");
}

TEST_F(Trees, ThatContainTheTrashAreNotMovedIntoIt) {
    ASSERT_TRUE(KXFileManager::trashFile(folder_.writeFile("home/file"), ShouldAuth::No));
    folder_.writeFile("home/stays", "text");
    EXPECT_FALSE(KXFileManager::trashFile(locations_.home, ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::trashFile(locations_.home + "/.local", ShouldAuth::No));
    EXPECT_EQ(test::readFile(locations_.home + "/stays"), "text");
    EXPECT_TRUE(test::somethingAt(trash() + "/file"));
}

TEST_F(Trees, WithASocketAreNotCopied) {
    folder_.writeFile("t/a/file", "text");
    makeSocket(folder_ / "t/a/s");
    const std::string before = test::describeTree(folder_ / "t");
    startLog();
    EXPECT_FALSE(KXFileManager::copyFile(folder_ / "t", folder_ / "copy", ShouldAuth::No));
    EXPECT_THAT(logged(), ElementsAre(EndsWith("Operation not supported. Authorizing...")));
    EXPECT_FALSE(test::somethingAt(folder_ / "copy"));
    EXPECT_EQ(test::listing(folder_.path()), "home t");
    EXPECT_TRUE(KXFileManager::moveFile(folder_ / "t", folder_ / "moved", ShouldAuth::No));
    EXPECT_EQ(test::describeTree(folder_ / "moved"), before);
}

TEST_F(Trees, WithASocketAreNotMovedToAnotherFileSystem) {
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    folder_.writeFile("t/a/file", "text");
    makeSocket(folder_ / "t/a/s");
    expectRefused(folder_ / "t", other / "t", "Operation not supported");
    EXPECT_TRUE(KXFileManager::moveFile(folder_.writeFile("file"), other / "file", ShouldAuth::No));
    // The opposite case: into the Trash.
    std::filesystem::create_directories(other / "u");
    makeSocket(other / "u/s");
    const std::string before = test::describeTree(other / "u");
    EXPECT_FALSE(KXFileManager::trashFile(other / "u", ShouldAuth::No));
    EXPECT_EQ(test::describeTree(other / "u"), before);
    EXPECT_EQ(test::listing(trash()), "");
    EXPECT_EQ(test::listing(trash() + "/../info"), "");
}

TEST_F(Trees, WithADeviceAreNotCopied) {
    if (!test::isRoot()) GTEST_SKIP() << "only root can make a device";
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    folder_.writeFile("t/file", "text");
    // Reading the device would never end.
    ASSERT_EQ(::mknod((folder_ / "t/zero").c_str(), S_IFCHR | 0600, makedev(1, 5)), 0);
    expectRefused(folder_ / "t", other / "t", "Operation not supported");
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "t"), 4U);
    EXPECT_THAT(KXFileManager::trashFilesNamed("zero", folder_ / "t"),
                ElementsAre(folder_ / "t/zero"));
    EXPECT_EQ(test::listing(folder_ / "t"), "file");
    EXPECT_EQ(test::listing(trash()), "zero");
}

// Opening the pipe would block until another process opens its other end.
TEST_F(Trees, MayContainPipesAndDanglingLinks) {
    folder_.writeFile("t/a/file", "text");
    folder_.makeLink("t/a/dangling", "nowhere");
    ASSERT_EQ(::mkfifo((folder_ / "t/a/pipe").c_str(), 0640), 0);
    const std::string before = test::describeTree(folder_ / "t");
    EXPECT_EQ(KXFileManager::fileSize(folder_ / "t"), 4U + 7U);
    EXPECT_FALSE(KXFileManager::isFolderEmpty(folder_ / "t"));
    EXPECT_FALSE(KXFileManager::isFileLocked(folder_ / "t/a/pipe"));
    startLog();
    KXFileManager::unlockFolder(folder_ / "t");
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_TRUE(KXFileManager::copyFile(folder_ / "t", folder_ / "copy", ShouldAuth::No));
    EXPECT_EQ(test::describeTree(folder_ / "copy"), before);
    EXPECT_TRUE(KXFileManager::copyFile(folder_ / "t/a/pipe", folder_ / "pipe", ShouldAuth::No));
    EXPECT_TRUE(
        KXFileManager::copyFile(folder_ / "t/a/dangling", folder_ / "link", ShouldAuth::No));
    EXPECT_TRUE(KXFileManager::isSymbolicLinkAtPath(folder_ / "link"));
    EXPECT_TRUE(KXFileManager::moveFile(folder_ / "link", folder_ / "moved", ShouldAuth::No));
    EXPECT_TRUE(KXFileManager::isSymbolicLinkAtPath(folder_ / "moved"));
    EXPECT_TRUE(KXFileManager::trashFile(folder_ / "t", ShouldAuth::No));
    EXPECT_EQ(test::describeTree(trash() + "/t"), before);
    EXPECT_TRUE(KXFileManager::removeFile(folder_ / "copy", ShouldAuth::No));
    EXPECT_TRUE(KXFileManager::removeFile(folder_ / "pipe", ShouldAuth::No));
    EXPECT_EQ(test::listing(folder_.path()), "home moved");
}

// A dangling link counts as missing, and is still not replaced.
TEST_F(Trees, ADanglingLinkIsNotReplaced) {
    const std::string file = folder_.writeFile("file", "text");
    const std::string link = folder_.makeLink("link", "nowhere");
    expectRefused(file, link, "File exists");
    EXPECT_FALSE(KXFileManager::createDirectory(link, ShouldAuth::No));
    EXPECT_FALSE(test::somethingAt(folder_ / "nowhere"));
    EXPECT_TRUE(KXFileManager::isSymbolicLinkAtPath(link));
}

// Nested folders with paths longer than one system call takes; in memory where possible.
class DeepTrees : public Trees {
  protected:
    static constexpr int kDepth = 2000;
    static constexpr char kName[] = "ddd";
    DeepTrees() { test::makeDeepTree(deep_, kDepth, kName); }
    ~DeepTrees() override {
        for (const std::string& path : {deep_, place_ + "/copy", locations_.home})
            KXFileManager::removeFile(path, ShouldAuth::No);
    }
    std::string bottom() const {
        std::string path = deep_;
        for (int i = 0; i < kDepth; ++i) path += std::string("/") + kName;
        return path + "/bottom";
    }
    const test::OtherFileSystem other_{folder_};
    const std::string place_ = other_.available() ? other_.path() : folder_.path();
    const std::string deep_ = place_ + "/deep";
};

TEST_F(DeepTrees, AreMeasuredCopiedMovedAndRemoved) {
    const std::string moved = place_ + "/moved";
    EXPECT_EQ(KXFileManager::fileSize(deep_), 4U);
    EXPECT_TRUE(KXFileManager::copyFile(deep_, place_ + "/copy", ShouldAuth::No));
    EXPECT_EQ(test::depthOf(place_ + "/copy", kName), kDepth);
    EXPECT_TRUE(KXFileManager::moveFile(place_ + "/copy", moved, ShouldAuth::No));
    EXPECT_EQ(KXFileManager::fileSize(moved), 4U);
    EXPECT_TRUE(KXFileManager::removeFile(moved, 10s));
    EXPECT_FALSE(test::somethingAt(moved));
    EXPECT_EQ(test::depthOf(deep_, kName), kDepth);
}

TEST_F(DeepTrees, AreMovedAndTrashedAcrossFileSystems) {
    if (!other_.available()) GTEST_SKIP() << "no other file system here";
    EXPECT_TRUE(KXFileManager::trashFile(deep_, ShouldAuth::No));
    EXPECT_FALSE(test::somethingAt(deep_));
    EXPECT_EQ(test::depthOf(trash() + "/deep", kName), kDepth);
    EXPECT_TRUE(KXFileManager::moveFile(trash() + "/deep", deep_, ShouldAuth::No));
    EXPECT_FALSE(test::somethingAt(trash() + "/deep"));
    EXPECT_EQ(test::depthOf(deep_, kName), kDepth);
}

TEST_F(DeepTrees, AreWalkedToTheBottom) {
    EXPECT_FALSE(KXFileManager::isFolderEmpty(deep_));
    EXPECT_FALSE(KXFileManager::removeFolderIfEmpty(deep_));
    EXPECT_EQ(KXFileManager::fileSize(bottom()), 4U);
    startLog();
    KXFileManager::unlockFolder(deep_);
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(KXFileManager::trashFilesNamed("bottom", deep_), ElementsAre(bottom()));
    EXPECT_EQ(test::readFile(trash() + "/bottom"), "here");
    EXPECT_TRUE(KXFileManager::removeFolderIfEmpty(deep_));
    EXPECT_FALSE(test::somethingAt(deep_));
}

// Root may read everything.
class UserTrees : public Trees {
  protected:
    void SetUp() override {
        if (test::isRoot()) GTEST_SKIP() << "root may read and write everything";
        folder_.writeFile("tree/a", "1");
        folder_.writeFile("tree/closed/b", "22");
        ASSERT_EQ(::chmod(closed_.c_str(), 0), 0);
    }
    void TearDown() override {
        ::chmod(closed_.c_str(), 0700);
        Trees::TearDown();
    }
    const std::string tree_ = folder_.makeFolder("tree");
    const std::string closed_ = tree_ + "/closed";
};

TEST_F(UserTrees, WithAFolderThatMayNotBeReadAreNotCopied) {
    startLog();
    EXPECT_FALSE(KXFileManager::copyFile(tree_, folder_ / "copy", ShouldAuth::No));
    EXPECT_THAT(logged(), ElementsAre(EndsWith("Permission denied. Authorizing...")));
    EXPECT_FALSE(KXFileManager::copyFile(closed_, folder_ / "copy", ShouldAuth::No));
    EXPECT_EQ(test::listing(folder_.path()), "home tree");
    EXPECT_TRUE(KXFileManager::moveFile(tree_, folder_ / "moved", ShouldAuth::No));
    ASSERT_TRUE(KXFileManager::moveFile(folder_ / "moved", tree_, ShouldAuth::No));
    ASSERT_EQ(::chmod(closed_.c_str(), 0700), 0);
    EXPECT_EQ(test::readFile(closed_ + "/b"), "22");
}

TEST_F(UserTrees, WithAFolderThatMayNotBeReadAreNotMovedToAnotherFileSystem) {
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    startLog();
    EXPECT_FALSE(KXFileManager::moveFile(tree_, other / "tree", ShouldAuth::No));
    EXPECT_THAT(logged(), ElementsAre(EndsWith("Permission denied.")));
    EXPECT_EQ(test::listing(other.path()), "");
    ASSERT_EQ(::chmod(closed_.c_str(), 0700), 0);
    EXPECT_EQ(test::readFile(tree_ + "/a"), "1");
    EXPECT_EQ(test::readFile(closed_ + "/b"), "22");
}

TEST_F(UserTrees, WithAFolderThatMayNotBeReadCountOnlyTheRest) {
    EXPECT_EQ(KXFileManager::fileSize(tree_), 1U);
    EXPECT_EQ(KXFileManager::fileSize(closed_), 0U);
    EXPECT_THAT(KXFileManager::filesMatchingWildcardPath("*/*", tree_), IsEmpty());
    EXPECT_THAT(KXFileManager::trashFilesNamed("b", tree_), IsEmpty());
    EXPECT_TRUE(KXFileManager::trashDirectoryContents(closed_, ShouldAuth::No));
    ASSERT_EQ(::chmod(closed_.c_str(), 0700), 0);
    EXPECT_EQ(test::readFile(closed_ + "/b"), "22");
}

// A folder that cannot be read counts as empty, but may contain items.
TEST_F(UserTrees, ThatOnlySeemEmptyAreNotRemoved) {
    EXPECT_TRUE(KXFileManager::isFolderEmpty(closed_));
    EXPECT_FALSE(KXFileManager::removeFolderIfEmpty(closed_));
    EXPECT_TRUE(authorization_.started().empty());
    ASSERT_EQ(::chmod(closed_.c_str(), 0700), 0);
    EXPECT_EQ(test::readFile(closed_ + "/b"), "22");
}

TEST_F(UserTrees, InAFolderThatMayNotBeChangedAreNotRemoved) {
    ASSERT_EQ(::chmod(closed_.c_str(), 0500), 0);
    const std::string file = closed_ + "/b";
    startLog();
    EXPECT_FALSE(KXFileManager::removeFile(file, ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::moveFile(file, folder_ / "b", ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::createDirectory(closed_ + "/new", ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::copyFile(tree_ + "/a", closed_ + "/a", ShouldAuth::No));
    EXPECT_THAT(logged(), ElementsAre(HasSubstr("Permission denied. Authorizing..."),
                                      EndsWith("Permission denied."),
                                      HasSubstr("Permission denied. Authorizing..."),
                                      HasSubstr("Permission denied. Authorizing...")));
    EXPECT_FALSE(KXFileManager::trashFile(file, ShouldAuth::No));
    EXPECT_EQ(test::listing(closed_), "b");
    EXPECT_EQ(test::readFile(file), "22");
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

// A disk that is full when half of a copy is written.
class FullDisk : public Trees {
  protected:
    FullDisk() {
        folder_.writeFile("tree/a", "1");
        folder_.writeFile("tree/sub/large", std::string(1 << 20, 'x'));
    }
    const std::string tree_ = folder_ / "tree";
};

TEST_F(FullDisk, KeepsNothingOfACopiedTree) {
    const test::OtherFileSystem small(folder_, "64k");
    if (!small.isLimited()) GTEST_SKIP() << "nothing can be mounted here";
    expectRefused(tree_, small / "tree", "No space left on device");
    // What fits is copied, and the first item that does not fit ends the operation.
    EXPECT_FALSE(KXFileManager::copyContentsOfDirectory(tree_, small.path(), 0s));
    EXPECT_FALSE(test::somethingAt(small / "sub"));
}

TEST_F(FullDisk, KeepsNothingInAnExistingTrash) {
    const test::OtherFileSystem small(folder_, "64k");
    if (!small.isLimited()) GTEST_SKIP() << "nothing can be mounted here";
    locations_.home = locations_.ownHome = small.path();
    const std::string before = test::describeTree(tree_);
    EXPECT_FALSE(KXFileManager::trashFile(tree_, ShouldAuth::No));
    EXPECT_EQ(test::describeTree(tree_), before);
    EXPECT_EQ(test::listing(small / ".local/share/Trash/files"), "");
    EXPECT_EQ(test::listing(small / ".local/share/Trash/info"), "");
}

class FullDiskArchives : public FullDisk {
  protected:
    class Tools : public test::ForwardingToolPaths {
      public:
        std::string toolPath(const std::string&) override { return KX_DITTO; }
    };
    FullDiskArchives() {
        platform_->tasks = platform::native().tasks;
        platform_->toolPaths = &tools_;
    }
    Tools tools_;
};

TEST_F(FullDiskArchives, KeepsNoPartOfAnArchiveOrOfItsContents) {
    const test::OtherFileSystem small(folder_, "64k");
    if (!small.isLimited()) GTEST_SKIP() << "nothing can be mounted here";
    std::string noise(1 << 18, '\0');
    std::uint32_t state = 1;
    for (char& byte : noise) byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    folder_.writeFile("tree/noise", noise);
    EXPECT_FALSE(KXFileManager::compressFile(tree_, small / "a.zip"));
    EXPECT_EQ(test::listing(small.path()), "");
    ASSERT_TRUE(KXFileManager::compressFile(tree_, folder_ / "a.zip"));
    EXPECT_FALSE(KXFileManager::decompressFile(folder_ / "a.zip", small / "out"));
    EXPECT_EQ(test::listing(small.path()), "");
}

// No file may grow beyond 64 KiB, for any user: the copy ends in the middle of its data.
class LimitedFiles : public FullDisk {
  protected:
    LimitedFiles() {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        handler_ = ::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = before_;
        limit.rlim_cur = 1 << 16;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~LimitedFiles() override {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        ::signal(SIGXFSZ, handler_);
    }

  private:
    rlimit before_{};
    sighandler_t handler_ = SIG_DFL;
};

TEST_F(LimitedFiles, EndACopyInTheMiddleWithoutResidue) {
    const std::string before = test::describeTree(tree_);
    startLog();
    EXPECT_FALSE(KXFileManager::copyFile(tree_, folder_ / "copy", ShouldAuth::No));
    EXPECT_THAT(logged(), ElementsAre(EndsWith("File too large. Authorizing...")));
    EXPECT_EQ(test::listing(folder_.path()), "home tree");
    EXPECT_EQ(test::describeTree(tree_), before);
}

TEST_F(LimitedFiles, EndAMoveToAnotherFileSystemInTheMiddleWithoutResidue) {
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    expectRefused(tree_, other / "tree", "File too large");
}

}  // namespace
}  // namespace quillmoor
