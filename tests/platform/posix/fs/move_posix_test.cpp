#include "quillmoor/platform/posix/fs/move_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string_view>
#include <utility>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/platform/support/locked_item.h"
#include "tests/platform/support/resisting_item.h"

namespace quillmoor::platform::posix {
namespace {

using test::describeTree;
using test::OtherFileSystem;
using test::somethingAt;
using test::TempFolder;

int moved(const std::string& path, const std::string& destination) {
    const Outcome outcome = nativeFileManager()->moveItem(path, destination);
    return outcome ? 0 : outcome.error().code;
}

// Fails when an item is made in an empty folder, also one that is removed again.
class Untouched {
  public:
    explicit Untouched(std::string path) : path_(std::move(path)) {
        const timespec longAgo[2]{{1, 0}, {1, 0}};
        EXPECT_EQ(::utimensat(AT_FDCWD, path_.c_str(), longAgo, 0), 0);
    }
    bool holds() const {
        struct stat status {};
        return ::stat(path_.c_str(), &status) == 0 && status.st_mtime == 1 &&
               test::listing(path_).empty();
    }

  private:
    std::string path_;
};

TEST(Move, ATreeIsRenamed) {
    const TempFolder folder;
    const std::string tree = test::makeNastyTree(folder, "tree");
    const std::string before = describeTree(tree);
    ASSERT_EQ(moved(tree, folder / "moved"), 0);
    EXPECT_EQ(describeTree(folder / "moved"), before);
    EXPECT_EQ(test::listing(folder.path()), "moved");
}

TEST(Move, AnExistingDestinationStaysAsItWas) {
    const TempFolder folder;
    folder.writeFile("source", "new");
    folder.writeFile("file", "old");
    folder.makeFolder("folder");
    folder.makeLink("dangling", "nowhere");
    for (const char* name : {"file", "folder", "dangling"}) {
        const std::string before = describeTree(folder / name);
        const Outcome outcome = nativeFileManager()->moveItem(folder / "source", folder / name);
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.error().description, "“source” couldn’t be moved: File exists");
        EXPECT_EQ(describeTree(folder / name), before);
    }
    EXPECT_EQ(test::readFile(folder / "source"), "new");
}

TEST(Move, OntoItsOwnEntrySucceeds) {
    const TempFolder folder;
    folder.writeFile("sub/file", "stays");
    folder.makeLink("other way", "sub");
    folder.makeLink("dangling", "nowhere");
    EXPECT_EQ(moved(folder / "sub/file", folder / "sub/file"), 0);
    EXPECT_EQ(moved(folder / "sub/file", folder / "other way/../sub//file"), 0);
    EXPECT_EQ(moved(folder / "sub", folder / "sub/"), 0);
    EXPECT_EQ(moved(folder / "dangling", folder / "dangling"), 0);
    EXPECT_EQ(moved(folder / "missing", folder / "missing"), ENOENT);
    EXPECT_EQ(test::readFile(folder / "sub/file"), "stays");
}

TEST(Move, TwoHardLinksAreTwoItems) {
    const TempFolder folder;
    folder.writeFile("one", "same");
    folder.makeFolder("sub");
    ASSERT_EQ(::link((folder / "one").c_str(), (folder / "two").c_str()), 0);
    ASSERT_EQ(::link((folder / "one").c_str(), (folder / "sub/one").c_str()), 0);
    EXPECT_EQ(moved(folder / "one", folder / "two"), EEXIST);
    EXPECT_EQ(moved(folder / "one", folder / "sub/one"), EEXIST);
    EXPECT_TRUE(somethingAt(folder / "one"));
    EXPECT_TRUE(somethingAt(folder / "two"));
}

TEST(Move, RefusesTheRootAndDotNames) {
    const TempFolder folder;
    folder.makeFolder("sub");
    EXPECT_EQ(moved(folder / "sub/.", folder / "new"), EINVAL);
    EXPECT_EQ(moved(folder / "sub/..", folder / "new"), EINVAL);
    EXPECT_EQ(moved("/", folder / "new"), EINVAL);
    EXPECT_EQ(moved("", folder / "new"), ENOENT);
    EXPECT_EQ(moved(folder / "sub", ""), ENOENT);
    EXPECT_EQ(test::listing(folder.path()), "sub");
}

TEST(Move, ASlashAtTheEndAsksForAFolder) {
    const TempFolder folder;
    folder.writeFile("file");
    folder.makeFolder("sub");
    EXPECT_EQ(moved(folder / "file/", folder / "new"), ENOTDIR);
    EXPECT_EQ(moved(folder / "file", folder / "new/"), ENOTDIR);
    EXPECT_EQ(moved(folder / "sub/", folder / "new/"), 0);
    EXPECT_EQ(test::listing(folder.path()), "file new");
}

TEST(Move, AFolderDoesNotGoIntoItself) {
    const TempFolder folder;
    folder.makeFolder("tree/sub");
    EXPECT_EQ(moved(folder / "tree", folder / "tree/sub/inside"), EINVAL);
    EXPECT_EQ(test::listing(folder / "tree/sub"), "");
}

TEST(Move, AcrossFileSystemsATreeArrivesWholeAndLeaves) {
    const TempFolder folder;
    const OtherFileSystem other(folder);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    const std::string tree = test::makeNastyTree(folder, "tree");
    const std::string before = describeTree(tree);
    ASSERT_EQ(moved(tree, other / "moved"), 0);
    EXPECT_FALSE(somethingAt(tree));
    EXPECT_EQ(describeTree(other / "moved"), before);
    EXPECT_EQ(test::listing(other.path()), "moved");
    ASSERT_EQ(moved(other / "moved/plain", folder / "plain"), 0);
    EXPECT_EQ(test::readFile(folder / "plain"), "plain text");
    EXPECT_FALSE(somethingAt(other / "moved/plain"));
}

TEST(Move, AcrossFileSystemsNothingIsReplaced) {
    const TempFolder folder;
    const OtherFileSystem other(folder);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    folder.writeFile("source", "new");
    ASSERT_EQ(::symlink("nowhere", (other / "standing").c_str()), 0);
    EXPECT_EQ(moved(folder / "source", other / "standing"), EEXIST);
    EXPECT_EQ(test::readFile(folder / "source"), "new");
    EXPECT_EQ(test::listing(other.path()), "standing");
}

TEST(Move, AcrossFileSystemsKeepsASourceThatMayNotBeRemovedAndLeavesNoCopy) {
    if (test::isRoot()) GTEST_SKIP() << "root may remove everything";
    const TempFolder folder;
    const OtherFileSystem other(folder);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    folder.writeFile("closed/file", "stays");
    ASSERT_EQ(::chmod((folder / "closed").c_str(), 0555), 0);
    EXPECT_EQ(moved(folder / "closed/file", other / "file"), EACCES);
    EXPECT_EQ(test::readFile(folder / "closed/file"), "stays");
    EXPECT_EQ(test::listing(other.path()), "");
    // A folder all of whose contents may not go.
    EXPECT_EQ(moved(folder / "closed", other / "closed"), EACCES);
    EXPECT_EQ(test::readFile(folder / "closed/file"), "stays");
    EXPECT_EQ(test::listing(other.path()), "");
}

TEST(Move, AcrossFileSystemsKeepsATreeInAnUnwritableFolder) {
    if (test::isRoot()) GTEST_SKIP() << "root may remove everything";
    const TempFolder folder;
    const OtherFileSystem other(folder);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    folder.writeFile("closed/tree/file", "stays");
    ASSERT_EQ(::chmod((folder / "closed").c_str(), 0555), 0);
    EXPECT_EQ(moved(folder / "closed/tree", other / "tree"), EACCES);
    EXPECT_EQ(test::readFile(folder / "closed/tree/file"), "stays");
    EXPECT_EQ(test::listing(other.path()), "");
}

TEST(Move, AcrossFileSystemsASourceThatMayOnlyGoInPartIsNotEvenCopied) {
    if (test::isRoot()) GTEST_SKIP() << "root may remove everything";
    const TempFolder folder;
    const OtherFileSystem other(folder);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    folder.writeFile("tree/loose", "loose");
    folder.writeFile("tree/sub/closed/file", "fixed");
    ASSERT_EQ(::chmod((folder / "tree/sub/closed").c_str(), 0555), 0);
    const std::string before = describeTree(folder / "tree");
    const Untouched untouched(other.path());
    EXPECT_EQ(moved(folder / "tree", other / "tree"), EACCES);
    EXPECT_EQ(describeTree(folder / "tree"), before);
    EXPECT_TRUE(untouched.holds());
    ASSERT_EQ(::chmod((folder / "tree/sub/closed").c_str(), 0755), 0);
}

TEST(Move, AcrossFileSystemsALockedItemTwoLevelsDownKeepsTheSourceWhole) {
    const TempFolder folder;
    const OtherFileSystem other(folder);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    folder.writeFile("tree/loose", "loose");
    folder.writeFile("tree/sub/file", "fixed");
    const test::LockedItem locked(folder / "tree/sub/file");
    if (!locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
    const std::string before = describeTree(folder / "tree");
    const Untouched untouched(other.path());
    EXPECT_EQ(moved(folder / "tree", other / "tree"), EPERM);
    EXPECT_EQ(describeTree(folder / "tree"), before);
    EXPECT_TRUE(untouched.holds());
}

TEST(Move, AcrossFileSystemsAPartThatResistsAfterAllLeavesTheWholeCopy) {
    const TempFolder folder;
    const OtherFileSystem other(folder);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    folder.writeFile("tree/loose", "loose");
    folder.writeFile("tree/sub/resists", "fixed");
    const std::string before = describeTree(folder / "tree");
    {
        const test::ResistingItem resisting("resists");
        const Outcome outcome = nativeFileManager()->moveItem(folder / "tree", other / "tree");
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.error().code, EPERM);
        EXPECT_TRUE(outcome.error().copyRemains);
    }
    EXPECT_EQ(describeTree(other / "tree"), before);
    EXPECT_EQ(test::listing(other.path()), "tree");
    EXPECT_EQ(test::listing(folder / "tree"), "sub");
    EXPECT_EQ(test::listing(folder / "tree/sub"), "resists");
}

TEST(Move, AcrossFileSystemsLeavesNoCopyWhenNothingCouldBeRemoved) {
    const TempFolder folder;
    const OtherFileSystem other(folder);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    folder.writeFile("resists", "fixed");
    const test::ResistingItem resisting("resists");
    const Outcome outcome = nativeFileManager()->moveItem(folder / "resists", other / "copy");
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().code, EPERM);
    EXPECT_FALSE(outcome.error().copyRemains);
    EXPECT_EQ(test::listing(other.path()), "");
    EXPECT_EQ(test::readFile(folder / "resists"), "fixed");
}

