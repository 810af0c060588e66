#include "quillmoor/platform/posix/fs/item_attributes_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <string>

#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

using std::chrono::system_clock;

struct stat statusAt(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0);
    return status;
}

class ItemAttributesOnDisk : public testing::Test {
  protected:
    test::TempFolder folder_;
    std::string file_ = folder_.writeFile("file");
    std::string link_ = folder_.makeLink("link", "file");
    std::string dangling_ = folder_.makeLink("dangling", "nowhere");
};

TEST_F(ItemAttributesOnDisk, AModeIsChangedBehindALinkAndWithoutOtherBits) {
    const mode_t ofLink = statusAt(link_).st_mode;
    EXPECT_EQ(changeMode(link_, S_IFDIR | 0640U), 0);
    EXPECT_EQ(statusAt(file_).st_mode, S_IFREG | 0640U);
    EXPECT_EQ(statusAt(link_).st_mode, ofLink);
}

TEST_F(ItemAttributesOnDisk, ADateIsChangedBehindALinkAndTheOtherOneIsKept) {
    const timespec before[2] = {{1000, 0}, {2000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, file_.c_str(), before, 0), 0);
    const time_t ofLink = statusAt(link_).st_mtim.tv_sec;
    EXPECT_EQ(changeModificationDate(link_, system_clock::time_point(std::chrono::seconds(3000))),
              0);
    EXPECT_EQ(statusAt(file_).st_mtim.tv_sec, 3000);
    EXPECT_EQ(statusAt(file_).st_atim.tv_sec, 1000);
    EXPECT_EQ(statusAt(link_).st_mtim.tv_sec, ofLink);
}

TEST_F(ItemAttributesOnDisk, OfADanglingLinkCannotBeChanged) {
    for (const std::string& path : {dangling_, folder_ / "missing"}) {
        EXPECT_EQ(changeMode(path, 0600), ENOENT);
        EXPECT_EQ(changeModificationDate(path, system_clock::now()), ENOENT);
    }
    DirectoryEntry entry;
    EXPECT_EQ(findItem(dangling_, FollowLink::Yes, entry), ENOENT);
    EXPECT_EQ(findItem(dangling_, FollowLink::No, entry), 0);
    EXPECT_EQ(entry.name, "dangling");
}

}  // namespace
}  // namespace quillmoor::platform::posix
