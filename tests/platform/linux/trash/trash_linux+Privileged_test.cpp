// Preparing a Trash for a tool that runs as root and moves an item there by its path.
#include <grp.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "quillmoor/platform/linux/trash/trash_linux.h"
#include "tests/platform/support/failing_calls.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::linux_ {
namespace {

using test::listing;
using test::readFile;
using test::somethingAt;
using test::TempFolder;

class PrivilegedTrash : public testing::Test {
  protected:
    PrivilegedTrash() { ::setenv("HOME", home_.c_str(), 1); }
    ~PrivilegedTrash() override { ::unsetenv("XDG_DATA_HOME"); }

    const TempFolder folder_;
    const std::string home_ = folder_.makeFolder("home");
    const std::string destination_ = home_ + "/.Trash";
    const std::string trash_ = home_ + "/.local/share/Trash";
    const std::string item_ = folder_.writeFile("elsewhere/notes.txt", "text");
};

TEST_F(PrivilegedTrash, IsMadeWithItsLink) {
    ASSERT_TRUE(prepareTrash(destination_));
    EXPECT_TRUE(std::filesystem::is_symlink(destination_));
    EXPECT_TRUE(std::filesystem::equivalent(destination_, trash_ + "/files"));
    EXPECT_EQ(listing(trash_ + "/info"), "");
}

TEST_F(PrivilegedTrash, KnowsWhereAnAnnouncedItemCameFrom) {
    ASSERT_TRUE(prepareTrash(destination_));
    ASSERT_TRUE(recordPendingTrash(destination_, "notes.txt", item_));
    std::filesystem::rename(item_, destination_ + "/notes.txt");
    EXPECT_NE(readFile(trash_ + "/info/notes.txt.trashinfo").find("elsewhere/notes.txt"),
              std::string::npos);
    EXPECT_EQ(readFile(trash_ + "/files/notes.txt"), "text");
}

TEST_F(PrivilegedTrash, ReplacesANoteWithoutAnItemAndKeepsOneWithAnItem) {
    ASSERT_TRUE(prepareTrash(destination_));
    const std::string record = trash_ + "/info/notes.txt.trashinfo";
    folder_.writeFile("home/.local/share/Trash/info/notes.txt.trashinfo", "stale");
    ASSERT_TRUE(recordPendingTrash(destination_, "notes.txt", item_));
    EXPECT_NE(readFile(record), "stale");
    folder_.writeFile("home/.local/share/Trash/info/notes.txt.trashinfo", "its own");
    folder_.makeLink("home/.local/share/Trash/files/notes.txt", "nowhere");
    ASSERT_TRUE(recordPendingTrash(destination_, "notes.txt", item_));
    EXPECT_EQ(readFile(record), "its own");
    discardTrashRecord(destination_, "notes.txt");
    EXPECT_EQ(readFile(record), "its own");
}

TEST_F(PrivilegedTrash, ForgetsAnItemThatIsNotComing) {
    ASSERT_TRUE(prepareTrash(destination_));
    ASSERT_TRUE(recordPendingTrash(destination_, "notes.txt", item_));
    discardTrashRecord(destination_, "notes.txt");
    EXPECT_EQ(listing(trash_ + "/info"), "");
}

TEST_F(PrivilegedTrash, HasNoRecordOfAnItemWhoseNameIsTooLong) {
    ASSERT_TRUE(prepareTrash(destination_));
    EXPECT_FALSE(recordPendingTrash(destination_, std::string(250, 'x'), item_));
    EXPECT_EQ(listing(trash_ + "/info"), "");
}

TEST_F(PrivilegedTrash, TakesARelativeItem) {
    ASSERT_TRUE(prepareTrash(destination_));
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_ / "elsewhere");
    EXPECT_TRUE(recordPendingTrash(destination_, "notes.txt", "notes.txt"));
    std::filesystem::current_path(before);
    EXPECT_NE(readFile(trash_ + "/info/notes.txt.trashinfo").find("elsewhere/notes.txt"),
              std::string::npos);
}

