#include "quillmoor/platform/macos/ground/item_flags_macos.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/platform/macos/fakes/fake_kernel.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::macos {
namespace {

class ItemFlagsTest : public testing::Test {
  protected:
    const test::FakeKernel::ListCall& lastCall() const { return kernel_.listCalls.back(); }

    test::FakeKernel kernel_;
    test::TempFolder folder_;
    const posix::Descriptor self_{
        ::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

TEST_F(ItemFlagsTest, AreThoseOfALinkItself) {
    folder_.writeFile("file");
    folder_.makeLink("link", "file");
    kernel_.flagsOf["link"] = 2;
    struct stat status {};
    ASSERT_EQ(::lstat((folder_ / "link").c_str(), &status), 0);
    ItemFlags found;
    ASSERT_EQ(readItemFlags(self_.get(), "link", &found), 0);
    EXPECT_EQ(found.flags, 2U);
    EXPECT_EQ(found.modified.tv_sec, status.st_mtim.tv_sec);
    EXPECT_EQ(found.modified.tv_nsec, status.st_mtim.tv_nsec);
    EXPECT_FALSE(found.isMountPoint);
    EXPECT_EQ(lastCall().options, 1U);
    EXPECT_EQ(lastCall().request.bitmapcount, 5);
    EXPECT_EQ(lastCall().request.commonattr, 0x00040400U);
    EXPECT_EQ(lastCall().request.dirattr, 4U);
}

TEST_F(ItemFlagsTest, OnlyAFolderIsAMountPoint) {
    folder_.makeFolder("folder");
    ItemFlags found;
    ASSERT_EQ(readItemFlags(self_.get(), "folder", &found), 0);
    EXPECT_FALSE(found.isMountPoint);
    kernel_.isMountPoint["folder"] = true;
    kernel_.flagsOf["folder"] = 0x8000;
    ASSERT_EQ(readItemFlags(self_.get(), "folder", &found), 0);
    EXPECT_TRUE(found.isMountPoint);
    EXPECT_EQ(found.flags, 0x8000U);
}

TEST_F(ItemFlagsTest, OfAnOpenFileAreReadByItsDescriptor) {
    const posix::Descriptor file(::open(folder_.writeFile("file").c_str(), O_RDONLY | O_CLOEXEC));
    kernel_.flagsOf["file"] = 0x20002;
    std::uint32_t flags = 0;
    ASSERT_EQ(readOpenItemFlags(file.get(), &flags), 0);
    EXPECT_EQ(flags, 0x20002U);
    EXPECT_EQ(lastCall().request.commonattr, 0x00040000U);
    EXPECT_EQ(readOpenItemFlags(-1, &flags), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(ItemFlagsTest, AreWrittenToALinkItself) {
    folder_.makeLink("link", "nowhere");
    ASSERT_EQ(writeItemFlags(self_.get(), "link", 0x8002), 0);
    EXPECT_EQ(kernel_.flagsOf["link"], 0x8002U);
    EXPECT_EQ(lastCall().options, 1U);
    EXPECT_EQ(lastCall().written.size(), 4U);
}

TEST_F(ItemFlagsTest, TheCreationDateIsWrittenWhole) {
    folder_.writeFile("file");
    ASSERT_EQ(writeCreationDate(self_.get(), "file", {1700000000, 123456789}), 0);
    EXPECT_EQ(kernel_.creationDates["file"].tv_sec, 1700000000);
    EXPECT_EQ(kernel_.creationDates["file"].tv_nsec, 123456789);
    EXPECT_EQ(lastCall().request.commonattr, 0x00000200U);
    EXPECT_EQ(lastCall().options, 0U) << "links are followed";
}

TEST_F(ItemFlagsTest, FailuresKeepTheSystemsError) {
    ItemFlags found;
    EXPECT_EQ(readItemFlags(self_.get(), "missing", &found), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(writeItemFlags(self_.get(), "missing", 2), -1);
    EXPECT_EQ(errno, ENOENT);
    kernel_.listError = EPERM;
    EXPECT_EQ(writeCreationDate(self_.get(), "missing", {}), -1);
    EXPECT_EQ(errno, EPERM);
}

}  // namespace
}  // namespace quillmoor::platform::macos
