#include "quillmoor/platform/linux/trash/trash_linux.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>

#include "quillmoor/platform/linux/trash/trashinfo_linux.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/platform/support/resisting_item.h"

namespace quillmoor::platform::linux_ {
namespace {

using test::describeTree;
using test::listing;
using test::readFile;
using test::somethingAt;
using test::TempFolder;

// A home of the test's own, with an item to put away.
class Trash : public testing::Test {
  protected:
    Trash() { ::setenv("HOME", home_.c_str(), 1); }
    ~Trash() override { ::unsetenv("XDG_DATA_HOME"); }

    bool recycle(const StringList& names, const OptionalPath& destination = std::nullopt) const {
        return bool(recycleToTrash(desk_, destination, names));
    }

    const TempFolder folder_;
    const std::string home_ = folder_.makeFolder("home");
    const std::string desk_ = folder_.makeFolder("home/desk");
    const std::string trash_ = home_ + "/.local/share/Trash";
    const std::string items_ = trash_ + "/files";
    const std::string records_ = trash_ + "/info";
};

TEST_F(Trash, MovesAnItemAndRecordsItsPath) {
    folder_.writeFile("home/desk/report.txt", "text");
    const std::time_t before = std::time(nullptr);
    ASSERT_TRUE(recycle({"report.txt"}));
    const std::time_t after = std::time(nullptr);
    EXPECT_EQ(listing(desk_), "");
    EXPECT_EQ(readFile(items_ + "/report.txt"), "text");
    const std::string record = readFile(records_ + "/report.txt.trashinfo");
    const std::string path = std::filesystem::canonical(desk_).string() + "/report.txt";
    EXPECT_TRUE(record == trashInfo(path, before) || record == trashInfo(path, after)) << record;
}

TEST_F(Trash, ItsFoldersAreTheUsersAlone) {
    folder_.writeFile("home/desk/report.txt");
    const mode_t before = ::umask(0);
    ASSERT_TRUE(recycle({"report.txt"}));
    ::umask(before);
    for (const std::string& path : {trash_, items_, records_}) {
        struct stat status {};
        ASSERT_EQ(::lstat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode, S_IFDIR | 0700U) << path;
    }
    struct stat status {};
    ASSERT_EQ(::lstat((records_ + "/report.txt.trashinfo").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
}

TEST_F(Trash, ItemsOfEveryKindGoThereAsTheyAre) {
    test::makeNastyTree(folder_, "home/desk/tree");
    folder_.makeLink("home/desk/dangling", "nowhere");
    const std::string before = describeTree(desk_ + "/tree");
    ASSERT_TRUE(recycle({"tree", "dangling"}));
    EXPECT_EQ(describeTree(items_ + "/tree"), before);
    EXPECT_TRUE(std::filesystem::is_symlink(items_ + "/dangling"));
    EXPECT_EQ(listing(records_), "dangling.trashinfo tree.trashinfo");
}

TEST_F(Trash, AnItemWhoseNameIsTakenGetsANewOne) {
    for (int i = 1; i <= 3; ++i) {
        folder_.writeFile("home/desk/a.txt", std::to_string(i));
        folder_.writeFile("home/desk/.hidden", std::to_string(i));
        folder_.makeFolder("home/desk/folder");
        ASSERT_TRUE(recycle({"a.txt", ".hidden", "folder"}));
    }
    EXPECT_EQ(listing(items_),
              ".hidden .hidden 2 .hidden 3 a 2.txt a 3.txt a.txt folder folder 2 folder 3");
    EXPECT_EQ(readFile(items_ + "/a.txt"), "1");
    EXPECT_EQ(readFile(items_ + "/a 3.txt"), "3");
    // The record still has the old name.
    EXPECT_NE(readFile(records_ + "/a 3.txt.trashinfo").find("/desk/a.txt\n"), std::string::npos);
}

TEST_F(Trash, ANameThatOnlyAnItemOrOnlyARecordHasIsTaken) {
    folder_.writeFile("home/.local/share/Trash/files/one", "without a record");
    folder_.writeFile("home/.local/share/Trash/info/two.trashinfo", "without an item");
    folder_.writeFile("home/desk/one", "new");
    folder_.writeFile("home/desk/two", "new");
    ASSERT_TRUE(recycle({"one", "two"}));
    EXPECT_EQ(listing(items_), "one one 2 two 2");
    EXPECT_EQ(listing(records_), "one 2.trashinfo two 2.trashinfo two.trashinfo");
    EXPECT_EQ(readFile(items_ + "/one"), "without a record");
}

// The system's calls, but for the renaming that the test gives.
class Renaming {
  public:
    explicit Renaming(decltype(posix::SystemCalls::renameNoReplace) renaming) {
        count = 0;
        calls_.renameNoReplace = renaming;
        before_ = posix::exchangeSystemCalls(&calls_);
    }
    ~Renaming() { posix::exchangeSystemCalls(before_); }
    Renaming(const Renaming&) = delete;
    Renaming& operator=(const Renaming&) = delete;

    static inline int count = 0;

  private:
    posix::SystemCalls calls_ = posix::systemCalls();
    const posix::SystemCalls* before_ = nullptr;
};

TEST_F(Trash, ReplacesNoItemThatTakesTheNameMeanwhile) {
    folder_.writeFile("home/desk/report.txt", "mine");
    const Renaming renaming([](int folder, const char* name, int newFolder, const char* newName) {
        if (++Renaming::count == 1)
            ::close(::openat(newFolder, newName, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        return posix::nativeSystemCalls().renameNoReplace(folder, name, newFolder, newName);
    });
    EXPECT_TRUE(recycle({"report.txt"}));
    EXPECT_EQ(Renaming::count, 2);
    EXPECT_EQ(readFile(items_ + "/report.txt"), "");
    EXPECT_FALSE(somethingAt(records_ + "/report.txt.trashinfo"));
    EXPECT_EQ(listing(desk_), "");
}

TEST_F(Trash, ANameThatIsTakenByNothingIsNotTriedAgain) {
    folder_.writeFile("home/desk/report.txt", "mine");
    const Renaming renaming([](int, const char*, int, const char*) {
        errno = ++Renaming::count < 5 ? EEXIST : EIO;
        return -1;
    });
    EXPECT_FALSE(recycle({"report.txt"}));
    EXPECT_EQ(Renaming::count, 1);
    EXPECT_EQ(listing(items_) + listing(records_), "");
    EXPECT_EQ(readFile(desk_ + "/report.txt"), "mine");
}

TEST_F(Trash, ANameTooLongForItsRecordIsCut) {
    const std::string name = std::string(251, 'n') + ".txt";
    for (int i = 0; i < 2; ++i) {
        folder_.writeFile("home/desk/" + name, std::to_string(i));
        ASSERT_TRUE(recycle({name}));
    }
    const std::string kept(231, 'n');
    EXPECT_EQ(listing(items_), kept + " 2.txt " + kept + ".txt");
    EXPECT_NE(readFile(records_ + "/" + kept + ".txt.trashinfo").find("/" + name + "\n"),
              std::string::npos);
}

TEST_F(Trash, ThatIsARealFolderKeepsALongNameWholeUnlessItNeedsANumber) {
    folder_.makeFolder("home/.Trash");
    const std::string name = std::string(251, 'n') + ".txt";
    for (int i = 0; i < 2; ++i) {
        folder_.writeFile("home/desk/" + name, std::to_string(i));
        ASSERT_TRUE(recycle({name}));
    }
    EXPECT_EQ(readFile(home_ + "/.Trash/" + name), "0");
    EXPECT_EQ(listing(home_ + "/.Trash"), std::string(231, 'n') + ".txt " + name);
}

TEST_F(Trash, FailsForAMissingItemAndMovesTheOthers) {
    folder_.writeFile("home/desk/a");
    folder_.writeFile("home/desk/b");
    EXPECT_FALSE(recycle({"a", "missing", "b"}));
    EXPECT_EQ(listing(items_), "a b");
    EXPECT_EQ(listing(records_), "a.trashinfo b.trashinfo");
    EXPECT_FALSE(recycleToTrash(folder_ / "missing", std::nullopt, {"a"}));
    EXPECT_FALSE(recycleToTrash("", std::nullopt, {"a"}));
}

TEST_F(Trash, RejectsAnInvalidNameAndMovesTheOthers) {
    folder_.writeFile("home/desk/sub/file");
    folder_.writeFile("home/desk/a");
    for (const std::string name : {"", ".", "..", "sub/file", "/", "sub/"}) {
        EXPECT_FALSE(recycle({name})) << name;
    }
    EXPECT_FALSE(recycle({std::string("a\0b", 3)}));
    EXPECT_FALSE(recycle({"..", "a"}));
    EXPECT_EQ(listing(items_), "a");
    EXPECT_EQ(listing(desk_), "sub");
}

TEST_F(Trash, NoNamesAreASuccess) {
    EXPECT_TRUE(recycle({}));
}

TEST_F(Trash, IsNamedByItsHome) {
    folder_.writeFile("home/desk/a");
    folder_.makeFolder("home 2");
    ASSERT_TRUE(recycle({"a"}, folder_ / "home 2/.Trash"));
    EXPECT_EQ(listing(folder_ / "home 2/.local/share/Trash/files"), "a");
    EXPECT_EQ(listing(folder_ / "home 2"), ".Trash .local");
    EXPECT_FALSE(somethingAt(trash_));
}

TEST_F(Trash, AnyOtherDestinationIsRefused) {
    folder_.writeFile("home/desk/a");
    folder_.makeFolder("home/elsewhere");
    for (const std::string& path : {home_ + "/elsewhere", home_ + "/.Trash/", home_ + "/.Trash/sub",
                                    home_, std::string(".Trash"), std::string("home/.Trash"),
                                    std::string(""), folder_ / "missing/.Trash"})
        EXPECT_FALSE(recycle({"a"}, path)) << path;
    EXPECT_TRUE(somethingAt(desk_ + "/a"));
    EXPECT_EQ(listing(home_), "desk elsewhere");
}

TEST_F(Trash, MakesALinkToItsItemsOnceWhereTheNameIsFree) {
    folder_.writeFile("home/desk/a");
    ASSERT_TRUE(recycle({"a"}));
    EXPECT_EQ(std::filesystem::read_symlink(home_ + "/.Trash"), ".local/share/Trash/files");
    EXPECT_EQ(listing(home_ + "/.Trash"), "a");
    folder_.writeFile("home/desk/b");
    ASSERT_TRUE(recycle({"b"}, home_ + "/.Trash"));
    EXPECT_EQ(listing(home_ + "/.Trash"), "a b");
}

TEST_F(Trash, LeavesAnItemInPlaceOfTheLinkUnchanged) {
    folder_.writeFile("home/desk/a");
    folder_.makeFolder("home/elsewhere");
    folder_.makeLink("home/.Trash", "elsewhere");
    ASSERT_TRUE(recycle({"a"}));
    EXPECT_EQ(listing(items_), "a");
    EXPECT_EQ(listing(home_ + "/elsewhere"), "");
    ASSERT_TRUE(std::filesystem::remove(home_ + "/.Trash"));
    folder_.writeFile("home/.Trash", "a file");
    folder_.writeFile("home/desk/b");
    ASSERT_TRUE(recycle({"b"}));
    EXPECT_EQ(listing(items_), "a b");
    EXPECT_EQ(readFile(home_ + "/.Trash"), "a file");
}

TEST_F(Trash, ARealFolderInPlaceOfTheLinkIsUsedAsItIs) {
    folder_.makeFolder("home/.Trash");
    for (int i = 1; i <= 2; ++i) {
        folder_.writeFile("home/desk/a.txt", std::to_string(i));
        ASSERT_TRUE(recycle({"a.txt"}));
    }
    EXPECT_EQ(listing(home_ + "/.Trash"), "a 2.txt a.txt");
    EXPECT_FALSE(somethingAt(trash_));
    // What is in it stays.
    EXPECT_TRUE(recycleToTrash(home_ + "/.Trash", std::nullopt, {"a.txt"}));
    EXPECT_EQ(listing(home_ + "/.Trash"), "a 2.txt a.txt");
}

TEST_F(Trash, FollowsTheUsersDataFolder) {
    folder_.writeFile("home/desk/a");
    const std::string data = folder_ / "data folder/deeper";
    ::setenv("XDG_DATA_HOME", data.c_str(), 1);
    ASSERT_TRUE(recycle({"a"}, home_ + "/.Trash"));
    EXPECT_EQ(listing(data + "/Trash/files"), "a");
    EXPECT_EQ(std::filesystem::read_symlink(home_ + "/.Trash"), data + "/Trash/files");
    // That setting is about this home and no other, and counts only if it is absolute.
    folder_.writeFile("home/desk/b");
    folder_.makeFolder("home 2");
    ASSERT_TRUE(recycle({"b"}, folder_ / "home 2/.Trash"));
    EXPECT_EQ(listing(folder_ / "home 2/.local/share/Trash/files"), "b");
    ::setenv("XDG_DATA_HOME", "data", 1);
    folder_.writeFile("home/desk/c");
    ASSERT_TRUE(recycle({"c"}));
    EXPECT_EQ(listing(items_), "c");
}

TEST_F(Trash, WhatIsInItAlreadyStays) {
    folder_.writeFile("home/desk/tree/inside", "text");
    ASSERT_TRUE(recycle({"tree"}));
    const std::string before = describeTree(trash_);
    EXPECT_TRUE(recycleToTrash(items_, std::nullopt, {"tree"}));
    EXPECT_TRUE(recycleToTrash(home_ + "/.Trash", std::nullopt, {"tree"}));
    EXPECT_TRUE(recycleToTrash(home_ + "/.Trash/tree", std::nullopt, {"inside"}));
    EXPECT_EQ(describeTree(trash_), before);
    EXPECT_FALSE(recycleToTrash(items_, std::nullopt, {"missing"}));
}

TEST_F(Trash, DoesNotGoIntoItself) {
    folder_.writeFile("home/desk/a");
    ASSERT_TRUE(recycle({"a"}));
    EXPECT_FALSE(recycleToTrash(home_, std::nullopt, {".local"}));
    EXPECT_FALSE(recycleToTrash(folder_.path(), std::nullopt, {"home"}));
    EXPECT_EQ(listing(items_), "a");
    EXPECT_EQ(listing(records_), "a.trashinfo");
}

TEST_F(Trash, RecordsTheRealPath) {
    folder_.writeFile("home/desk/a");
    folder_.writeFile("home/desk/b");
    folder_.makeLink("home/other way", "desk");
    ASSERT_TRUE(recycleToTrash(home_ + "/other way/", std::nullopt, {"a"}));
    ASSERT_EQ(::chdir(home_.c_str()), 0);
    ASSERT_TRUE(recycleToTrash("desk/../desk", std::nullopt, {"b"}));
    ASSERT_EQ(::chdir("/"), 0);
    for (const char* name : {"a", "b"}) {
        EXPECT_NE(readFile(records_ + "/" + name + ".trashinfo")
                      .find("/home/desk/" + std::string(name) + "\n"),
                  std::string::npos);
    }
}

TEST_F(Trash, LeavesNoRecordOfAnItemThatMayNotBeMoved) {
    if (test::isRoot()) GTEST_SKIP() << "root may move everything";
    folder_.writeFile("home/desk/a");
    ASSERT_EQ(::chmod(desk_.c_str(), 0555), 0);
    EXPECT_FALSE(recycle({"a"}));
    ASSERT_EQ(::chmod(desk_.c_str(), 0755), 0);
    EXPECT_TRUE(somethingAt(desk_ + "/a"));
    EXPECT_EQ(listing(items_), "");
    EXPECT_EQ(listing(records_), "");
}

TEST_F(Trash, MovesNothingWhenItCannotBeMade) {
    folder_.writeFile("home/desk/a", "stays");
    folder_.makeLink("home/.local", "nowhere");
    EXPECT_FALSE(recycle({"a"}));
    ASSERT_TRUE(std::filesystem::remove(home_ + "/.local"));
    folder_.writeFile("home/.local", "a file");
    EXPECT_FALSE(recycle({"a"}));
    EXPECT_EQ(readFile(desk_ + "/a"), "stays");
    EXPECT_FALSE(somethingAt(home_ + "/.Trash"));
}

TEST_F(Trash, FromAnotherFileSystemCopiesAndRemovesAnItem) {
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    const std::string tree = test::makeNastyTree(folder_, "tree");
    const std::string before = describeTree(tree);
    std::filesystem::copy(tree + "/plain", other / "plain");
    ASSERT_EQ(std::rename(tree.c_str(), (folder_ / "moved").c_str()), 0);
    // Out of the home onto the other file system, and back by way of the Trash.
    const std::string elsewhere = other.path();
    ASSERT_EQ(::mkdir((other / "tree").c_str(), 0755), 0);
    std::filesystem::copy(folder_ / "moved/sub", other / "tree/sub",
                          std::filesystem::copy_options::recursive);
    const std::string copied = describeTree(other / "tree");
    ASSERT_TRUE(recycleToTrash(elsewhere, std::nullopt, {"tree", "plain"}));
    EXPECT_EQ(listing(elsewhere), "");
    EXPECT_EQ(describeTree(items_ + "/tree"), copied);
    EXPECT_EQ(listing(items_), "plain tree");
    EXPECT_NE(readFile(records_ + "/tree.trashinfo").find("/tree\n"), std::string::npos);
}

TEST_F(Trash, FromAnotherFileSystemAnItemThatResistsInPartIsWholeThereAndReported) {
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    test::makeDeepTree(other / "tree", 2, "sub");
    ASSERT_EQ(::mkdir((other / "tree/resists").c_str(), 0755), 0);
    ASSERT_EQ(::mkdir((other / "whole").c_str(), 0755), 0);
    const std::string before = describeTree(other / "tree");
    RecycleOutcome outcome;
    {
        const test::ResistingItem resisting("resists");
        outcome = recycleToTrash(other.path(), std::nullopt, {"tree", "whole"});
    }
    EXPECT_FALSE(outcome);
    ASSERT_EQ(outcome.remainingCopies.size(), 1U);
    EXPECT_TRUE(std::filesystem::equivalent(outcome.remainingCopies[0].item, other / "tree"));
    EXPECT_TRUE(std::filesystem::equivalent(outcome.remainingCopies[0].copy, items_ + "/tree"));
    EXPECT_EQ(listing(other.path()), "tree");
    EXPECT_EQ(listing(other / "tree"), "resists");
    EXPECT_EQ(listing(items_), "tree whole");
    EXPECT_EQ(describeTree(items_ + "/tree"), before);
    EXPECT_EQ(listing(records_), "tree.trashinfo whole.trashinfo");
}

TEST_F(Trash, FromAnotherFileSystemLeavesNoCopyOfAnItemThatCannotBeRemoved) {
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    ASSERT_EQ(::mkdir((other / "resists").c_str(), 0755), 0);
    const test::ResistingItem resisting("resists");
    const RecycleOutcome outcome = recycleToTrash(other.path(), std::nullopt, {"resists"});
    EXPECT_FALSE(outcome);
    EXPECT_TRUE(outcome.remainingCopies.empty());
    EXPECT_EQ(listing(items_), "");
    EXPECT_EQ(listing(records_), "");
}

TEST_F(Trash, FromAnotherFileSystemAnItemThatMayNotGoIsAtItsOldPlaceOnly) {
    if (test::isRoot()) GTEST_SKIP() << "root may remove everything";
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    ASSERT_EQ(::mkdir((other / "closed").c_str(), 0755), 0);
    std::filesystem::copy(folder_.writeFile("file", "stays"), other / "closed/file");
    ASSERT_EQ(::chmod((other / "closed").c_str(), 0555), 0);
    const RecycleOutcome outcome = recycleToTrash(other.path(), std::nullopt, {"closed"});
    EXPECT_FALSE(outcome);
    EXPECT_EQ(outcome.error.code, EACCES);
    EXPECT_EQ(outcome.error.description,
              "“closed” couldn’t be moved to the Trash: Permission denied");
    EXPECT_FALSE(recycleToTrash(other / "closed", std::nullopt, {"file"}));
    ASSERT_EQ(::chmod((other / "closed").c_str(), 0755), 0);
    EXPECT_EQ(readFile(other / "closed/file"), "stays");
    EXPECT_EQ(listing(items_), "");
    EXPECT_EQ(listing(records_), "");
}

TEST_F(Trash, FromAnotherFileSystemAFullDiskLeavesTheItem) {
    const test::OtherFileSystem small(folder_, "64k");
    if (!small.available() || !small.isLimited()) GTEST_SKIP() << "nothing can be mounted here";
    ::setenv("XDG_DATA_HOME", small.path().c_str(), 1);
    folder_.writeFile("home/desk/large", std::string(1 << 20, 'x'));
    EXPECT_FALSE(recycle({"large"}));
    EXPECT_EQ(std::filesystem::file_size(desk_ + "/large"), 1U << 20U);
    EXPECT_EQ(listing(small / "Trash/files"), "");
    EXPECT_EQ(listing(small / "Trash/info"), "");
}

// What trash-cli makes of it.
class TrashTools : public Trash {
  protected:
    void SetUp() override {
        if (!succeeds("command -v trash-list trash-restore"))
            GTEST_SKIP() << "trash-cli is not installed";
    }

    bool succeeds(const std::string& command) const {
        return std::system((command + " >'" + (folder_ / "output") + "' 2>&1").c_str()) == 0;
    }

    std::string output() const { return readFile(folder_ / "output"); }
};

TEST_F(TrashTools, ListAndRestoreItemsOfAnyName) {
    const StringList names{"report.txt", "two words",   "caf\u00e9",      "cafe\u0301",
                           "100%",       "a%20b",       "line\nbreak",    "-rf",
                           "\"quoted\"", "back\\slash", "[Trash Info]=x", "plus+and&more"};
    for (const std::string& name : names) folder_.writeFile("home/desk/" + name, "in " + name);
    ASSERT_TRUE(recycle(names));
    EXPECT_EQ(listing(desk_), "");
    ASSERT_TRUE(succeeds("trash-list")) << output();
    for (const char* name : {"report.txt", "two words", "caf\u00e9", "100%", "a%20b"}) {
        EXPECT_NE(output().find("/desk/" + std::string(name) + "\n"), std::string::npos)
            << name << " in " << output();
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        ASSERT_TRUE(succeeds("cd '" + desk_ + "' && echo 0 | trash-restore")) << output();
    }
    for (const std::string& name : names) {
        EXPECT_EQ(readFile(desk_ + "/" + name), "in " + name) << output();
    }
    EXPECT_EQ(listing(items_), "");
    EXPECT_EQ(listing(records_), "");
}

TEST_F(TrashTools, AnItemWithANewNameComesBackUnderItsOldOne) {
    folder_.writeFile("home/.local/share/Trash/files/a.txt", "in the way");
    folder_.writeFile("home/desk/a.txt", "text");
    ASSERT_TRUE(recycle({"a.txt"}));
    ASSERT_TRUE(succeeds("cd '" + desk_ + "' && echo 0 | trash-restore")) << output();
    EXPECT_EQ(readFile(desk_ + "/a.txt"), "text");
    EXPECT_EQ(readFile(items_ + "/a.txt"), "in the way");
}

TEST_F(TrashTools, AnEmptiedTrashIsEmpty) {
    if (!succeeds("command -v trash-empty")) GTEST_SKIP() << "trash-empty is not installed";
    test::makeNastyTree(folder_, "home/desk/tree");
    ASSERT_TRUE(recycle({"tree"}));
    ASSERT_TRUE(succeeds("echo y | trash-empty")) << output();
    EXPECT_EQ(listing(items_), "");
    EXPECT_EQ(listing(records_), "");
}

}  // namespace
}  // namespace quillmoor::platform::linux_
