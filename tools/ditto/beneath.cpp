#include "tools/ditto/beneath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/posix/fs/directory_posix.h"
#include "quillmoor/platform/posix/fs/scoped_directory_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tools/ditto/entry_tree.h"
#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

using platform::posix::DirectoryReader;
using platform::posix::systemCalls;

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// One on the way down.
struct Step {
    std::string name;
    Identity parent;
};

// Opens a folder that is to be emptied, and sees to it that this is possible.
Descriptor openToEmpty(int parent, const char* name) {
    Descriptor folder(systemCalls().openat(parent, name, kFolderFlags, 0));
    if (!folder && errno == EACCES &&
        systemCalls().fchmodat(parent, name, S_IRWXU, AT_SYMLINK_NOFOLLOW) == 0)
        folder = Descriptor(systemCalls().openat(parent, name, kFolderFlags, 0));
    if (folder) systemCalls().fchmod(folder.get(), S_IRWXU);
    return folder;
}

// What the folder holds, from its beginning; the folder itself stays open.
DirectoryReader readerOf(int folder, std::string_view name = ".") {
    Descriptor opened(systemCalls().openat(folder, ".", kFolderFlags, 0));
    if (!opened) failWithErrno(name, "listed");
    DirectoryReader reader(std::move(opened));
    if (reader.error() != 0) failWithError(name, "listed", reader.error());
    return reader;
}

// Removes what is not a folder; returns the first folder found, or "".
std::string removeItems(int folder) {
    DirectoryReader reader = readerOf(folder);
    while (const dirent* item = reader.next()) {
        if (systemCalls().unlinkat(folder, item->d_name, 0) == 0) continue;
        if (errno == EISDIR) return item->d_name;
        failWithErrno(item->d_name, "removed");
    }
    if (reader.error() != 0) failWithError(".", "listed", reader.error());
    return {};
}

}  // namespace

std::string parentPathOf(std::string_view path) {
    std::string parent = deleteLastPathComponent(path);
    return parent.empty() ? std::string(1, '.') : parent;
}

Descriptor openFolderBeneath(int root, std::string_view path) {
    Descriptor folder;
    const int error = platform::posix::openFolderBeneath(root, path, folder);
    if (error != 0) failWithError(path, "opened", error);
    return folder;
}

Identity identityOf(int item, std::string_view name) {
    struct stat info = {};
    if (systemCalls().fstat(item, &info) != 0) failWithErrno(name, "examined");
    return {info.st_dev, info.st_ino};
}

bool isItem(int folder, const std::string& name, int item) {
    struct stat info = {};
    if (systemCalls().fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0)
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

std::vector<std::string> namesIn(int folder, std::string_view name) {
    DirectoryReader reader = readerOf(folder, name);
    std::vector<std::string> names;
    while (const dirent* item = reader.next()) names.emplace_back(item->d_name);
    if (reader.error() != 0) failWithError(name, "listed", reader.error());
    return names;
}

bool isEmpty(int folder) {
    DirectoryReader reader = readerOf(folder);
    const bool empty = reader.next() == nullptr;
    if (reader.error() != 0) failWithError(".", "listed", reader.error());
    return empty;
}

void removeContents(int folder) {
    // However deep the tree is, the way back up is "..".
    std::vector<Step> way;
    Descriptor at(systemCalls().openat(folder, ".", kFolderFlags, 0));
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
        at = Descriptor(systemCalls().openat(at.get(), "..", kFolderFlags, 0));
        // A folder that was moved meanwhile leads somewhere else.
        if (at && identityOf(at.get()) != last.parent) failWithError(last.name, "removed", EBUSY);
        if (!at || systemCalls().unlinkat(at.get(), last.name.c_str(), AT_REMOVEDIR) != 0)
            failWithErrno(last.name, "removed");
        way.pop_back();
    }
}

}  // namespace quillmoor::ditto
