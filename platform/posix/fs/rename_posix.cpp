#include "quillmoor/platform/posix/fs/rename_posix.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// One renaming, its two names.
struct Renaming {
    int folder;
    const char* name;
    int newFolder;
    const char* newName;

    int rename() const {
        return systemCalls().renameat(folder, name, newFolder, newName) == 0 ? 0 : errno;
    }

    // An empty folder takes the name first, and only an empty folder can then be replaced.
    int renameFolder() const {
        const SystemCalls& calls = systemCalls();
        if (calls.mkdirat(newFolder, newName, S_IRWXU) != 0) return errno;
        const int error = rename();
        if (error != 0) calls.unlinkat(newFolder, newName, AT_REMOVEDIR);
        return error;
    }

    // A second link takes the name, then the first one goes.
    int renameFile() const {
        const SystemCalls& calls = systemCalls();
        if (calls.linkat(folder, name, newFolder, newName, 0) != 0) {
            const bool final = errno == EEXIST || errno == EXDEV || errno == ENOENT;
            return final ? errno : renameFileWithoutLinks();
        }
        if (calls.unlinkat(folder, name, 0) == 0) return 0;
        const int error = errno;
        calls.unlinkat(newFolder, newName, 0);
        return error;
    }

    // Hard links are unknown here, or forbidden. An item that gets the name between the two calls
    // is replaced: nothing better is to be had from such a file system.
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
    if (error != EINVAL && error != ENOSYS && error != ENOTSUP) return error;
    struct stat status;
    if (calls.fstatat(folder, renaming.name, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    if (!S_ISDIR(status.st_mode)) return renaming.renameFile();
    // The same error tells this, and an attempt would change the dates of the folder.
    if (isSameOrBelow(newFolder, identityOf(status))) return EINVAL;
    return renaming.renameFolder();
}

}  // namespace quillmoor::platform::posix
