#include "quillmoor/platform/attributes.h"

#include <errno.h>
#include <sys/stat.h>

#include "quillmoor/platform/macos/ground/item_flags_macos.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/item_attributes_posix.h"
#include "quillmoor/platform/posix/ground/error_text_posix.h"
#include "quillmoor/platform/posix/ground/times_posix.h"

namespace quillmoor::platform {
namespace macos {
namespace {

using posix::DirectoryEntry;
using posix::FileVerb;
using posix::FollowLink;
using std::chrono::system_clock;

constexpr std::uint32_t kImmutable = UF_IMMUTABLE | SF_IMMUTABLE;

int changeImmutable(const std::string& path, bool immutable) {
    DirectoryEntry entry;
    ItemFlags item;
    const int error = posix::findItem(path, FollowLink::No, entry);
    if (error != 0) return error;
    const char* const name = entry.name.c_str();
    if (readItemFlags(entry.folder.get(), name, &item) != 0) return errno;
    // The system's own flag locks an item as well, and root may remove it.
    const std::uint32_t wanted = immutable ? item.flags | UF_IMMUTABLE : item.flags & ~kImmutable;
    if (((item.flags & kImmutable) != 0) == immutable) return 0;
    return writeItemFlags(entry.folder.get(), name, wanted) == 0 ? 0 : errno;
}

int changeCreationDate(const std::string& path, system_clock::time_point date) {
    DirectoryEntry entry;
    const int error = posix::findItem(path, FollowLink::Yes, entry);
    if (error != 0) return error;
    const int folder = entry.folder.get();
    return writeCreationDate(folder, entry.name.c_str(), posix::timeOf(date)) == 0 ? 0 : errno;
}

class MacAttributes : public Attributes {
  public:
    std::optional<ItemAttributes> attributesOfItem(const std::string& path) override {
        DirectoryEntry entry;
        struct stat status {};
        ItemFlags flags;
        if (posix::resolveParent(path, entry) != 0 ||
            posix::statusOf(entry, FollowLink::No, status) != 0 ||
            readItemFlags(entry.folder.get(), entry.name.c_str(), &flags) != 0)
            return std::nullopt;
        ItemAttributes item;
        item.size = static_cast<std::uint64_t>(status.st_size);
        item.modificationDate = posix::dateOf(flags.modified);
        item.isImmutable = (flags.flags & kImmutable) != 0;
        return item;
    }

    Outcome setImmutable(const std::string& path, bool immutable) override {
        return posix::fileOutcome(FileVerb::Changed, path, changeImmutable(path, immutable));
    }

    Outcome setPosixPermissions(const std::string& path, unsigned permissions) override {
        return posix::fileOutcome(FileVerb::Changed, path, posix::changeMode(path, permissions));
    }

    Outcome setModificationDate(const std::string& path, system_clock::time_point date) override {
        return posix::fileOutcome(FileVerb::Changed, path,
                                  posix::changeModificationDate(path, date));
    }

    Outcome setCreationDate(const std::string& path, system_clock::time_point date) override {
        return posix::fileOutcome(FileVerb::Changed, path, changeCreationDate(path, date));
    }
};

}  // namespace
}  // namespace macos

Attributes* nativeAttributes() {
    static auto* const attributes = new macos::MacAttributes;
    return attributes;
}

}  // namespace quillmoor::platform
