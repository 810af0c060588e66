#include "platform/posix/ground/kernel_calls_posix.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/xattr.h>

#include <cstdint>
#include <string_view>

#include "platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

constexpr int kItemItself = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;

// Any of them. What the file system does not know is not set.
bool hasAttribute(const struct statx& status, std::uint64_t attributes) {
    return (status.stx_attributes & status.stx_attributes_mask & attributes) != 0;
}

}  // namespace

int renameNoReplace(int folder, const char* name, int newFolder, const char* newName) {
    return ::renameat2(folder, name, newFolder, newName, RENAME_NOREPLACE);
}

int cloneFile(int from, int to) {
    return ::ioctl(to, FICLONE, from);
}

ssize_t listExtendedAttributes(int file, char* names, std::size_t size) {
    return ::flistxattr(file, names, size);
}

ssize_t getExtendedAttribute(int file, const char* name, void* value, std::size_t size) {
    return ::fgetxattr(file, name, value, size);
}

int setExtendedAttribute(int file, const char* name, const void* value, std::size_t size) {
    return ::fsetxattr(file, name, value, size, 0);
}

int isHfsPlus(int file, bool* answer) {
    // Not in the kernel's list of magic numbers for everybody.
    constexpr auto kHfsPlus = 0x482B;
    struct statfs status {};
    if (::fstatfs(file, &status) != 0) return -1;
    *answer = status.f_type == kHfsPlus;
    return 0;
}

int isImmutable(int folder, const char* name, bool* answer) {
    struct statx status {};
    if (::statx(folder, name, kItemItself, 0, &status) != 0) return -1;
    *answer = hasAttribute(status, STATX_ATTR_IMMUTABLE);
    return 0;
}

int getRemovalTraits(int folder, const char* name, RemovalTraits* traits) {
    struct statx status {};
    if (::statx(folder, name, kItemItself, STATX_TYPE | STATX_UID, &status) != 0) return -1;
    traits->isFixed = hasAttribute(status, STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND);
    traits->isMountPoint = hasAttribute(status, STATX_ATTR_MOUNT_ROOT);
    traits->owner = status.stx_uid;
    traits->type = status.stx_mode & S_IFMT;
    return 0;
}

int getItemFlags(int file, int* flags) {
    return ::ioctl(file, FS_IOC_GETFLAGS, flags);
}

int setItemFlags(int file, int flags) {
    return ::ioctl(file, FS_IOC_SETFLAGS, &flags);
}

bool isCopiedAttribute(const char* name, bool ownerKept) {
    const std::string_view text(name);
    // A program's capabilities are worth as much as a setuid bit.
    if (text == "security.capability") return ownerKept;
    return text.starts_with("user.") || text.starts_with("trusted.") || text.starts_with("osx.") ||
           text.starts_with("system.posix_acl_");
}

}  // namespace quillmoor::platform::posix
