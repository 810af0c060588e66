#include "quillmoor/platform/linux/ground/absolute_path_linux.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_ {
namespace {

class AbsolutePath : public testing::Test {
  protected:
    AbsolutePath() { EXPECT_EQ(::chdir(folder_.path().c_str()), 0); }
    ~AbsolutePath() override { EXPECT_EQ(::chdir("/"), 0); }
    test::TempFolder folder_;
};

TEST_F(AbsolutePath, OfAnAbsolutePathIsThePathItself) {
    EXPECT_EQ(absolutePath("/some/where"), "/some/where");
    EXPECT_EQ(absolutePath("/"), "/");
}

TEST_F(AbsolutePath, OfARelativeOneBeginsWithTheWorkingFolder) {
    EXPECT_EQ(absolutePath("name"), folder_ / "name");
    EXPECT_EQ(absolutePath("a b/\nc"), folder_ / "a b/\nc");
}

TEST_F(AbsolutePath, DropsOnlyTrailingSlashes) {
    EXPECT_EQ(absolutePath("/some//where/.././x//"), "/some//where/.././x");
    EXPECT_EQ(absolutePath("name/"), folder_ / "name");
    EXPECT_EQ(absolutePath("//"), "/");
}

TEST_F(AbsolutePath, IsNilForAnEmptyPathAndOneWithANul) {
    EXPECT_EQ(absolutePath(""), std::nullopt);
    EXPECT_EQ(absolutePath(std::string("a\0b", 3)), std::nullopt);
}

TEST_F(AbsolutePath, IsNilForARelativeOneInAFolderThatWasRemoved) {
    const std::string gone = folder_.makeFolder("gone");
    ASSERT_EQ(::chdir(gone.c_str()), 0);
    ASSERT_EQ(::rmdir(gone.c_str()), 0);
    EXPECT_EQ(absolutePath("name"), std::nullopt);
    EXPECT_EQ(absolutePath("/name"), "/name");
}

}  // namespace
}  // namespace quillmoor::platform::linux_
