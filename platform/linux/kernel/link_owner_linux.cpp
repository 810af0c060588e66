#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {

// The open descriptor holds the link itself: what is checked is what is changed, also when another
// user replaces it in between.
int giveLink(int folder, const std::string& name, const Owner& owner) {
    const SystemCalls& calls = systemCalls();
    const Descriptor link(calls.openat(folder, name.c_str(), O_PATH | O_NOFOLLOW, 0));
    struct stat status;
    if (!link || calls.fstat(link.get(), &status) != 0) return errno;
    if (!S_ISLNK(status.st_mode) || status.st_uid != ::geteuid()) return ESTALE;
    // fchown(2) refuses a descriptor opened with O_PATH; fchownat with an empty name does not
    // (open(2)).
    const int changed = calls.fchownat(link.get(), "", owner.user, owner.group, AT_EMPTY_PATH);
    return changed == 0 ? 0 : errno;
}

}  // namespace quillmoor::platform::posix
