#include "tools/ditto/beneath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "base/paths.h"
#include "tools/ditto/entry_tree.h"
#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// In one call, where the kernel allows it.
Descriptor openAtOnce(int root, const std::string& path) {
    struct open_how how = {};
    how.flags = kFolderFlags;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    return Descriptor(
        static_cast<int>(::syscall(SYS_openat2, root, path.c_str(), &how, sizeof how)));
}

Descriptor openStepByStep(int root, std::string_view path) {
    Descriptor folder(::openat(root, ".", kFolderFlags));
    std::string_view component;
    for (PathComponents components(path); folder && components.next(component);)
        folder = Descriptor(::openat(folder.get(), std::string(component).c_str(), kFolderFlags));
    return folder;
}

// One on the way down.
struct Step {
    std::string name;
    Identity parent;
};

// Opens a folder that is to be emptied, and sees to it that this is possible.
Descriptor openToEmpty(int parent, const char* name) {
    Descriptor folder(::openat(parent, name, kFolderFlags));
    if (!folder && errno == EACCES && ::fchmodat(parent, name, S_IRWXU, AT_SYMLINK_NOFOLLOW) == 0)
        folder = Descriptor(::openat(parent, name, kFolderFlags));
    if (folder) ::fchmod(folder.get(), S_IRWXU);
    return folder;
}

// Removes what is no folder; answers the first folder found, or "".
std::string removeItems(int folder) {
    const FolderStream stream = streamOf(folder);
    if (!stream) failWithErrno(".", "listed");
    for (errno = 0; const dirent* item = ::readdir(stream.get()); errno = 0) {
        if (isDots(item->d_name) || ::unlinkat(folder, item->d_name, 0) == 0) continue;
        if (errno == EISDIR) return item->d_name;
        failWithErrno(item->d_name, "removed");
    }
    if (errno != 0) failWithErrno(".", "listed");
    return {};
}

}  // namespace

std::string parentPathOf(std::string_view path) {
    std::string parent = deleteLastPathComponent(path);
    return parent.empty() ? std::string(1, '.') : parent;
}

Descriptor openFolderBeneath(int root, std::string_view path) {
    Descriptor folder;
    if (!path.empty()) folder = openAtOnce(root, std::string(path));
    // Old kernels lack the call, and some sandboxes forbid it.
    if (!folder && (path.empty() || errno == ENOSYS || errno == EPERM || errno == EAGAIN))
        folder = openStepByStep(root, path);
    if (!folder) failWithErrno(path, "opened");
    return folder;
}

FolderStream streamOf(int folder) {
    const int copy = ::openat(folder, ".", kFolderFlags);
    FolderStream stream(copy < 0 ? nullptr : ::fdopendir(copy));
    if (!stream && copy >= 0) ::close(copy);
    return stream;
}

bool isDots(std::string_view name) {
    return name == "." || name == "..";
}

Identity identityOf(int item, std::string_view name) {
    struct stat info = {};
    if (::fstat(item, &info) != 0) failWithErrno(name, "examined");
    return {info.st_dev, info.st_ino};
}

bool isItem(int folder, const std::string& name, int item) {
    struct stat info = {};
    if (::fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0)
        return Identity(info.st_dev, info.st_ino) == identityOf(item, name);
    if (errno != ENOENT) failWithErrno(name, "examined");
    return false;
}

int FolderCache::open(std::string_view path) {
    if (path.empty()) return root_;
    if (folder_ && path == path_) return folder_.get();
    const bool inside = folder_ && isInside(path, path_);
    const std::string_view rest = inside ? path.substr(path_.size() + 1) : path;
    Descriptor next = openFolderBeneath(inside ? folder_.get() : root_, rest);
    folder_ = std::move(next);
    path_ = path;
    return folder_.get();
}

bool isEmpty(int folder) {
    const FolderStream stream = streamOf(folder);
    if (!stream) failWithErrno(".", "listed");
    errno = 0;
    while (const dirent* entry = ::readdir(stream.get()))
        if (!isDots(entry->d_name)) return false;
    if (errno != 0) failWithErrno(".", "listed");
    return true;
}

void removeContents(int folder) {
    // However deep the tree is, the way back up is "..".
    std::vector<Step> way;
    Descriptor at(::openat(folder, ".", kFolderFlags));
    if (!at) failWithErrno(".", "opened");
    for (;;) {
        std::string inner = removeItems(at.get());
        if (!inner.empty()) {
            Descriptor next = openToEmpty(at.get(), inner.c_str());
            if (!next) failWithErrno(inner, "opened");
            way.push_back({std::move(inner), identityOf(at.get())});
            at = std::move(next);
            continue;
        }
        if (way.empty()) return;
        const Step& last = way.back();
        at = Descriptor(::openat(at.get(), "..", kFolderFlags));
        // A folder that was moved meanwhile leads somewhere else.
        if (at && identityOf(at.get()) != last.parent) failWithError(last.name, "removed", EBUSY);
        if (!at || ::unlinkat(at.get(), last.name.c_str(), AT_REMOVEDIR) != 0)
            failWithErrno(last.name, "removed");
        way.pop_back();
    }
}

}  // namespace quillmoor::ditto
