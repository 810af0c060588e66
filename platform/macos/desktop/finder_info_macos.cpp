#include "quillmoor/platform/finder_info.h"

#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "quillmoor/platform/macos/desktop/carbon_calls_macos.h"
#include "quillmoor/platform/macos/desktop/finder_event_macos.h"
#include "quillmoor/platform/macos/desktop/system_reference_macos.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"

namespace quillmoor::platform {
namespace macos {
namespace {

constexpr std::int32_t kFailed = -1;
constexpr std::int32_t kNotFound = -43;  // the system's own status for a missing item
// Where the flags are in the Finder information, of a file as of a folder.
constexpr std::size_t kFlagsOffset = 8;

// 0, or the error number.
int statusOfPath(const std::string& path, struct stat& status) {
    posix::DirectoryEntry entry;
    const int error = posix::resolveParent(path, entry);
    return error != 0 ? error : posix::statusOf(entry, posix::FollowLink::No, status);
}

OptionalPath absolutePath(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) return std::nullopt;
    std::error_code error;
    const auto folder = std::filesystem::current_path(error);
    if (error) return std::nullopt;
    std::string absolute = (folder / path).native();
    while (absolute.size() > 1 && absolute.ends_with('/')) absolute.pop_back();
    return absolute;
}

// The item of a reference, provided that its path still leads there.
bool systemItemOf(const FileReference& reference, FSRef& item) {
    const std::size_t length = ::strnlen(reference.path.data(), reference.path.size());
    if (length == 0 || length == reference.path.size()) return false;
    const std::string path(reference.path.data(), length);
    struct stat status {};
    return statusOfPath(path, status) == 0 &&
           reference.device == static_cast<std::uint64_t>(status.st_dev) &&
           reference.item == status.st_ino && systemReferenceOf(path, item);
}

// The flags are in this processor's byte order there; the other fields are only carried.
CatalogInfo ownInfo(const FSCatalogInfo& system) {
    CatalogInfo info;
    info.nodeFlags = system.nodeFlags;
    std::copy_n(system.finderInfo, sizeof system.finderInfo, info.finderInfo.begin());
    std::uint16_t flags = 0;
    ::memcpy(&flags, system.finderInfo + kFlagsOffset, sizeof flags);
    info.setFinderFlags(flags);
    return info;
}
FSCatalogInfo systemInfo(const CatalogInfo& info) {
    FSCatalogInfo system{};
    std::copy_n(info.finderInfo.begin(), sizeof system.finderInfo, system.finderInfo);
    const std::uint16_t flags = info.finderFlags();
    ::memcpy(system.finderInfo + kFlagsOffset, &flags, sizeof flags);
    return system;
}

class MacFinderInfo : public FinderInfo {
  public:
    bool makeReference(const std::string& path, FileReference& reference) override {
        const OptionalPath absolute = absolutePath(path);
        FileReference made;
        struct stat status {};
        FSRef item{};
        if (!absolute || absolute->size() >= made.path.size() || statusOfPath(path, status) != 0 ||
            !systemReferenceOf(*absolute, item))
            return false;
        made.device = static_cast<std::uint64_t>(status.st_dev);
        made.item = status.st_ino;
        absolute->copy(made.path.data(), absolute->size());
        reference = made;
        return true;
    }

    OptionalPath pathOfReference(const FileReference& reference) override {
        FSRef item{};
        return systemItemOf(reference, item) ? pathOfSystemReference(item) : std::nullopt;
    }

    std::int32_t catalogInfo(const FileReference& reference, CatalogInfo& info) override {
        const auto getCatalogInfo = lateCall<GetCatalogInfo>(kGetCatalogInfo);
        if (getCatalogInfo == nullptr) return kFailed;
        FSRef item{};
        if (!systemItemOf(reference, item)) return kNotFound;
        FSCatalogInfo found{};
        const OSErr status = getCatalogInfo(&item, kFSCatInfoNodeFlags | kFSCatInfoFinderInfo,
                                            &found, nullptr, nullptr, nullptr);
        if (status == 0) info = ownInfo(found);
        return status;
    }

    std::int32_t setFinderInfo(const FileReference& reference, const CatalogInfo& info) override {
        const auto setCatalogInfo = lateCall<SetCatalogInfo>(kSetCatalogInfo);
        if (setCatalogInfo == nullptr) return kFailed;
        FSRef item{};
        if (!systemItemOf(reference, item)) return kNotFound;
        const FSCatalogInfo wanted = systemInfo(info);
        return setCatalogInfo(&item, kFSCatInfoFinderInfo, &wanted);
    }

    std::int32_t sendUpdateEvent(const FileReference& reference) override {
        FSRef item{};
        return systemItemOf(reference, item) ? sendFinderUpdate(item) : kNotFound;
    }
};

}  // namespace
}  // namespace macos

FinderInfo* nativeFinderInfo() {
    static auto* const finderInfo = new macos::MacFinderInfo;
    return finderInfo;
}

}  // namespace quillmoor::platform
