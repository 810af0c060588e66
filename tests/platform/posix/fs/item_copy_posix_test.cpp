#include "quillmoor/platform/posix/fs/item_copy_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/kernel_calls_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::posix {
namespace {

using test::TempFolder;

bool copied(const std::string& path, const std::string& destination) {
    return static_cast<bool>(nativeFileManager()->copyItem(path, destination));
}

struct stat statusAt(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

std::string attribute(const std::string& path, const char* name) {
    char value[4096];
    const ssize_t size = ::lgetxattr(path.c_str(), name, value, sizeof value);
    return size < 0 ? "none" : std::string(value, static_cast<std::size_t>(size));
}

TEST(ItemCopy, AnEmptyFileAndALargeOneAreCopied) {
    const TempFolder folder;
    std::string large;
    for (int i = 0; large.size() < (3U << 20U); ++i) large += std::to_string(i);
    folder.writeFile("empty");
    folder.writeFile("large", large);
    ASSERT_TRUE(copied(folder / "empty", folder / "empty 2"));
    ASSERT_TRUE(copied(folder / "large", folder / "large 2"));
    EXPECT_EQ(statusAt(folder / "empty 2").st_size, 0);
    EXPECT_TRUE(test::readFile(folder / "large 2") == large);
}

// A file system that clones, or one that cannot, in the table of system calls.
class ClonesFiles {
  public:
    explicit ClonesFiles(bool can) : calls_(systemCalls()) {
        can_ = can;
        asked = 0;
        below_ = &systemCalls();
        calls_.cloneFile = [](int, int folder, const char* name, bool* cloned) {
            ++asked;
            const int made = below_->openat(folder, name, O_WRONLY | O_CREAT | O_EXCL, 0600);
            *cloned = made >= 0 && can_ && below_->write(made, "cloned", 6) == 6;
            return made;
        };
        exchangeSystemCalls(&calls_);
    }
    ~ClonesFiles() { exchangeSystemCalls(below_); }
    ClonesFiles(const ClonesFiles&) = delete;
    ClonesFiles& operator=(const ClonesFiles&) = delete;

    static inline int asked = 0;

  private:
    static inline bool can_ = false;
    static inline const SystemCalls* below_ = nullptr;
    SystemCalls calls_;
};

int copyItem(ItemCopier& copier, const std::string& path, const std::string& destination) {
    return copier.copy(AT_FDCWD, path.c_str(), S_IFREG, AT_FDCWD, destination.c_str());
}

TEST(ItemCopy, AClonedFileIsNotWrittenOver) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", "to be cloned");
    ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
    TreeProgress progress;
    const CopyControl control{&progress, {}};
    ItemCopier copier(control);
    const ClonesFiles clones(true);
    EXPECT_EQ(copyItem(copier, file, folder / "copy"), 0);
    EXPECT_EQ(test::readFile(folder / "copy"), "cloned");
    EXPECT_EQ(statusAt(folder / "copy").st_mode & 07777U, 0640U);
    EXPECT_EQ(progress.bytes, 12U);
    EXPECT_EQ(progress.items, 1U);
    EXPECT_EQ(copyItem(copier, file, folder / "copy 2"), 0);
    EXPECT_EQ(clones.asked, 2);
}

TEST(ItemCopy, AFileSystemThatCannotCloneIsAskedOnce) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", "text");
    const CopyControl control;
    ItemCopier copier(control);
    const ClonesFiles clones(false);
    for (const char* name : {"copy", "copy 2", "copy 3"}) {
        EXPECT_EQ(copyItem(copier, file, folder / name), 0);
        EXPECT_EQ(test::readFile(folder / name), "text");
    }
    EXPECT_EQ(clones.asked, 1);
}

TEST(ItemCopy, AnEmptyFileIsNotCloned) {
    const TempFolder folder;
    const CopyControl control;
    ItemCopier copier(control);
    const ClonesFiles clones(true);
    EXPECT_EQ(copyItem(copier, folder.writeFile("file"), folder / "copy"), 0);
    EXPECT_EQ(clones.asked, 0);
}

TEST(ItemCopy, AnItemInTheWayOfACloneStays) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", "text");
    const CopyControl control;
    for (const std::string& taken :
         {folder.writeFile("taken", "old"), folder.makeLink("dangling", "nowhere")}) {
        ItemCopier copier(control);
        EXPECT_EQ(copyItem(copier, file, taken), EEXIST);
        EXPECT_FALSE(copier.somethingMade());
    }
    EXPECT_EQ(test::readFile(folder / "taken"), "old");
    EXPECT_FALSE(test::somethingAt(folder / "nowhere"));
}

