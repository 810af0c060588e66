#include "quillmoor/platform/linux/kernel/immutable_flag_linux.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>

#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_ {
namespace {

using posix::systemCalls;

int change(int file, bool immutable) {
    int flags = 0;
    // One call sets all flags of an item, so the others are read first.
    if (linuxCalls().getItemFlags(file, &flags) != 0) return errno;
    const int wanted = immutable ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    return linuxCalls().setItemFlags(file, wanted) == 0 ? 0 : errno;
}

}  // namespace

int setImmutable(const posix::DirectoryEntry& entry, bool immutable) {
    const int folder = entry.folder.get();
    const char* name = entry.name.c_str();
    struct stat status;
    const int missing = posix::statusOf(entry, posix::FollowLink::No, status);
    if (missing != 0) return missing;
    bool isImmutable = false;
    if (linuxCalls().isImmutable(folder, name, &isImmutable) != 0) return errno;
    // Changing the flag needs CAP_LINUX_IMMUTABLE; where nothing is to be changed the call succeeds
    // without it.
    if (isImmutable == immutable) return 0;
    // Opening a device or a pipe may have effects, and a link has no such flag.
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) return EOPNOTSUPP;
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    const posix::Descriptor file(systemCalls().openat(folder, name, flags, 0));
    if (!file) return errno;
    const int error = change(file.get(), immutable);
    // ENOTTY is how ioctl(2) says that the file system has no such flags.
    return error == ENOTTY ? EOPNOTSUPP : error;
}

}  // namespace quillmoor::platform::linux_
