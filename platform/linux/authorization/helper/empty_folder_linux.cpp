#include "quillmoor/platform/linux/authorization/helper/empty_folder_linux.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

using posix::Descriptor;

// A file system that is mounted nowhere: it is its own parent folder.
Descriptor openUnmounted() {
    // The calls that mount without a place in the tree exist from Linux 5.2 on.
    const Descriptor context(::fsopen("tmpfs", FSOPEN_CLOEXEC));
    if (!context || ::fsconfig(context.get(), FSCONFIG_SET_STRING, "mode", "0700", 0) != 0 ||
        ::fsconfig(context.get(), FSCONFIG_CMD_CREATE, nullptr, nullptr, 0) != 0)
        return {};
    return Descriptor(
        ::fsmount(context.get(), FSMOUNT_CLOEXEC,
                  MOUNT_ATTR_RDONLY | MOUNT_ATTR_NOSUID | MOUNT_ATTR_NODEV | MOUNT_ATTR_NOEXEC));
}

Descriptor openFolder(int parent, const char* name) {
    return Descriptor(::openat(parent, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// The innermost of `depth` nested folders, all of which have been removed: "../" leads to removed
// folders as well.
Descriptor openRemoved(Descriptor folder, int depth) {
    constexpr char kName[] = "empty";
    if (!folder || depth == 0) return folder;
    if (::mkdirat(folder.get(), kName, S_IRWXU) != 0) return {};
    // It is removed while it is open: nothing can be made in a removed folder, not even by root.
    Descriptor innermost = openRemoved(openFolder(folder.get(), kName), depth - 1);
    ::unlinkat(folder.get(), kName, AT_REMOVEDIR);
    return innermost;
}

// Tools are not expected to use paths with more "../".
constexpr int kDepth = 32;

}  // namespace

Descriptor openEmptyFolder() {
    if (Descriptor folder = openUnmounted()) return folder;
    // In a container that may not mount. Only root can write to either of these.
    for (const char* const place : {"/run", "/root"}) {
        std::string path = std::string(place) + "/quillmoor-XXXXXX";
        if (::mkdtemp(path.data()) == nullptr) continue;
        Descriptor folder = openRemoved(openFolder(AT_FDCWD, path.c_str()), kDepth);
        // rmdir must not hide why the folder could not be opened.
        const int error = errno;
        ::rmdir(path.c_str());
        errno = error;
        if (folder) return folder;
    }
    return {};
}

}  // namespace quillmoor::platform::linux_::authorization::helper