TEST(ItemCopy, SkipsAnAttributeThatWasRemovedMeanwhile) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", "text");
    if (::setxattr(file.c_str(), "user.colour", "green", 5, 0) != 0)
        GTEST_SKIP() << "no extended attributes here";
    SystemCalls calls = systemCalls();
    calls.fgetxattr = [](int, const char*, void*, std::size_t) -> ssize_t {
        errno = kNoSuchAttributeError;
        return -1;
    };
    const SystemCalls* before = exchangeSystemCalls(&calls);
    EXPECT_TRUE(copied(file, folder / "copy"));
    exchangeSystemCalls(before);
    EXPECT_EQ(attribute(folder / "copy", "user.colour"), "none");
}

// Stands in for an attribute that is large, then empty, then large again.
namespace changing_attribute {

constexpr std::size_t kSize = 1000;
int sizesAsked = 0;
std::string written;

ssize_t get(int, const char*, void* value, std::size_t size) {
    if (size == 0) return sizesAsked++ == 0 ? 0 : ssize_t{kSize};
    if (size < kSize) {
        errno = ERANGE;
        return -1;
    }
    std::fill_n(static_cast<char*>(value), kSize, 'x');
    return kSize;
}

int set(int, const char*, const void* value, std::size_t size) {
    written.assign(static_cast<const char*>(value), size);
    return 0;
}

}  // namespace changing_attribute

TEST(ItemCopy, ReadsNothingBeyondAnAttributeThatChangesItsSize) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", "text");
    if (::setxattr(file.c_str(), "user.colour", "green", 5, 0) != 0)
        GTEST_SKIP() << "no extended attributes here";
    SystemCalls calls = systemCalls();
    calls.fgetxattr = changing_attribute::get;
    calls.fsetxattr = changing_attribute::set;
    const SystemCalls* before = exchangeSystemCalls(&calls);
    EXPECT_TRUE(copied(file, folder / "copy"));
    exchangeSystemCalls(before);
    EXPECT_EQ(changing_attribute::written, std::string(changing_attribute::kSize, 'x'));
}