TEST_F(PrivilegedTrash, IsARealFolderWhereTheUserHasOne) {
    std::filesystem::create_directory(destination_);
    ASSERT_TRUE(prepareTrash(destination_));
    EXPECT_FALSE(recordPendingTrash(destination_, "notes.txt", item_));
    EXPECT_FALSE(somethingAt(trash_));
}

// The tool would go by the path, and the note lie elsewhere.
TEST_F(PrivilegedTrash, IsRefusedWhereItsPathLeadsOutOfTheHomeOrNowhere) {
    folder_.makeFolder("other");
    folder_.makeLink("home/.Trash", "../other");
    EXPECT_FALSE(prepareTrash(destination_));
    std::filesystem::remove(destination_);
    folder_.makeLink("home/.Trash", "nowhere");
    EXPECT_FALSE(prepareTrash(destination_));
    std::filesystem::remove(destination_);
    folder_.writeFile("home/.Trash");
    EXPECT_FALSE(prepareTrash(destination_));
}

// The tool uses the path: a record would be beside items of another folder.
TEST_F(PrivilegedTrash, HasNoRecordsWhereTheSettingMovedTheDesktopsAway) {
    ASSERT_TRUE(prepareTrash(destination_));
    ::setenv("XDG_DATA_HOME", (home_ + "/data").c_str(), 1);
    EXPECT_TRUE(prepareTrash(destination_));
    EXPECT_FALSE(recordPendingTrash(destination_, "notes.txt", item_));
    EXPECT_EQ(listing(home_ + "/data/Trash/info"), "");
    folder_.writeFile("home/data/Trash/info/notes.txt.trashinfo", "another item's");
    discardTrashRecord(destination_, "notes.txt");
    EXPECT_EQ(readFile(home_ + "/data/Trash/info/notes.txt.trashinfo"), "another item's");
}

// An ordinary user's Trash that belongs to another user, as a desktop program leaves it that was
// once run as root.
class ForeignTrash : public PrivilegedTrash {
  protected:
    ForeignTrash() {
        folder_.makeFolder("home/.local/share/Trash/files");
        folder_.makeFolder("home/.local/share/Trash/info");
        if (test::isRoot()) {
            test::letEverybodyIn(folder_);
            for (const char* name : {"", "/.local", "/.local/share"})
                EXPECT_EQ(::chown((home_ + name).c_str(), test::FakeUser::kId, test::FakeUser::kId),
                          0);
        }
    }
    ~ForeignTrash() override {
        becomeOwner();
        for (const std::string& path : {trash_, trash_ + "/files", trash_ + "/info"})
            ::chmod(path.c_str(), 0755);
    }
    // As root the test becomes that user; as any other user it may not use the folder.
    void close(const std::string& path, mode_t mode) const {
        ASSERT_EQ(::chmod(path.c_str(), test::isRoot() ? mode : mode & 0555U), 0);
        if (test::isRoot()) {
            ASSERT_EQ(::seteuid(test::FakeUser::kId), 0);
        }
    }
    static void becomeOwner() {
        if (::getuid() == 0) {
            EXPECT_EQ(::seteuid(0), 0);
        }
    }
};

