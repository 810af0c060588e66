#include "tools/ditto/source_tree.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/interruption.h"
#include "tools/ditto/text.h"

namespace quillmoor::ditto {
namespace {

using platform::posix::systemCalls;

bool isDots(std::string_view name) {
    return name == "." || name == "..";
}

// The real name of the last component, which "." and ".." do not show.
std::string ownName(const std::string& source) {
    std::string name = lastPathComponent(source);
    if (isDots(name)) {
        const std::unique_ptr<char, decltype(&std::free)> real(
            systemCalls().realpath(source.c_str(), nullptr), &std::free);
        if (!real) failWithErrno(source, "examined");
        name = lastPathComponent(real.get());
    }
    return name == "/" ? std::string() : name;
}

// Everything else ends the packing: an archive without it would look complete.
SourceItem::Kind kindOf(const struct stat& info, const std::string& path) {
    if (S_ISDIR(info.st_mode)) return SourceItem::Kind::Folder;
    if (S_ISLNK(info.st_mode)) return SourceItem::Kind::Link;
    if (S_ISREG(info.st_mode)) return SourceItem::Kind::File;
    throw Failure(quoted(path) + " is neither a file nor a folder nor a link");
}

}  // namespace

SourceTree::SourceTree(const std::string& source, ArchiveLocation archive)
    : archive_(std::move(archive)) {
    struct stat info = {};
    // Followed: the source itself may be a link.
    if (systemCalls().fstatat(AT_FDCWD, source.c_str(), &info, 0) != 0)
        failWithErrno(source, "opened");
    name_ = ownName(source);
    isFolder_ = S_ISDIR(info.st_mode);
    const std::string folder = isFolder_ ? source : parentPathOf(source);
    // To pack a single file, its folder need not be readable.
    const int flags = isFolder_ ? O_RDONLY : O_PATH;
    root_ = Descriptor(systemCalls().openat(AT_FDCWD, folder.c_str(), flags | O_DIRECTORY, 0));
    if (!root_) failWithErrno(folder, "opened");
    if (isFolder_) {
        list("");
    } else if (!S_ISREG(info.st_mode)) {
        throw Failure(quoted(source) + " is neither a file nor a folder");
    } else if (name_ == archive_.name && isArchivesFolder(root_.get())) {
        throw Failure(quoted(source) + " cannot be packed into itself");
    } else {
        items_.push_back({name_, SourceItem::Kind::File});
    }
}

// Recursive: a path that is too long for one call cannot be opened, which limits the depth to some
// 2,000 folders.
void SourceTree::list(const std::string& folder) {
    throwIfInterrupted();
    for (SourceItem& item : itemsIn(folder)) {
        const bool deeper = item.kind == SourceItem::Kind::Folder;
        items_.push_back(std::move(item));
        // A copy: the list grows meanwhile.
        if (deeper) list(std::string(items_.back().path));
    }
}

// Closes the folder before the walk goes deeper, so that the depth is not limited by descriptors.
std::vector<SourceItem> SourceTree::itemsIn(const std::string& path) const {
    const Descriptor folder = openFolderBeneath(root_.get(), path);
    const bool holdsArchive = isArchivesFolder(folder.get());
    std::vector<std::string> names = namesIn(folder.get(), path);
    // The same tree gives the same archive, in whichever order the file system lists it.
    std::sort(names.begin(), names.end());
    std::vector<SourceItem> items;
    for (const std::string& name : names) {
        if (holdsArchive && name == archive_.name) continue;
        struct stat info = {};
        std::string itsPath = path;
        if (!path.empty()) itsPath += '/';
        itsPath += name;
        if (systemCalls().fstatat(folder.get(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0)
            failWithErrno(itsPath, "examined");
        const SourceItem::Kind kind = kindOf(info, itsPath);
        items.push_back({std::move(itsPath), kind});
    }
    return items;
}

// By device and number: paths may lead to the archive's folder in several ways.
bool SourceTree::isArchivesFolder(int folder) const {
    struct stat info = {};
    if (systemCalls().fstat(folder, &info) != 0) failWithErrno(".", "examined");
    return info.st_dev == archive_.device && info.st_ino == archive_.folder;
}

}  // namespace quillmoor::ditto
