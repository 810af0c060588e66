// Root moves items into another user's Trash.
#include "quillmoor/platform/linux/trash/trash_folder_linux.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "quillmoor/platform/linux/trash/trash_linux.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::linux_ {
namespace {

using test::FakeUser;
using test::listing;
using test::readFile;
using test::somethingAt;
using test::TempFolder;

uid_t ownerOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_uid;
}

class RootTrash : public testing::Test {
  protected:
    void SetUp() override {
        if (!test::isRoot()) GTEST_SKIP() << "for root";
        user_ = std::make_unique<FakeUser>(folder_);
        if (!user_->available()) GTEST_SKIP() << "nothing can be mounted here";
        desk_ = user_->makeFolder("desk");
        folder_.writeFile("homes/tester/desk/item", "text");
        ASSERT_EQ(::chown((desk_ + "/item").c_str(), FakeUser::kId, FakeUser::kId), 0);
        // Root's own setting must not count.
        ::setenv("XDG_DATA_HOME", (folder_ / "data").c_str(), 1);
    }
    void TearDown() override { ::unsetenv("XDG_DATA_HOME"); }

    bool recycle(const std::string& name = "item") const {
        return bool(recycleToTrash(desk_, user_->home() + "/.Trash", {name}));
    }
    void link(const std::string& target, const std::string& name) const {
        ASSERT_EQ(::symlink(target.c_str(), (user_->home() + "/" + name).c_str()), 0);
        ASSERT_EQ(::lchown((user_->home() + "/" + name).c_str(), FakeUser::kId, FakeUser::kId), 0);
    }
    void expectRefusal() const {
        EXPECT_FALSE(recycle());
        EXPECT_EQ(readFile(desk_ + "/item"), "text");
    }

    const TempFolder folder_;
    std::unique_ptr<FakeUser> user_;
    std::string desk_;
};

TEST_F(RootTrash, FoldersLinkAndRecordAreTheUsers) {
    ASSERT_TRUE(recycle());
    for (const char* name :
         {".local", ".local/share", ".local/share/Trash", ".local/share/Trash/files",
          ".local/share/Trash/info", ".local/share/Trash/info/item.trashinfo", ".Trash"})
        EXPECT_EQ(ownerOf(user_->home() + "/" + name), FakeUser::kId) << name;
    EXPECT_EQ(listing(user_->home() + "/.Trash"), "item");
    EXPECT_FALSE(somethingAt(folder_ / "data"));
}

TEST_F(RootTrash, TheItemKeepsItsOwner) {
    folder_.writeFile("homes/tester/desk/roots");
    folder_.writeFile("homes/tester/desk/others");
    ASSERT_EQ(::chown((desk_ + "/others").c_str(), 1234, 1234), 0);
    for (const char* name : {"item", "roots", "others"}) {
        ASSERT_TRUE(recycle(name));
    }
    EXPECT_EQ(ownerOf(user_->home() + "/.Trash/item"), FakeUser::kId);
    EXPECT_EQ(ownerOf(user_->home() + "/.Trash/roots"), 0U);
    EXPECT_EQ(ownerOf(user_->home() + "/.Trash/others"), 1234U);
}

TEST_F(RootTrash, TheItemKeepsItsOwnerAcrossFileSystems) {
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "no other file system here";
    ASSERT_EQ(::mkdir((other / "tree").c_str(), 0700), 0);
    ASSERT_EQ(::symlink("nowhere", (other / "tree/link").c_str()), 0);
    ASSERT_EQ(::lchown((other / "tree/link").c_str(), 1234, 1234), 0);
    ASSERT_EQ(::chown((other / "tree").c_str(), 1234, 1234), 0);
    const std::string before = test::describeTree(other / "tree");
    ASSERT_TRUE(recycleToTrash(other.path(), user_->home() + "/.Trash", {"tree"}));
    EXPECT_EQ(test::describeTree(user_->home() + "/.Trash/tree"), before);
}

