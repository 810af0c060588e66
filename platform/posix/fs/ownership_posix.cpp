#include "quillmoor/platform/posix/fs/ownership_posix.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/directory_posix.h"
#include "quillmoor/platform/posix/fs/rename_posix.h"
#include "quillmoor/platform/posix/ground/names_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/ground/users_posix.h"

namespace quillmoor::platform::posix {
namespace {

bool liesInHome(int folder, const std::string& home) {
    Descriptor opened;
    struct stat status;
    // Every folder would be inside of a home that is the root folder.
    if (!home.starts_with('/') || home.find_first_not_of('/') == std::string::npos) return false;
    if (openFolder(home, opened) != 0) return false;
    if (systemCalls().fstat(opened.get(), &status) != 0) return false;
    return isSameOrBelow(folder, identityOf(status));
}

// EBUSY unless the open folder can be the one that was just made: a hostile user may have put
// another in its place, to have root change its owner or write into it.
int checkUntouched(int folder) {
    const SystemCalls& calls = systemCalls();
    struct stat status;
    if (calls.fstat(folder, &status) != 0) return errno;
    if (status.st_uid != ::geteuid()) return EBUSY;
    // Opened anew: the reader closes its descriptor, and this one is the caller's.
    Descriptor again(calls.openat(folder, ".", kReadFolder, 0));
    if (!again) return errno;
    DirectoryReader reader(std::move(again));
    return reader.next() != nullptr ? EBUSY : reader.error();
}

}  // namespace

std::optional<Owner> ownerOfNewItemsIn(int folder) {
    struct stat status;
    if (::getuid() != 0 || systemCalls().fstat(folder, &status) != 0) return std::nullopt;
    if (status.st_uid == 0) return std::nullopt;
    const std::optional<User> user = userWithId(status.st_uid);
    if (!user || !liesInHome(folder, user->home)) return std::nullopt;
    return Owner{status.st_uid, status.st_gid};
}

int makeFolder(int folder, const std::string& name, mode_t mode, Descriptor& made) {
    const SystemCalls& calls = systemCalls();
    if (calls.mkdirat(folder, name.c_str(), mode) != 0) return errno;
    Descriptor opened(calls.openat(folder, name.c_str(), kReadFolder, 0));
    int error = opened ? 0 : errno;
    // A hostile user gains nothing by a swap unless this process may do what that user may not.
    if (error == 0 && ::geteuid() == 0) error = checkUntouched(opened.get());
    // Whatever has the name by now: this removes no more than an empty folder.
    if (error != 0) calls.unlinkat(folder, name.c_str(), AT_REMOVEDIR);
    made = std::move(opened);
    return error;
}

int makeFolderFor(const Owner& owner, int folder, const std::string& name, mode_t mode,
                  Descriptor& made) {
    const SystemCalls& calls = systemCalls();
    const std::string temporary = temporaryName(name);
    Descriptor opened;
    int error = makeFolder(folder, temporary, mode, opened);
    if (error != 0) return error;
    if (calls.fchown(opened.get(), owner.user, owner.group) != 0) error = errno;
    if (error == 0) error = renameWithoutReplacing(folder, temporary, folder, name);
    if (error != 0) calls.unlinkat(folder, temporary.c_str(), AT_REMOVEDIR);
    made = std::move(opened);
    return error;
}

}  // namespace quillmoor::platform::posix
