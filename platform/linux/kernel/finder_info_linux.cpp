#include "quillmoor/platform/finder_info.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>

#include "quillmoor/platform/linux/ground/absolute_path_linux.h"
#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform {
namespace linux_ {
namespace {

using posix::Descriptor;
using posix::systemCalls;

// On HFS+ the file system stores the Finder information; elsewhere it is an attribute that other
// software, such as file servers for Macs, reads and writes as well.
constexpr char kOnHfsPlus[] = "osx.com.apple.FinderInfo";
constexpr char kElsewhere[] = "user.com.apple.FinderInfo";

// 0, or the error number.
int statusOfPath(const std::string& path, struct stat& status) {
    posix::DirectoryEntry entry;
    const int error = posix::resolveParent(path, entry);
    return error != 0 ? error : posix::statusOf(entry, posix::FollowLink::No, status);
}

OptionalPath pathIn(const FileReference& reference) {
    const std::size_t length = ::strnlen(reference.path.data(), reference.path.size());
    if (length == 0 || length == reference.path.size()) return std::nullopt;
    return std::string(reference.path.data(), length);
}

// True when the status is that of the item that was referred to, whatever its path names by now.
bool names(const FileReference& reference, const struct stat& status) {
    return reference.device == status.st_dev && reference.item == status.st_ino;
}

// The item of a reference, open, with the name of its attribute.
struct OpenItem {
    Descriptor file;
    struct stat status {};
    const char* attribute = kElsewhere;
};

int openItem(const FileReference& reference, OpenItem& item) {
    const OptionalPath path = pathIn(reference);
    posix::DirectoryEntry entry;
    int error = path ? posix::resolveParent(*path, entry) : ENOENT;
    if (error == 0) error = posix::statusOf(entry, posix::FollowLink::No, item.status);
    if (error != 0) return error;
    // Opening a device or a pipe may have effects; neither these nor links have user attributes.
    if (!S_ISREG(item.status.st_mode) && !S_ISDIR(item.status.st_mode)) return EOPNOTSUPP;
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    item.file = Descriptor(systemCalls().openat(entry.folder.get(), entry.name.c_str(), flags, 0));
    bool isHfsPlus = false;
    if (!item.file || systemCalls().fstat(item.file.get(), &item.status) != 0 ||
        linuxCalls().isHfsPlus(item.file.get(), &isHfsPlus) != 0)
        return errno;
    if (isHfsPlus) item.attribute = kOnHfsPlus;
    // The path may name another item by now, which must not get the information.
    return names(reference, item.status) ? 0 : ESTALE;
}

std::uint16_t nodeFlagsOf(const struct stat& status) {
    return S_ISDIR(status.st_mode) ? CatalogInfo::kNodeIsDirectory : std::uint16_t{0};
}

class LinuxFinderInfo : public FinderInfo {
  public:
    bool makeReference(const std::string& path, FileReference& reference) override {
        // The path is kept besides the item's number: opening an item by a handle needs a
        // capability that an ordinary program lacks (open_by_handle_at(2)).
        const OptionalPath absolute = absolutePath(path);
        FileReference made;
        struct stat status;
        if (!absolute || absolute->size() >= made.path.size() || statusOfPath(path, status) != 0)
            return false;
        made.device = status.st_dev;
        made.item = status.st_ino;
        absolute->copy(made.path.data(), absolute->size());
        reference = made;
        return true;
    }

    OptionalPath pathOfReference(const FileReference& reference) override {
        OptionalPath path = pathIn(reference);
        struct stat status;
        if (!path || statusOfPath(*path, status) != 0 || !names(reference, status))
            return std::nullopt;
        return path;
    }

    std::int32_t catalogInfo(const FileReference& reference, CatalogInfo& info) override {
        OpenItem item;
        CatalogInfo found;
        const int error = openItem(reference, item);
        if (error != 0) return error;
        // A shorter value is completed with zeroes; a longer one is not Finder information: ERANGE.
        const ssize_t size = systemCalls().fgetxattr(
            item.file.get(), item.attribute, found.finderInfo.data(), found.finderInfo.size());
        // Without the attribute the information is all zero.
        if (size < 0 && errno != ENODATA) return errno;
        found.nodeFlags = nodeFlagsOf(item.status);
        info = found;
        return 0;
    }

    std::int32_t setFinderInfo(const FileReference& reference, const CatalogInfo& info) override {
        OpenItem item;
        const int error = openItem(reference, item);
        if (error != 0) return error;
        const int written = systemCalls().fsetxattr(item.file.get(), item.attribute,
                                                    info.finderInfo.data(), info.finderInfo.size());
        return written == 0 ? 0 : errno;
    }

    // File managers watch the folders that they show.
    std::int32_t sendUpdateEvent(const FileReference&) override { return 0; }
};

}  // namespace
}  // namespace linux_

FinderInfo* nativeFinderInfo() {
    static auto* const finderInfo = new linux_::LinuxFinderInfo;
    return finderInfo;
}

}  // namespace quillmoor::platform
