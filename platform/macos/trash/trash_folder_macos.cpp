#include "quillmoor/platform/macos/trash/trash_folder_macos.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::macos {
namespace {

constexpr char kTrash[] = ".Trash";

// 0, or the error number: ENOTDIR for a link, which may lead out of the home.
int statusOfTrash(int home) {
    struct stat status {};
    if (posix::systemCalls().fstatat(home, kTrash, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
}

int makeTrash(int home) {
    if (const auto owner = posix::ownerOfNewItemsIn(home)) {
        posix::Descriptor made;
        return posix::makeFolderFor(*owner, home, kTrash, S_IRWXU, made);
    }
    return posix::systemCalls().mkdirat(home, kTrash, S_IRWXU) == 0 ? 0 : errno;
}

}  // namespace

bool prepareTrashFolder(const std::string& destination) {
    posix::Descriptor home;
    if (!destination.starts_with('/') || lastPathComponent(destination) != kTrash ||
        posix::openFolder(deleteLastPathComponent(destination), home) != 0)
        return false;
    int error = statusOfTrash(home.get());
    if (error == ENOENT) error = makeTrash(home.get());
    // Another process has made it meanwhile.
    if (error == EEXIST) error = statusOfTrash(home.get());
    return error == 0;
}

}  // namespace quillmoor::platform::macos
