#include "quillmoor/platform/posix/ground/small_file_posix.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

using test::TempFolder;

TEST(SmallFile, IsReadWholeWithAllItsBytes) {
    const TempFolder folder;
    const std::string contents("a\0b\xFF\n", 5);
    EXPECT_EQ(readSmallFile(folder.writeFile("x", contents), 100), contents);
    EXPECT_EQ(readSmallFile(folder.writeFile("empty"), 100), "");
}

TEST(SmallFile, MayHoldAsMuchAsTheLimitAndNoMore) {
    const TempFolder folder;
    const std::string path = folder.writeFile("x", std::string(64, 'x'));
    EXPECT_EQ(readSmallFile(path, 64), std::string(64, 'x'));
    EXPECT_EQ(readSmallFile(path, 63), std::nullopt);
}

TEST(SmallFile, AFileThatSaysItIsEmptyIsReadToItsEnd) {
    const std::optional<std::string> status = readSmallFile("/proc/self/status", 1 << 20);
    ASSERT_TRUE(status.has_value());
    EXPECT_NE(status->find("Name:"), std::string::npos);
    EXPECT_EQ(readSmallFile("/proc/self/status", 10), std::nullopt);
}

TEST(SmallFile, OnlyARegularFileIsRead) {
    const TempFolder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(readSmallFile(pipe, 100), std::nullopt);
    EXPECT_EQ(readSmallFile("/dev/zero", 100), std::nullopt);
    EXPECT_EQ(readSmallFile(folder.path(), 100), std::nullopt);
    EXPECT_EQ(readSmallFile(folder / "missing", 100), std::nullopt);
    EXPECT_EQ(readSmallFile("", 100), std::nullopt);
}

TEST(SmallFile, APathWithANulLeadsNowhere) {
    const TempFolder folder;
    const std::string path = folder.writeFile("x", "y");
    EXPECT_EQ(readSmallFile(path + std::string("\0z", 2), 100), std::nullopt);
}

TEST(SmallFile, FollowsLinksOnlyWithoutARequiredOwner) {
    const TempFolder folder;
    const std::string file = folder.writeFile("x", "y");
    const std::string link = folder.makeLink("link", file);
    EXPECT_EQ(readSmallFile(link, 100), "y");
    EXPECT_EQ(readSmallFileOf(::geteuid(), file, 100), "y");
    EXPECT_EQ(readSmallFileOf(::geteuid(), link, 100), std::nullopt);
}

TEST(SmallFile, MustBelongToTheRequiredOwner) {
    const TempFolder folder;
    EXPECT_EQ(readSmallFileOf(::geteuid() + 1, folder.writeFile("x", "y"), 100), std::nullopt);
}

}  // namespace
}  // namespace quillmoor::platform::posix
