#include "quillmoor/platform/attributes.h"

#include <errno.h>
#include <sys/stat.h>

#include "quillmoor/platform/macos/ground/item_flags_macos.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/ground/error_text_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/ground/times_posix.h"

namespace quillmoor::platform {
namespace macos {
namespace {

using posix::DirectoryEntry;
using posix::FileVerb;
using posix::FollowLink;
using posix::systemCalls;
using std::chrono::system_clock;

constexpr mode_t kPermissions = 07777;
constexpr std::uint32_t kImmutable = UF_IMMUTABLE | SF_IMMUTABLE;

// Finds the item that a call is to change; returns 0 or the error number. Its existence is checked
// first, so that a dangling link is ENOENT for every call.
int find(const std::string& path, DirectoryEntry& entry, FollowLink follow) {
    struct stat status {};
    const int error = posix::resolveParent(path, entry);
    return error != 0 ? error : posix::statusOf(entry, follow, status);
}

int changeImmutable(const std::string& path, bool immutable) {
    DirectoryEntry entry;
    ItemFlags item;
    const int error = find(path, entry, FollowLink::No);
    if (error != 0) return error;
    const char* const name = entry.name.c_str();
    if (readItemFlags(entry.folder.get(), name, &item) != 0) return errno;
    // The system's own flag locks an item as well, and root may remove it.
    const std::uint32_t wanted = immutable ? item.flags | UF_IMMUTABLE : item.flags & ~kImmutable;
    if (((item.flags & kImmutable) != 0) == immutable) return 0;
    return writeItemFlags(entry.folder.get(), name, wanted) == 0 ? 0 : errno;
}

int changeMode(const std::string& path, unsigned permissions) {
    DirectoryEntry entry;
    const int error = find(path, entry, FollowLink::Yes);
    if (error != 0) return error;
    const auto mode = static_cast<mode_t>(permissions & kPermissions);
    const int folder = entry.folder.get();
    return systemCalls().fchmodat(folder, entry.name.c_str(), mode, 0) == 0 ? 0 : errno;
}

int changeModificationDate(const std::string& path, system_clock::time_point date) {
    DirectoryEntry entry;
    const int error = find(path, entry, FollowLink::Yes);
    if (error != 0) return error;
    const timespec times[2] = {{0, UTIME_OMIT}, posix::timeOf(date)};
    const int folder = entry.folder.get();
    return systemCalls().utimensat(folder, entry.name.c_str(), times, 0) == 0 ? 0 : errno;
}

int changeCreationDate(const std::string& path, system_clock::time_point date) {
    DirectoryEntry entry;
    const int error = find(path, entry, FollowLink::Yes);
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
        return posix::fileOutcome(FileVerb::Changed, path, changeMode(path, permissions));
    }

    Outcome setModificationDate(const std::string& path, system_clock::time_point date) override {
        return posix::fileOutcome(FileVerb::Changed, path, changeModificationDate(path, date));
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
