#include "quillmoor/platform/posix/ground/kernel_calls_posix.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <linux/openat2.h>
#include <stdio.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdint>
#include <string_view>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

constexpr int kItemItself = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;

// True for any of the attributes. Those that the file system does not support are not set.
bool hasAttribute(const struct statx& status, std::uint64_t attributes) {
    return (status.stx_attributes & status.stx_attributes_mask & attributes) != 0;
}

}  // namespace

const int kNoSuchAttributeError = ENODATA;

int openPipe(int ends[2]) {
    return ::pipe2(ends, O_CLOEXEC);
}

int openWakePair(int ends[2]) {
    ends[0] = ends[1] = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    return ends[0] < 0 ? -1 : 0;
}

int renameNoReplace(int folder, const char* name, int newFolder, const char* newName) {
    return ::renameat2(folder, name, newFolder, newName, RENAME_NOREPLACE);
}

int openBeneath(int folder, const char* path) {
    struct open_how how {};
    how.flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    // RESOLVE_BENEATH excludes magic links such as /proc/self/fd/N only for now, so openat2(2) asks
    // to name them.
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    // glibc 2.36 has no function for this call.
    return static_cast<int>(::syscall(SYS_openat2, folder, path, &how, sizeof how));
}

int cloneFile(int from, int folder, const char* name, bool* cloned) {
    constexpr int kNew = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
    const int made = systemCalls().openat(folder, name, kNew, S_IRUSR | S_IWUSR);
    // The error is not of interest: whatever prevents a clone, the file is empty and gets its
    // contents by a copy.
    *cloned = made >= 0 && ::ioctl(made, FICLONE, from) == 0;
    return made;
}

int reserveSpace(int file, off_t size) {
    return ::fallocate(file, FALLOC_FL_KEEP_SIZE, 0, size);
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

int getRemovalTraits(int folder, const char* name, RemovalTraits* traits) {
    struct statx status {};
    if (::statx(folder, name, kItemItself, STATX_TYPE | STATX_UID, &status) != 0) return -1;
    traits->isFixed = hasAttribute(status, STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND);
    // Known from Linux 5.8 on. Before that, the removal itself reports EBUSY.
    traits->isMountPoint = hasAttribute(status, STATX_ATTR_MOUNT_ROOT);
    traits->owner = status.stx_uid;
    traits->type = status.stx_mode & S_IFMT;
    return 0;
}

bool isCopiedAttribute(const char* name, bool ownerKept) {
    const std::string_view text(name);
    // A program's capabilities give as many privileges as a setuid bit.
    if (text == "security.capability") return ownerKept;
    // Not SELinux labels and the like: they belong to the folder in which an item is. osx. is the
    // namespace of HFS+. Only root sees the attributes of trusted.
    return text.starts_with("user.") || text.starts_with("trusted.") || text.starts_with("osx.") ||
           text.starts_with("system.posix_acl_");
}

// Access control lists are extended attributes, and the flags of a file are not copied by others
// either.
void copySystemAttributes(int, int) noexcept {}

}  // namespace quillmoor::platform::posix