TEST(ItemCopy, HolesStayHoles) {
    const TempFolder folder;
    constexpr off_t size = off_t{8} << 20;
    {
        const Descriptor file(
            ::open((folder / "sparse").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        ASSERT_EQ(::pwrite(file.get(), "begin", 5, 1 << 20), 5);
        ASSERT_EQ(::pwrite(file.get(), "middle", 6, size / 2 + 3), 6);
        ASSERT_EQ(::ftruncate(file.get(), size), 0);
    }
    ASSERT_TRUE(copied(folder / "sparse", folder / "copy"));
    const struct stat copy = statusAt(folder / "copy");
    EXPECT_EQ(copy.st_size, size);
    EXPECT_LT(copy.st_blocks * 512, 1 << 20);
    EXPECT_TRUE(test::readFile(folder / "copy") == test::readFile(folder / "sparse"));
}

TEST(ItemCopy, AFileOfNothingButAHoleIsCopied) {
    const TempFolder folder;
    folder.writeFile("hole");
    ASSERT_EQ(::truncate((folder / "hole").c_str(), 1 << 20), 0);
    ASSERT_TRUE(copied(folder / "hole", folder / "copy"));
    EXPECT_EQ(statusAt(folder / "copy").st_size, 1 << 20);
    EXPECT_EQ(statusAt(folder / "copy").st_blocks, 0);
}

TEST(ItemCopy, ExtendedAttributesGoWithFilesAndFolders) {
    const TempFolder folder;
    folder.writeFile("tree/file", "text");
    ASSERT_EQ(::chmod((folder / "tree/file").c_str(), 0444), 0);
    const std::string large(2000, 'v');
    if (::setxattr((folder / "tree").c_str(), "user.colour", "green", 5, 0) != 0)
        GTEST_SKIP() << "no extended attributes here";
    ASSERT_EQ(::chmod((folder / "tree/file").c_str(), 0644), 0);
    ASSERT_EQ(
        ::setxattr((folder / "tree/file").c_str(), "user.large", large.data(), large.size(), 0), 0);
    ASSERT_EQ(::setxattr((folder / "tree/file").c_str(), "user.empty", "", 0, 0), 0);
    for (int i = 0; i < 20; ++i) {
        const std::string name = "user.a name that takes some room " + std::to_string(i);
        ASSERT_EQ(::setxattr((folder / "tree/file").c_str(), name.c_str(), "v", 1, 0), 0);
    }
    ASSERT_EQ(::chmod((folder / "tree/file").c_str(), 0444), 0);
    ASSERT_TRUE(copied(folder / "tree", folder / "copy"));
    EXPECT_EQ(attribute(folder / "copy", "user.colour"), "green");
    EXPECT_EQ(attribute(folder / "copy/file", "user.large"), large);
    EXPECT_EQ(attribute(folder / "copy/file", "user.empty"), "");
    EXPECT_EQ(attribute(folder / "copy/file", "user.a name that takes some room 19"), "v");
    EXPECT_EQ(statusAt(folder / "copy/file").st_mode & 07777U, 0444U);
}

TEST(ItemCopy, AccessListsGoWithTheItem) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", "text");
    // Version 2; user::rw-, user 1234:r--, group::r--, mask::r--, other::---
    const std::string list(
        "\x02\0\0\0\x01\0\x06\0\xff\xff\xff\xff\x02\0\x04\0\xd2\x04\0\0"
        "\x04\0\x04\0\xff\xff\xff\xff\x10\0\x04\0\xff\xff\xff\xff"
        "\x20\0\0\0\xff\xff\xff\xff",
        44);
    if (::setxattr(file.c_str(), "system.posix_acl_access", list.data(), list.size(), 0) != 0)
        GTEST_SKIP() << "no access lists here";
    ASSERT_TRUE(copied(file, folder / "copy"));
    EXPECT_EQ(attribute(folder / "copy", "system.posix_acl_access"), list);
    EXPECT_EQ(statusAt(folder / "copy").st_mode, statusAt(file).st_mode);
}

TEST(ItemCopy, KeepsOwnersAndSetuidBitsAsRoot) {
    if (!test::isRoot()) GTEST_SKIP() << "only root can change owners";
    const TempFolder folder;
    folder.writeFile("tree/tool", "tool");
    folder.makeLink("tree/link", "tool");
    ASSERT_EQ(::mkfifo((folder / "tree/fifo").c_str(), 0600), 0);
    for (const char* name : {"tree/tool", "tree/link", "tree/fifo", "tree"}) {
        ASSERT_EQ(::lchown((folder / name).c_str(), 1234, 4321), 0);
    }
    ASSERT_EQ(::chmod((folder / "tree/tool").c_str(), 06755), 0);
    ASSERT_TRUE(copied(folder / "tree", folder / "copy"));
    EXPECT_EQ(test::describeTree(folder / "copy"), test::describeTree(folder / "tree"));
    EXPECT_EQ(statusAt(folder / "copy/tool").st_mode & 07777U, 06755U);
    EXPECT_EQ(statusAt(folder / "copy/link").st_uid, 1234U);
}

TEST(ItemCopy, AnotherUsersSetuidBitsAreNotKept) {
    if (test::isRoot()) GTEST_SKIP() << "root keeps the owner";
    const TempFolder folder;
    // su belongs to root and is setuid.
    const std::string tool = "/usr/bin/su";
    struct stat status {};
    if (::stat(tool.c_str(), &status) != 0 || (status.st_mode & S_ISUID) == 0 ||
        ::access(tool.c_str(), R_OK) != 0)
        GTEST_SKIP() << "no setuid tool to copy";
    ASSERT_TRUE(copied(tool, folder / "copy"));
    EXPECT_EQ(statusAt(folder / "copy").st_mode & 07777U, status.st_mode & 01777U);
    EXPECT_EQ(statusAt(folder / "copy").st_uid, ::geteuid());
}

TEST(ItemCopy, OnesOwnSetuidBitsAreKept) {
    const TempFolder folder;
    const std::string tool = folder.writeFile("tool", "tool");
    ASSERT_EQ(::chmod(tool.c_str(), 04755), 0);
    ASSERT_TRUE(copied(tool, folder / "copy"));
    EXPECT_EQ(statusAt(folder / "copy").st_mode & 07777U, 04755U);
}

TEST(ItemCopy, IgnoresTheUmask) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", "text");
    ASSERT_EQ(::chmod(file.c_str(), 0666), 0);
    const mode_t before = ::umask(077);
    EXPECT_TRUE(copied(file, folder / "copy"));
    ::umask(before);
    EXPECT_EQ(statusAt(folder / "copy").st_mode & 07777U, 0666U);
}

TEST(ItemCopy, ALongLinkIsCopied) {
    const TempFolder folder;
    const std::string target(3000, 't');
    folder.makeLink("link", target);
    ASSERT_TRUE(copied(folder / "link", folder / "copy"));
    EXPECT_EQ(test::describeTree(folder / "copy"), test::describeTree(folder / "link"));
}

}  // namespace
}  // namespace quillmoor::platform::posix