// Neither the source can be removed nor the copy be put aside.
TEST(Move, AcrossFileSystemsReportsACopyThatCannotBeRemoved) {
    const TempFolder folder;
    const OtherFileSystem other(folder);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    folder.writeFile("resists", "fixed");
    const test::ResistingItem resisting("resists");
    static const SystemCalls* next = nullptr;
    next = &systemCalls();
    SystemCalls calls = *next;
    calls.renameNoReplace = [](int from, const char* name, int to, const char* newName) {
        if (std::string_view(name) != "copy") return next->renameNoReplace(from, name, to, newName);
        errno = EIO;
        return -1;
    };
    exchangeSystemCalls(&calls);
    const Outcome outcome = nativeFileManager()->moveItem(folder / "resists", other / "copy");
    exchangeSystemCalls(next);
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().code, EPERM);
    EXPECT_TRUE(outcome.error().copyRemains);
    EXPECT_EQ(test::listing(other.path()), "copy");
    EXPECT_EQ(test::readFile(other / "copy"), "fixed");
}

TEST(Move, AcrossFileSystemsAStickyFolderKeepsOtherUsersItems) {
    if (!test::isRoot()) GTEST_SKIP() << "needs root to act as two users";
    const TempFolder folder;
    const OtherFileSystem other(folder);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    folder.writeFile("sticky/file", "stays");
    // Every user may empty it, and only its owner may remove it.
    folder.writeFile("sticky/open/file", "stays");
    ASSERT_EQ(::chmod((folder / "sticky/open").c_str(), 0777), 0);
    ASSERT_EQ(::chmod((folder / "sticky").c_str(), 01777), 0);
    ASSERT_EQ(::chmod(other.path().c_str(), 0777), 0);
    test::letEverybodyIn(folder);
    ASSERT_EQ(::seteuid(test::FakeUser::kId), 0);
    EXPECT_EQ(moved(folder / "sticky/file", other / "file"), EPERM);
    EXPECT_EQ(moved(folder / "sticky/open", other / "open"), EPERM);
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_EQ(test::readFile(folder / "sticky/file"), "stays");
    EXPECT_EQ(test::readFile(folder / "sticky/open/file"), "stays");
    EXPECT_EQ(test::listing(other.path()), "");
}

