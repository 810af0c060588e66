#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/ground/descriptor.h"
#include "platform/posix/ground/kernel_calls_posix.h"
#include "platform/posix/ground/system_calls_posix.h"
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
    EXPECT_EQ(errno, ENODATA);
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

TEST_F(KernelCalls, AnOrdinaryItemIsNotImmutable) {
    folder_.writeFile("file");
    bool immutable = true;
    EXPECT_EQ(isImmutable(self_.get(), "file", &immutable), 0);
    EXPECT_FALSE(immutable);
    EXPECT_EQ(isImmutable(self_.get(), "missing", &immutable), -1);
}

TEST_F(KernelCalls, ThisFileSystemIsNotHfsPlus) {
    bool isHfs = true;
    EXPECT_EQ(isHfsPlus(self_.get(), &isHfs), 0);
    EXPECT_FALSE(isHfs);
    EXPECT_EQ(isHfsPlus(-1, &isHfs), -1);
}

}  // namespace
}  // namespace quillmoor::platform::posix
