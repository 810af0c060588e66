#include "quillmoor/platform/posix/fs/directory_entry_posix.h"

#include <errno.h>
#include <limits.h>

#include <algorithm>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// The longest path that one call accepts, without the NUL.
constexpr std::size_t kLongestPath = PATH_MAX - 1;

int openSearchable(int folder, const std::string& path, Descriptor& opened) {
    Descriptor found(systemCalls().openat(folder, path.c_str(), kSearchFolder | O_CLOEXEC, 0));
    if (!found) return errno;
    opened = std::move(found);
    return 0;
}

// How much of a long path the next call gets: whole components, and the slashes after them.
std::size_t nextStretch(std::string_view path) {
    if (path.size() <= kLongestPath) return path.size();
    const std::size_t slash = path.rfind('/', kLongestPath - 1);
    return slash == std::string_view::npos ? 0 : slash + 1;
}

}  // namespace

bool fitsOneCall(const std::string& path) {
    return path.size() <= kLongestPath && path.find('\0') == std::string::npos;
}

int openFolder(std::string_view path, Descriptor& folder) {
    if (path.empty() || path.find('\0') != std::string_view::npos) return ENOENT;
    Descriptor reached;
    int from = AT_FDCWD;
    while (!path.empty()) {
        const std::size_t length = nextStretch(path);
        if (length == 0) return ENAMETOOLONG;
        const int error = openSearchable(from, std::string(path.substr(0, length)), reached);
        if (error != 0) return error;
        from = reached.get();
        path.remove_prefix(length);
        // A leading slash would send the next call back to the root.
        path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
    }
    folder = std::move(reached);
    return 0;
}

int resolveParent(std::string_view path, DirectoryEntry& entry) {
    if (path.empty() || path.find('\0') != std::string_view::npos) return ENOENT;
    const std::size_t last = path.find_last_not_of('/');
    if (last == std::string_view::npos) {
        // The path has slashes only. The root has no name in a folder above it.
        entry.name = ".";
        return openFolder("/", entry.folder);
    }
    entry.asFolder = last + 1 < path.size();
    path = path.substr(0, last + 1);
    const std::size_t slash = path.rfind('/');
    const std::size_t start = slash == std::string_view::npos ? 0 : slash + 1;
    entry.name = path.substr(start);
    return openFolder(start == 0 ? "." : path.substr(0, start), entry.folder);
}

int openForReading(const std::string& path, Descriptor& folder) {
    constexpr int kFlags = kReadFolder & ~O_NOFOLLOW;
    DirectoryEntry entry;
    // A path that fits is opened in one call; a longer one needs the folder above it first.
    const char* name = path.c_str();
    if (!fitsOneCall(path)) {
        if (const int error = resolveParent(path, entry); error != 0) return error;
        name = entry.name.c_str();
    }
    const int from = entry.folder ? entry.folder.get() : AT_FDCWD;
    Descriptor opened(systemCalls().openat(from, name, kFlags, 0));
    if (!opened) return errno;
    folder = std::move(opened);
    return 0;
}

int statusOf(const DirectoryEntry& entry, FollowLink follow, struct stat& status) {
    // Not with the slash appended to the name: that would follow a link that must not be followed.
    const SystemCalls& calls = systemCalls();
    const int flags = follow == FollowLink::Yes ? 0 : AT_SYMLINK_NOFOLLOW;
    if (calls.fstatat(entry.folder.get(), entry.name.c_str(), &status, flags) != 0) return errno;
    if (!entry.asFolder || S_ISDIR(status.st_mode)) return 0;
    struct stat target;
    if (calls.fstatat(entry.folder.get(), entry.name.c_str(), &target, 0) != 0) return errno;
    return S_ISDIR(target.st_mode) ? 0 : ENOTDIR;
}

int statusAt(const std::string& path, struct stat& status) {
    if (fitsOneCall(path))
        return systemCalls().fstatat(AT_FDCWD, path.c_str(), &status, 0) == 0 ? 0 : errno;
    DirectoryEntry entry;
    const int error = resolveParent(path, entry);
    return error != 0 ? error : statusOf(entry, FollowLink::Yes, status);
}

// Climbs by ".." of open folders: the path could contain links, or change meanwhile.
bool isSameOrBelow(int folder, const Identity& ancestor) {
    const SystemCalls& calls = systemCalls();
    Descriptor above;
    Identity previous;
    for (int at = folder;; at = above.get()) {
        struct stat status;
        if (calls.fstat(at, &status) != 0) return false;
        const Identity here = identityOf(status);
        if (here == ancestor) return true;
        if (here == previous) return false;  // the root is its own parent
        previous = here;
        if (openSearchable(at, "..", above) != 0) return false;
    }
}

}  // namespace quillmoor::platform::posix