TEST(Move, AcrossFileSystemsAFullDiskLeavesTheSource) {
    const TempFolder folder;
    const OtherFileSystem small(folder, "64k");
    if (!small.available() || !small.isLimited()) GTEST_SKIP() << "nothing can be mounted here";
    folder.writeFile("large", std::string(1 << 20, 'x'));
    const std::string before = describeTree(folder / "large");
    EXPECT_EQ(moved(folder / "large", small / "large"), ENOSPC);
    EXPECT_EQ(describeTree(folder / "large"), before);
    EXPECT_EQ(test::listing(small.path()), "");
}

// A file system that folds case, made of one that does not: a name that is missing is looked for in
// other spellings.
class CaseFolding {
  public:
    CaseFolding() : calls_(systemCalls()) {
        next_ = &systemCalls();
        calls_.fstatat = [](int folder, const char* name, struct stat* status, int flags) {
            return next_->fstatat(folder, standing(folder, name).c_str(), status, flags);
        };
        calls_.renameNoReplace = [](int folder, const char* name, int newFolder,
                                    const char* newName) {
            return next_->renameNoReplace(folder, standing(folder, name).c_str(), newFolder,
                                          standing(newFolder, newName).c_str());
        };
        exchangeSystemCalls(&calls_);
    }
    ~CaseFolding() { exchangeSystemCalls(next_); }
    CaseFolding(const CaseFolding&) = delete;
    CaseFolding& operator=(const CaseFolding&) = delete;

