#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {

// O_SYMLINK opens the link itself: what is checked is what is changed, also when another user
// replaces it in between. Another item, such as a pipe, must not make the call wait.
int giveLink(int folder, const std::string& name, const Owner& owner) {
    const SystemCalls& calls = systemCalls();
    const Descriptor link(
        calls.openat(folder, name.c_str(), O_RDONLY | O_SYMLINK | O_NONBLOCK | O_NOCTTY, 0));
    struct stat status {};
    if (!link || calls.fstat(link.get(), &status) != 0) return errno;
    if (!S_ISLNK(status.st_mode) || status.st_uid != ::geteuid()) return ESTALE;
    return calls.fchown(link.get(), owner.user, owner.group) == 0 ? 0 : errno;
}

}  // namespace quillmoor::platform::posix
