#include "tools/ditto/folder_access.h"

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
using platform::posix::kReadFolder;
using platform::posix::systemCalls;

// What the folder holds, from its beginning; the folder itself stays open.
DirectoryReader readerOf(int folder, std::string_view name = ".") {
    // Opened again: a copy of the descriptor would share its position in the listing.
    Descriptor opened(systemCalls().openat(folder, ".", kReadFolder, 0));
    if (!opened) failWithErrno(name, "listed");
    DirectoryReader reader(std::move(opened));
    if (reader.error() != 0) failWithError(name, "listed", reader.error());
    return reader;
}

}  // namespace

std::string parentPathOf(std::string_view path) {
    // An empty path is not the current folder for a system call.
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
    return platform::posix::identityOf(info);
}

// By device and number. What cannot be examined is an error, and not another item.
bool isItem(int folder, const std::string& name, int item) {
    struct stat info = {};
    if (systemCalls().fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0)
        return platform::posix::identityOf(info) == identityOf(item, name);
    if (errno != ENOENT) failWithErrno(name, "examined");
    return false;
}

// The old folder is closed only when the new one is open, which may be reached from it.
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

}  // namespace quillmoor::ditto
