#include "quillmoor/platform/macos/trash/trash_folder_macos.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/temp_folder.h"

namespace quillmoor::platform::macos {
namespace {

class MacTrashFolder : public testing::Test {
  protected:
    test::TempFolder folder_;
    const std::string trash_ = folder_ / ".Trash";
};

TEST_F(MacTrashFolder, IsMadeForItsOwnerAlone) {
    ASSERT_TRUE(prepareTrashFolder(trash_));
    struct stat status {};
    ASSERT_EQ(::lstat(trash_.c_str(), &status), 0);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
    EXPECT_EQ(status.st_uid, ::geteuid());
}

TEST_F(MacTrashFolder, KeepsWhatIsInIt) {
    folder_.writeFile(".Trash/file", "text");
    EXPECT_TRUE(prepareTrashFolder(trash_));
    EXPECT_TRUE(prepareTrashFolder(trash_ + "/"));
    EXPECT_EQ(test::readFile(trash_ + "/file"), "text");
}

TEST_F(MacTrashFolder, MayNotBeALinkOrAFile) {
    const std::string inside = folder_.makeFolder("inside");
    std::filesystem::create_symlink(inside, trash_);
    EXPECT_FALSE(prepareTrashFolder(trash_));
    std::filesystem::remove(trash_);
    std::filesystem::create_symlink("nowhere", trash_);
    EXPECT_FALSE(prepareTrashFolder(trash_));
    EXPECT_FALSE(test::somethingAt(folder_ / "nowhere"));
    std::filesystem::remove(trash_);
    folder_.writeFile(".Trash");
    EXPECT_FALSE(prepareTrashFolder(trash_));
}

TEST_F(MacTrashFolder, IsInAnExistingHome) {
    EXPECT_FALSE(prepareTrashFolder(folder_ / "missing/.Trash"));
    EXPECT_FALSE(prepareTrashFolder(folder_ / "Other"));
    EXPECT_FALSE(prepareTrashFolder(".Trash"));
    EXPECT_FALSE(prepareTrashFolder(""));
    EXPECT_FALSE(test::somethingAt(folder_ / "Other"));
}

}  // namespace
}  // namespace quillmoor::platform::macos
