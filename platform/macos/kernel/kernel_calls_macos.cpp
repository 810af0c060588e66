#include "quillmoor/platform/posix/ground/kernel_calls_posix.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/acl.h>
#include <sys/clonefile.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "quillmoor/platform/macos/ground/item_flags_macos.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

constexpr std::uint32_t kFixed =
    UF_IMMUTABLE | UF_APPEND | SF_IMMUTABLE | SF_APPEND | SF_NOUNLINK | SF_RESTRICTED;

// The system has no call that makes a pipe whose ends are close-on-exec from the start. Children of
// this library inherit nothing all the same: see closeAllButStandardStreams.
int makePipe(int ends[2], int statusFlags) {
    int made[2];
    if (::pipe(made) != 0) return -1;
    for (const int end : made) {
        if (systemCalls().fcntl(end, F_SETFD, FD_CLOEXEC) == 0 &&
            (statusFlags == 0 || systemCalls().fcntl(end, F_SETFL, statusFlags) == 0))
            continue;
        const int error = errno;
        ::close(made[0]);
        ::close(made[1]);
        errno = error;
        return -1;
    }
    ends[0] = made[0];
    ends[1] = made[1];
    return 0;
}

// A lock is not copied: the copy could not be renamed any more.
constexpr std::uint32_t kCopiedFlags = UF_NODUMP | UF_HIDDEN;

// Such a list can give any user what the mode withholds. One that cannot be read counts as one.
bool hasAccessControlList(int folder) {
    const acl_t list = ::acl_get_fd_np(folder, ACL_TYPE_EXTENDED);
    if (list == nullptr) return errno != ENOENT;
    ::acl_free(list);
    return true;
}

bool canOthersChange(int folder) {
    struct stat status {};
    return systemCalls().fstat(folder, &status) != 0 || status.st_uid != ::geteuid() ||
           (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 || hasAccessControlList(folder);
}

// A clone is made under a name and opened by it. In a folder that others can change they could put
// an item of their own there in between. Flags are cloned, too, and a fixed file cannot be opened.
bool mayClone(int from, int folder) {
    std::uint32_t flags = 0;
    return !canOthersChange(folder) && macos::readOpenItemFlags(from, &flags) == 0 &&
           (flags & kFixed) == 0;
}

int openClone(int folder, const char* name) {
    const SystemCalls& calls = systemCalls();
    // It has the mode of the original, which may forbid to write to it.
    if (calls.fchmodat(folder, name, S_IRUSR | S_IWUSR, AT_SYMLINK_NOFOLLOW) != 0) return -1;
    return calls.openat(folder, name, O_WRONLY | O_NOFOLLOW, 0);
}

}  // namespace

const int kNoSuchAttributeError = ENOATTR;

int openPipe(int ends[2]) {
    return makePipe(ends, 0);
}

int openWakePair(int ends[2]) {
    return makePipe(ends, O_NONBLOCK);
}

int renameNoReplace(int folder, const char* name, int newFolder, const char* newName) {
    return ::renameatx_np(folder, name, newFolder, newName, RENAME_EXCL);
}

// The system has no such call.
int openBeneath(int, const char*) {
    errno = ENOSYS;
    return -1;
}

int cloneFile(int from, int folder, const char* name, bool* cloned) {
    *cloned = false;
    if (mayClone(from, folder) && ::fclonefileat(from, folder, name, CLONE_NOOWNERCOPY) == 0) {
        const int made = openClone(folder, name);
        *cloned = made >= 0;
        if (made >= 0) return made;
        // A clone that cannot be opened is replaced by an empty file.
        systemCalls().unlinkat(folder, name, 0);
    }
    // Whatever prevented a clone: an item of that name is reported here as well.
    constexpr int kNew = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
    return systemCalls().openat(folder, name, kNew, S_IRUSR | S_IWUSR);
}

int reserveSpace(int file, off_t size) {
    fstore_t store{};
    store.fst_flags = F_ALLOCATEALL;
    store.fst_posmode = F_PEOFPOSMODE;
    store.fst_length = size;
    return ::fcntl(file, F_PREALLOCATE, &store);
}

ssize_t listExtendedAttributes(int file, char* names, std::size_t size) {
    return ::flistxattr(file, names, size, 0);
}

ssize_t getExtendedAttribute(int file, const char* name, void* value, std::size_t size) {
    return ::fgetxattr(file, name, value, size, 0, 0);
}

int setExtendedAttribute(int file, const char* name, const void* value, std::size_t size) {
    return ::fsetxattr(file, name, value, size, 0, 0);
}

int getRemovalTraits(int folder, const char* name, RemovalTraits* traits) {
    struct stat status {};
    macos::ItemFlags item;
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        macos::readItemFlags(folder, name, &item) != 0)
        return -1;
    traits->isFixed = (item.flags & kFixed) != 0;
    traits->isMountPoint = item.isMountPoint;
    traits->owner = status.st_uid;
    traits->type = status.st_mode & S_IFMT;
    return 0;
}

// No attribute gives a program privileges, and those that belong to the system cannot be set.
bool isCopiedAttribute(const char*, bool) {
    return true;
}

// The list last: it may forbid its owner to change the item.
void copySystemAttributes(int original, int made) noexcept {
    macos::copyCreationDateAndFlags(original, made, kCopiedFlags);
    const acl_t list = ::acl_get_fd_np(original, ACL_TYPE_EXTENDED);
    if (list == nullptr) return;
    ::acl_set_fd_np(made, list, ACL_TYPE_EXTENDED);
    ::acl_free(list);
}

}  // namespace quillmoor::platform::posix
