#include "quillmoor/platform/attributes.h"

#include <errno.h>
#include <sys/stat.h>

#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/linux/kernel/immutable_flag_linux.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/item_attributes_posix.h"
#include "quillmoor/platform/posix/ground/error_text_posix.h"
#include "quillmoor/platform/posix/ground/times_posix.h"

namespace quillmoor::platform {
namespace linux_ {
namespace {

using posix::DirectoryEntry;
using posix::FileVerb;
using posix::FollowLink;
using std::chrono::system_clock;

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
        return posix::fileOutcome(FileVerb::Changed, path, posix::changeMode(path, permissions));
    }

    Outcome setModificationDate(const std::string& path, system_clock::time_point date) override {
        return posix::fileOutcome(FileVerb::Changed, path,
                                  posix::changeModificationDate(path, date));
    }

    // The kernel sets this date itself and has no call for it.
    Outcome setCreationDate(const std::string& path, system_clock::time_point) override {
        DirectoryEntry entry;
        const int error = posix::findItem(path, FollowLink::Yes, entry);
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
