#include "quillmoor/platform/posix/fs/rename_posix.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// The two names of one renaming.
struct Renaming {
    int folder;
    const char* name;
    int newFolder;
    const char* newName;

    int rename() const {
        return systemCalls().renameat(folder, name, newFolder, newName) == 0 ? 0 : errno;
    }

    // Reserves the name with an empty folder: rename(2) replaces a folder only while it is empty.
    int renameFolder() const {
        const SystemCalls& calls = systemCalls();
        if (calls.mkdirat(newFolder, newName, S_IRWXU) != 0) return errno;
        const int error = rename();
        if (error != 0) calls.unlinkat(newFolder, newName, AT_REMOVEDIR);
        return error;
    }

    // linkat never replaces: a second link takes the name, then the first one is removed.
    int renameFile() const {
        const SystemCalls& calls = systemCalls();
        // Flags 0: a symbolic link gets the second name itself, not its target.
        if (calls.linkat(folder, name, newFolder, newName, 0) != 0) {
            const bool final = errno == EEXIST || errno == EXDEV || errno == ENOENT;
            return final ? errno : renameFileWithoutLinks();
        }
        if (calls.unlinkat(folder, name, 0) == 0) return 0;
        // The second name is taken back, so that after an error the file has its old name only.
        const int error = errno;
        calls.unlinkat(newFolder, newName, 0);
        return error;
    }

    // The file system has no hard links, or does not permit them here, as exFAT. An item that gets
    // the name between the two calls is replaced: such a file system offers nothing better.
    int renameFileWithoutLinks() const {
        struct stat status;
        if (systemCalls().fstatat(newFolder, newName, &status, AT_SYMLINK_NOFOLLOW) == 0)
            return EEXIST;
        return errno == ENOENT ? rename() : errno;
    }
};

}  // namespace

int renameWithoutReplacing(int folder, const std::string& name, int newFolder,
                           const std::string& newName) {
    const SystemCalls& calls = systemCalls();
    const Renaming renaming{folder, name.c_str(), newFolder, newName.c_str()};
    if (calls.renameNoReplace(folder, renaming.name, newFolder, renaming.newName) == 0) return 0;
    const int error = errno;
    // EINVAL is what rename(2) names for a file system that does not support the flag; systems and
    // kernels without the call report one of the others.
    if (error != EINVAL && error != ENOSYS && error != ENOTSUP) return error;
    struct stat status;
    if (calls.fstatat(folder, renaming.name, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    if (!S_ISDIR(status.st_mode)) return renaming.renameFile();
    // renameNoReplace reports a folder that would move into itself with the same error, and an
    // attempt here would change the dates of the destination's folder.
    if (isSameOrBelow(newFolder, identityOf(status))) return EINVAL;
    return renaming.renameFolder();
}

}  // namespace quillmoor::platform::posix