TEST_F(RootTrash, ALinkThatTheUserMadeInsideHisHomeIsHonoured) {
    user_->makeFolder("my data");
    link("my data/Trash/files", ".Trash");
    ASSERT_TRUE(recycle());
    EXPECT_EQ(listing(user_->home() + "/my data/Trash/files"), "item");
    EXPECT_EQ(ownerOf(user_->home() + "/my data/Trash/info/item.trashinfo"), FakeUser::kId);
    ASSERT_TRUE(std::filesystem::remove(user_->home() + "/.Trash"));
    // The same link with an absolute target.
    link(user_->home() + "/my data/Trash/files", ".Trash");
    folder_.writeFile("homes/tester/desk/second");
    ASSERT_TRUE(recycle("second"));
    EXPECT_EQ(listing(user_->home() + "/my data/Trash/files"), "item second");
}

TEST_F(RootTrash, ALinkThatLeadsOutOfTheHomeIsRefused) {
    folder_.makeFolder("system/Trash/files");
    folder_.makeFolder("homes/tester 2/Trash/files");
    for (const std::string& target :
         {folder_ / "system/Trash/files", std::string("../../system/Trash/files"),
          std::string("desk/../../../system/Trash/files"), std::string("/"), std::string("files"),
          std::string("nowhere"), user_->home() + "/../../system/Trash/files",
          user_->home() + " 2/Trash/files", user_->home() + "//Trash"}) {
        link(target, ".Trash");
        expectRefusal();
        ASSERT_TRUE(std::filesystem::remove(user_->home() + "/.Trash"));
    }
    EXPECT_EQ(listing(folder_ / "system/Trash"), "files");
    EXPECT_EQ(listing(folder_ / "system/Trash/files"), "");
}

TEST_F(RootTrash, ALinkOnTheWayIsRefused) {
    const std::string system = folder_.makeFolder("system");
    link(system, ".local");
    expectRefusal();
    ASSERT_TRUE(std::filesystem::remove(user_->home() + "/.local"));
    user_->makeFolder(".local/share/Trash");
    for (const char* name : {".local/share/Trash/files", ".local/share/Trash/info"}) {
        link(system, name);
        expectRefusal();
        ASSERT_TRUE(std::filesystem::remove(user_->home() + "/" + name));
    }
    EXPECT_EQ(listing(system), "");
    EXPECT_EQ(ownerOf(system), 0U);
}

TEST_F(RootTrash, ALinkInPlaceOfARecordIsNotFollowed) {
    user_->makeFolder(".local/share/Trash/info");
    const std::string victim = folder_.writeFile("victim", "stays");
    link(victim, ".local/share/Trash/info/item.trashinfo");
    link(folder_ / "new", ".local/share/Trash/info/item 2.trashinfo");
    ASSERT_TRUE(recycle());
    EXPECT_EQ(listing(user_->home() + "/.local/share/Trash/files"), "item 3");
    EXPECT_EQ(readFile(victim), "stays");
    EXPECT_EQ(ownerOf(victim), 0U);
    EXPECT_FALSE(somethingAt(folder_ / "new"));
}

TEST_F(RootTrash, ARealFolderOfTheUsersIsUsedAsItIs) {
    user_->makeFolder(".Trash");
    ASSERT_TRUE(recycle());
    EXPECT_EQ(listing(user_->home() + "/.Trash"), "item");
    EXPECT_FALSE(somethingAt(user_->home() + "/.local"));
}

TEST_F(RootTrash, IsRootsOwnInRootsHome) {
    ::setenv("HOME", folder_.makeFolder("root home").c_str(), 1);
    ASSERT_TRUE(recycleToTrash(desk_, std::nullopt, {"item"}));
    EXPECT_EQ(listing(folder_ / "data/Trash/files"), "item");
    EXPECT_EQ(ownerOf(folder_ / "data/Trash/info/item.trashinfo"), 0U);
    EXPECT_EQ(ownerOf(folder_ / "data/Trash/files/item"), FakeUser::kId);
}

}  // namespace
}  // namespace quillmoor::platform::linux_