TEST_F(ForeignTrash, IsReplacedByAnOwnFolderWhereItIsClosed) {
    ASSERT_NO_FATAL_FAILURE(close(trash_, test::isRoot() ? 0700 : 0));
    ASSERT_TRUE(prepareTrash(destination_));
    EXPECT_TRUE(prepareTrash(destination_));
    struct stat status {};
    ASSERT_EQ(::lstat(destination_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFDIR | 0700U);
    EXPECT_EQ(status.st_uid, ::geteuid());
    EXPECT_FALSE(recordPendingTrash(destination_, "notes.txt", item_));
    discardTrashRecord(destination_, "notes.txt");
    becomeOwner();
    EXPECT_EQ(::rename(item_.c_str(), (destination_ + "/notes.txt").c_str()), 0);
}

TEST_F(ForeignTrash, ThatIsClosedIsReachedByTheLinkThatWasThere) {
    folder_.makeLink("home/.Trash", ".local/share/Trash/files");
    ASSERT_NO_FATAL_FAILURE(close(trash_, test::isRoot() ? 0700 : 0));
    EXPECT_TRUE(prepareTrash(destination_));
    EXPECT_FALSE(recordPendingTrash(destination_, "notes.txt", item_));
    becomeOwner();
    EXPECT_TRUE(std::filesystem::is_symlink(destination_));
}

TEST_F(ForeignTrash, ThatIsClosedIsRefusedWhereItsPathLeadsOut) {
    folder_.makeFolder("closed/inside");
    for (const char* target :
         {"../closed", "../closed/inside", "/", "..", ".", "nowhere", ".local/nowhere",
          ".local/share/Trash/../../../../closed", ".local/share/Trash/files/../../../../../closed",
          ".local/share/Trash/files/..", ".local/share/Trash/files/."}) {
        std::filesystem::remove(destination_);
        folder_.makeLink("home/.Trash", target);
        ASSERT_NO_FATAL_FAILURE(close(trash_, test::isRoot() ? 0700 : 0));
        EXPECT_FALSE(prepareTrash(destination_)) << target;
        becomeOwner();
    }
    std::filesystem::remove(destination_);
    folder_.writeFile("home/.Trash", "a file");
    ASSERT_NO_FATAL_FAILURE(close(trash_, test::isRoot() ? 0700 : 0));
    EXPECT_FALSE(prepareTrash(destination_));
}

TEST_F(ForeignTrash, TakesTheItemWithoutARecordWhereItIsReadable) {
    ASSERT_NO_FATAL_FAILURE(close(trash_ + "/info", 0755));
    EXPECT_TRUE(prepareTrash(destination_));
    EXPECT_FALSE(recordPendingTrash(destination_, "notes.txt", item_));
    becomeOwner();
    EXPECT_TRUE(std::filesystem::equivalent(destination_, trash_ + "/files"));
    EXPECT_EQ(listing(trash_ + "/info"), "");
}

// Only a Trash out of reach is done without, and no other trouble makes a folder that stays.
TEST_F(PrivilegedTrash, IsRefusedWhereNoneCanBeMade) {
    folder_.writeFile("home/.local", "a file");
    EXPECT_FALSE(prepareTrash(destination_));
    EXPECT_FALSE(somethingAt(destination_));
    std::filesystem::remove(home_ + "/.local");
    for (int nth = 1; nth < 12; ++nth) {
        const test::FailingCalls failure(nth, EMFILE);
        const bool isPrepared = prepareTrash(destination_);
        EXPECT_EQ(std::filesystem::is_symlink(destination_), isPrepared) << nth;
        std::filesystem::remove(destination_);
    }
    EXPECT_FALSE(prepareTrash(folder_ / "missing/.Trash"));
}

TEST_F(PrivilegedTrash, IsRefusedUnderAnyOtherName) {
    EXPECT_FALSE(prepareTrash(home_ + "/Trash"));
    EXPECT_FALSE(prepareTrash("relative/.Trash"));
    ASSERT_TRUE(prepareTrash(destination_));
    for (const char* name : {"", ".", "..", "a/b"})
        EXPECT_FALSE(recordPendingTrash(destination_, name, item_)) << name;
    discardTrashRecord(destination_, "../escape");
}

TEST(RootPrivilegedTrash, BelongsToTheUserItIsMadeFor) {
    if (::getuid() != 0) GTEST_SKIP() << "for root";
    const TempFolder folder;
    const std::string home = folder.makeFolder("home");
    test::letEverybodyIn(folder);
    ASSERT_EQ(::chown(home.c_str(), test::FakeUser::kId, test::FakeUser::kId), 0);
    ASSERT_TRUE(prepareTrash(home + "/.Trash"));
    ASSERT_TRUE(recordPendingTrash(home + "/.Trash", "notes.txt", "/elsewhere/notes.txt"));
    for (const char* name :
         {".Trash", ".local/share/Trash/files", ".local/share/Trash/info/notes.txt.trashinfo"}) {
        struct stat status {};
        ASSERT_EQ(::lstat((home + "/" + name).c_str(), &status), 0) << name;
        EXPECT_EQ(status.st_uid, test::FakeUser::kId) << name;
    }
}

// Runs as the user of the home; returns 0 or the error number.
int renamedByUser(const std::string& from, const std::string& to) {
    const pid_t child = ::fork();
    if (child == 0) {
        const bool isUser =
            ::setgroups(0, nullptr) == 0 &&
            ::setresgid(test::FakeUser::kId, test::FakeUser::kId, test::FakeUser::kId) == 0 &&
            ::setresuid(test::FakeUser::kId, test::FakeUser::kId, test::FakeUser::kId) == 0;
        ::_exit(!isUser ? 255 : ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Root's items in another user's Trash, as the tool leaves them.
class RootsItemsInTrash : public testing::Test {
  protected:
    void SetUp() override {
        if (::getuid() != 0) GTEST_SKIP() << "for root";
        test::letEverybodyIn(folder_);
        ASSERT_EQ(::chown(home_.c_str(), test::FakeUser::kId, test::FakeUser::kId), 0);
        folder_.writeFile("system/a file", "text");
        folder_.writeFile("system/folder/inside", "text");
        ASSERT_TRUE(prepareTrash(trash_));
        for (const std::string name : {"a file", "folder"}) {
            ASSERT_TRUE(recordPendingTrash(trash_, name, system_ + "/" + name));
            std::filesystem::rename(system_ + "/" + name, trash_ + "/" + name);
        }
    }
    static uid_t ownerOf(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        return status.st_uid;
    }
    const TempFolder folder_;
    const std::string home_ = folder_.makeFolder("home");
    const std::string system_ = folder_.makeFolder("system");
    const std::string trash_ = home_ + "/.Trash";
};

TEST_F(RootsItemsInTrash, AreOutOfTheUsersReachAtTheirOldPlace) {
    EXPECT_EQ(renamedByUser(trash_ + "/a file", system_ + "/a file"), EACCES);
    EXPECT_EQ(renamedByUser(trash_ + "/a file", home_ + "/a file"), 0);
    EXPECT_EQ(ownerOf(home_ + "/a file"), 0U);
    EXPECT_EQ(renamedByUser(trash_ + "/folder", home_ + "/folder"), EACCES);
    EXPECT_EQ(readFile(trash_ + "/folder/inside"), "text");
}

TEST_F(RootsItemsInTrash, AreRestoredByRootWithTheirOwner) {
    if (std::system("command -v trash-restore >/dev/null") != 0)
        GTEST_SKIP() << "trash-cli is not installed";
    const std::string restore = "cd '" + system_ + "' && export HOME='" + home_ +
                                "' && echo 0 | trash-restore >/dev/null 2>&1";
    EXPECT_EQ(std::system(restore.c_str()), 0);
    EXPECT_EQ(std::system(restore.c_str()), 0);
    EXPECT_EQ(readFile(system_ + "/a file"), "text");
    EXPECT_EQ(readFile(system_ + "/folder/inside"), "text");
    EXPECT_EQ(ownerOf(system_ + "/a file"), 0U);
    EXPECT_EQ(ownerOf(system_ + "/folder"), 0U);
    EXPECT_EQ(listing(home_ + "/.local/share/Trash/info"), "");
    EXPECT_EQ(listing(trash_), "");
}

}  // namespace
}  // namespace quillmoor::platform::linux_
