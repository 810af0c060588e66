#include "quillmoor/platform/linux/authorization/channel/rendezvous_folder_linux.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <string_view>
#include <utility>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/posix/fs/directory_posix.h"
#include "quillmoor/platform/posix/ground/standard_streams_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using posix::Descriptor;

constexpr std::string_view kPrefix = "quillmoor-";
constexpr std::string_view kVariable = "XXXXXX";
constexpr char kSocketName[] = "rights";

Descriptor openFolder(int parent, const char* folder) {
    return posix::aboveStandardStreams(Descriptor(
        posix::systemCalls().openat(parent, folder, O_RDONLY | O_DIRECTORY | O_NOFOLLOW, 0)));
}

// A lock ends with its process in every case; a process id in a file could be another's by now.
bool lock(const Descriptor& folder) {
    return folder && posix::systemCalls().flock(folder.get(), LOCK_EX | LOCK_NB) == 0;
}

// The mode of an item of this user's that is not a mount point; 0 for all others. Another user may
// have mounted a FUSE file system there to make this process wait: AT_STATX_DONT_SYNC sends it no
// request.
mode_t modeOfOwn(int parent, const char* name) {
    struct statx status {};
    constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
    if (linuxCalls().statx(parent, name, kFlags, STATX_BASIC_STATS, &status) != 0 ||
        (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0 || status.stx_uid != ::geteuid())
        return 0;
    return status.stx_mode;
}

bool isClosedToOthers(mode_t folder) {
    return S_ISDIR(folder) && (folder & (S_IRWXU | S_IRWXG | S_IRWXO)) == S_IRWXU;
}

bool hasSocket(const Descriptor& folder) {
    return S_ISSOCK(modeOfOwn(folder.get(), kSocketName));
}

// True for a new folder, which another process may be about to lock and give its socket.
bool mayBeInTheMaking(const Descriptor& folder) {
    constexpr time_t kSeconds = 600;
    struct stat status {};
    return !hasSocket(folder) && (posix::systemCalls().fstat(folder.get(), &status) != 0 ||
                                  ::time(nullptr) - status.st_mtime < kSeconds);
}

void removeIfAbandoned(int place, const char* name) {
    if (!isClosedToOthers(modeOfOwn(place, name))) return;
    const Descriptor folder = openFolder(place, name);
    // Before the lock, which a process that has just made the folder must find free; and again with
    // it, since another may have removed the folder meanwhile.
    if (!folder || mayBeInTheMaking(folder)) return;
    // The lock is held until the folder is removed, so that no two processes clean it up at once.
    if (!lock(folder) || mayBeInTheMaking(folder)) return;
    if (hasSocket(folder)) posix::systemCalls().unlinkat(folder.get(), kSocketName, 0);
    posix::systemCalls().unlinkat(place, name, AT_REMOVEDIR);
}

// All names are collected before the first folder is removed: what readdir(3) returns after that is
// unspecified.
StringList namesOfFolders(posix::DirectoryReader& place) {
    StringList names;
    while (const dirent* const entry = place.next()) {
        const std::string_view name = entry->d_name;
        if (name.starts_with(kPrefix) && name.size() == kPrefix.size() + kVariable.size())
            names.emplace_back(name);
    }
    return names;
}

}  // namespace

RendezvousFolder::RendezvousFolder(std::string path, Descriptor locked)
    : path_(std::move(path)), locked_(std::move(locked)) {}

RendezvousFolder::RendezvousFolder(RendezvousFolder&& other) noexcept
    : path_(std::exchange(other.path_, {})), locked_(std::move(other.locked_)) {}

RendezvousFolder& RendezvousFolder::operator=(RendezvousFolder&& other) noexcept {
    std::swap(path_, other.path_);
    std::swap(locked_, other.locked_);
    return *this;
}

RendezvousFolder::~RendezvousFolder() {
    if (path_.empty()) return;
    // By the open folder, without a path to allocate: memory may have run out.
    posix::systemCalls().unlinkat(locked_.get(), kSocketName, 0);
    posix::systemCalls().unlinkat(AT_FDCWD, path_.c_str(), AT_REMOVEDIR);
}

std::optional<RendezvousFolder> RendezvousFolder::make(const std::string& place) {
    std::string path = place + '/';
    path.append(kPrefix).append(kVariable);
    // It gives the folder the mode 0700 (mkdtemp(3)), so that no other user can connect.
    if (posix::systemCalls().mkdtemp(path.data()) == nullptr) return std::nullopt;
    Descriptor locked = openFolder(AT_FDCWD, path.c_str());
    if (!lock(locked)) {
        posix::systemCalls().unlinkat(AT_FDCWD, path.c_str(), AT_REMOVEDIR);
        return std::nullopt;
    }
    return RendezvousFolder(std::move(path), std::move(locked));
}

std::string RendezvousFolder::socketPath() const {
    return path_ + '/' + kSocketName;
}

void removeAbandonedFolders(const std::string& place) {
    posix::DirectoryReader reader(Descriptor(
        posix::systemCalls().openat(AT_FDCWD, place.c_str(), O_RDONLY | O_DIRECTORY, 0)));
    for (const std::string& name : namesOfFolders(reader))
        removeIfAbandoned(reader.folder(), name.c_str());
}

}  // namespace quillmoor::platform::linux_::authorization