  private:
    static std::string standing(int folder, const std::string& name) {
        struct stat status {};
        if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return name;
        const std::string path = "/proc/self/fd/" + std::to_string(folder);
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            const std::string other = entry.path().filename().string();
            if (::strcasecmp(other.c_str(), name.c_str()) == 0) return other;
        }
        return name;
    }

    static const SystemCalls* next_;
    SystemCalls calls_;
};
const SystemCalls* CaseFolding::next_ = nullptr;

TEST(Move, ToAnotherSpellingChangesTheSpelling) {
    const TempFolder folder;
    folder.writeFile("Report.txt", "text");
    folder.makeFolder("Folder");
    const CaseFolding folding;
    EXPECT_EQ(moved(folder / "Report.txt", folder / "report.TXT"), 0);
    EXPECT_EQ(moved(folder / "Folder", folder / "FOLDER"), 0);
    EXPECT_EQ(test::listing(folder.path()), "FOLDER report.TXT");
    EXPECT_EQ(test::readFile(folder / "report.TXT"), "text");
}

TEST(Move, ToAnotherSpellingOfAnotherItemIsRefused) {
    const TempFolder folder;
    folder.writeFile("One", "one");
    folder.writeFile("Two", "two");
    ASSERT_EQ(::link((folder / "One").c_str(), (folder / "Three").c_str()), 0);
    const CaseFolding folding;
    EXPECT_EQ(moved(folder / "One", folder / "TWO"), EEXIST);
    EXPECT_EQ(moved(folder / "One", folder / "THREE"), EEXIST);
    EXPECT_EQ(test::listing(folder.path()), "One Three Two");
}

}  // namespace
}  // namespace quillmoor::platform::posix
