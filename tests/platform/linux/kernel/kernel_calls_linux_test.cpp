#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/kernel_calls_posix.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

class KernelCalls : public testing::Test {
  protected:
    Descriptor open(const std::string& name) const {
        return Descriptor(::open((folder_ / name).c_str(), O_RDONLY | O_CLOEXEC));
    }
    test::TempFolder folder_;
    const Descriptor self_{::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

TEST_F(KernelCalls, ARenameNeverReplaces) {
    folder_.writeFile("one", "1");
    folder_.writeFile("two", "2");
    EXPECT_EQ(renameNoReplace(self_.get(), "one", self_.get(), "two"), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(test::readFile(folder_ / "two"), "2");
    EXPECT_EQ(renameNoReplace(self_.get(), "one", self_.get(), "three"), 0);
    EXPECT_EQ(test::readFile(folder_ / "three"), "1");
}

TEST_F(KernelCalls, AttributesAreSetReadAndListed) {
    folder_.writeFile("file");
    const Descriptor file = open("file");
    if (setExtendedAttribute(file.get(), "user.kx", "value", 5) != 0 && errno == ENOTSUP)
        GTEST_SKIP() << "the temporary folder has no attributes";
    char names[100]{};
    const ssize_t size = listExtendedAttributes(file.get(), names, sizeof names);
    EXPECT_EQ(std::string(names, static_cast<std::size_t>(size)), std::string("user.kx\0", 8));
    char value[100]{};
    EXPECT_EQ(getExtendedAttribute(file.get(), "user.kx", value, sizeof value), 5);
    EXPECT_STREQ(value, "value");
    EXPECT_EQ(getExtendedAttribute(file.get(), "user.other", value, sizeof value), -1);
    EXPECT_EQ(errno, kNoSuchAttributeError);
}

TEST_F(KernelCalls, OnlyAttributesOfTheItemAreCopied) {
    for (const char* const copied : {"user.note", "trusted.x", "osx.com.apple.FinderInfo",
                                     "system.posix_acl_access", "system.posix_acl_default"})
        EXPECT_TRUE(isCopiedAttribute(copied, false)) << copied;
    for (const char* const left : {"security.selinux", "system.nfs4_acl", "security.ima", ""})
        EXPECT_FALSE(isCopiedAttribute(left, true)) << left;
    EXPECT_TRUE(isCopiedAttribute("security.capability", true));
    EXPECT_FALSE(isCopiedAttribute("security.capability", false));
}

TEST_F(KernelCalls, TraitsAreThoseOfTheItemItself) {
    folder_.writeFile("file");
    folder_.makeLink("link", "file");
    RemovalTraits traits{true, true, 1, 0};
    ASSERT_EQ(getRemovalTraits(self_.get(), "link", &traits), 0);
    EXPECT_EQ(traits.type, mode_t{S_IFLNK});
    EXPECT_EQ(traits.owner, ::geteuid());
    EXPECT_FALSE(traits.isFixed);
    EXPECT_FALSE(traits.isMountPoint);
    ASSERT_EQ(getRemovalTraits(self_.get(), "file", &traits), 0);
    EXPECT_EQ(traits.type, mode_t{S_IFREG});
    EXPECT_EQ(getRemovalTraits(self_.get(), "missing", &traits), -1);
    EXPECT_EQ(errno, ENOENT);
    ASSERT_EQ(getRemovalTraits(AT_FDCWD, "/proc", &traits), 0);
    EXPECT_TRUE(traits.isMountPoint);
}

TEST_F(KernelCalls, AMadeFileIsClonedWholeOrEmptyAndReplacesNothing) {
    folder_.writeFile("file", "text");
    folder_.makeLink("dangling", "nowhere");
    const Descriptor file = open("file");
    bool cloned = false;
    const Descriptor made(cloneFile(file.get(), self_.get(), "copy", &cloned));
    ASSERT_TRUE(made);
    EXPECT_EQ(test::readFile(folder_ / "copy"), cloned ? "text" : "");
    EXPECT_NE(::fcntl(made.get(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(::write(made.get(), "new!", 4), 4);
    struct stat status {};
    ASSERT_EQ(::fstat(made.get(), &status), 0);
    EXPECT_EQ(status.st_mode & 07077U, 0U);
    for (const char* const taken : {"file", "dangling"}) {
        EXPECT_EQ(cloneFile(file.get(), self_.get(), taken, &cloned), -1);
        EXPECT_EQ(errno, EEXIST) << taken;
    }
    EXPECT_EQ(test::readFile(folder_ / "file"), "text");
    EXPECT_FALSE(test::somethingAt(folder_ / "nowhere"));
}

TEST_F(KernelCalls, ReservedSpaceLeavesTheSizeAsItIs) {
    const Descriptor file(::open(folder_.writeFile("file").c_str(), O_WRONLY | O_CLOEXEC));
    if (reserveSpace(file.get(), 1 << 20) != 0) GTEST_SKIP() << "nothing is reserved here";
    struct stat status {};
    ASSERT_EQ(::fstat(file.get(), &status), 0);
    EXPECT_EQ(status.st_size, 0);
    EXPECT_GE(status.st_blocks * 512, 1 << 20);
}

TEST_F(KernelCalls, PipesAndWakePairsAreClosedByAnExec) {
    int ends[2];
    ASSERT_EQ(openPipe(ends), 0);
    const Descriptor reading(ends[0]);
    const Descriptor writing(ends[1]);
    EXPECT_NE(::fcntl(reading.get(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_NE(::fcntl(writing.get(), F_GETFD) & FD_CLOEXEC, 0);
    ASSERT_EQ(openWakePair(ends), 0);
    EXPECT_EQ(ends[0], ends[1]);
    const Descriptor wake(ends[0]);
    EXPECT_NE(::fcntl(wake.get(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_NE(::fcntl(wake.get(), F_GETFL) & O_NONBLOCK, 0);
}

}  // namespace
}  // namespace quillmoor::platform::posix
