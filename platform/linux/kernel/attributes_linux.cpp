#include "quillmoor/platform/attributes.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/linux/kernel/immutable_flag_linux.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/ground/error_text_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/ground/times_posix.h"

namespace quillmoor::platform {
namespace linux_ {
namespace {

using posix::DirectoryEntry;
using posix::FileVerb;
using posix::FollowLink;
using posix::systemCalls;
using std::chrono::system_clock;

constexpr mode_t kPermissions = 07777;

// Finds the item that a call is to change; returns 0 or the error number. Its existence is checked
// first, so that a dangling link is ENOENT for every call.
int find(const std::string& path, DirectoryEntry& entry, FollowLink follow) {
    struct stat status;
    const int error = posix::resolveParent(path, entry);
    return error != 0 ? error : posix::statusOf(entry, follow, status);
}

int changeMode(const std::string& path, unsigned permissions) {
    DirectoryEntry entry;
    const int error = find(path, entry, FollowLink::Yes);
    if (error != 0) return error;
    const mode_t mode = permissions & kPermissions;
    const int folder = entry.folder.get();
    return systemCalls().fchmodat(folder, entry.name.c_str(), mode, 0) == 0 ? 0 : errno;
}

int changeDate(const std::string& path, system_clock::time_point date) {
    DirectoryEntry entry;
    const int error = find(path, entry, FollowLink::Yes);
    if (error != 0) return error;
    const timespec times[2] = {{0, UTIME_OMIT}, posix::timeOf(date)};
    const int folder = entry.folder.get();
    return systemCalls().utimensat(folder, entry.name.c_str(), times, 0) == 0 ? 0 : errno;
}

class LinuxAttributes : public Attributes {
  public:
    std::optional<ItemAttributes> attributesOfItem(const std::string& path) override {
        DirectoryEntry entry;
        struct stat status;
        ItemAttributes item;
        if (posix::resolveParent(path, entry) != 0 ||
            posix::statusOf(entry, FollowLink::No, status) != 0 ||
            linuxCalls().isImmutable(entry.folder.get(), entry.name.c_str(), &item.isImmutable))
            return std::nullopt;
        item.size = static_cast<std::uint64_t>(status.st_size);
        item.modificationDate = posix::dateOf(status.st_mtim);
        return item;
    }

    Outcome setImmutable(const std::string& path, bool immutable) override {
        DirectoryEntry entry;
        int error = posix::resolveParent(path, entry);
        if (error == 0) error = linux_::setImmutable(entry, immutable);
        return posix::fileOutcome(FileVerb::Changed, path, error);
    }

    Outcome setPosixPermissions(const std::string& path, unsigned permissions) override {
        return posix::fileOutcome(FileVerb::Changed, path, changeMode(path, permissions));
    }

    Outcome setModificationDate(const std::string& path, system_clock::time_point date) override {
        return posix::fileOutcome(FileVerb::Changed, path, changeDate(path, date));
    }

    // The kernel sets this date itself and has no call for it.
    Outcome setCreationDate(const std::string& path, system_clock::time_point) override {
        DirectoryEntry entry;
        const int error = find(path, entry, FollowLink::Yes);
        return posix::fileOutcome(FileVerb::Changed, path, error != 0 ? error : EOPNOTSUPP);
    }
};

}  // namespace
}  // namespace linux_

Attributes* nativeAttributes() {
    static auto* const attributes = new linux_::LinuxAttributes;
    return attributes;
}

}  // namespace quillmoor::platform
