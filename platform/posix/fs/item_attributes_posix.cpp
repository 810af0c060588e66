#include "quillmoor/platform/posix/fs/item_attributes_posix.h"

#include <sys/stat.h>

#include <cerrno>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/ground/times_posix.h"

namespace quillmoor::platform::posix {

// The item's existence is checked here, so that a dangling link is ENOENT for every call.
int findItem(const std::string& path, FollowLink follow, DirectoryEntry& entry) {
    struct stat status {};
    const int error = resolveParent(path, entry);
    return error != 0 ? error : statusOf(entry, follow, status);
}

int changeMode(const std::string& path, unsigned permissions) {
    constexpr mode_t kPermissions = 07777;
    DirectoryEntry entry;
    const int error = findItem(path, FollowLink::Yes, entry);
    if (error != 0) return error;
    const auto mode = static_cast<mode_t>(permissions & kPermissions);
    const int folder = entry.folder.get();
    return systemCalls().fchmodat(folder, entry.name.c_str(), mode, 0) == 0 ? 0 : errno;
}

int changeModificationDate(const std::string& path, std::chrono::system_clock::time_point date) {
    DirectoryEntry entry;
    const int error = findItem(path, FollowLink::Yes, entry);
    if (error != 0) return error;
    const timespec times[2] = {{0, UTIME_OMIT}, timeOf(date)};
    const int folder = entry.folder.get();
    return systemCalls().utimensat(folder, entry.name.c_str(), times, 0) == 0 ? 0 : errno;
}

}  // namespace quillmoor::platform::posix
