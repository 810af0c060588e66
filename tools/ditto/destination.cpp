#include "tools/ditto/destination.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/posix/fs/rename_posix.h"
#include "quillmoor/platform/posix/ground/names_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/text.h"

namespace quillmoor::ditto {
namespace {

using platform::posix::emptyFolder;
using platform::posix::renameWithoutReplacing;
using platform::posix::systemCalls;
using platform::posix::temporaryName;

// Returns true for what cannot be examined: it must not be overwritten.
bool existsAt(int folder, const std::string& name) {
    struct stat info = {};
    return systemCalls().fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 ||
           errno != ENOENT;
}

// With a slash behind it, a link would be followed even where only the link is meant.
std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return path;
}

}  // namespace

Destination::Destination(const std::string& path, unsigned umask)
    : path_(withoutTrailingSlashes(path)), umask_(umask) {
    // The destructor is not called if this throws.
    try {
        openParent(path_);
        makeStage();
    } catch (...) {
        rollBack();
        throw;
    }
}

Destination::~Destination() {
    rollBack();
}

void Destination::openParent(const std::string& path) {
    struct stat info = {};
    // Followed: a link to a folder counts as that folder.
    if (systemCalls().fstatat(AT_FDCWD, path.c_str(), &info, 0) == 0) {
        if (!S_ISDIR(info.st_mode)) throw Failure(quoted(path) + " is not a folder");
        exists_ = true;
        // O_PATH: a folder that may be written to but not listed is good enough.
        parent_ = Descriptor(systemCalls().openat(AT_FDCWD, path.c_str(), O_PATH | O_DIRECTORY, 0));
        if (!parent_) failWithErrno(path, "opened");
        return;
    }
    if (errno != ENOENT) failWithErrno(path, "examined");
    // What is left is either missing or a dangling link, in whose place no folder can be created.
    if (systemCalls().fstatat(AT_FDCWD, path.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0)
        throw Failure(quoted(path) + " is a link that leads nowhere");
    name_ = lastPathComponent(path);
    // Of a missing folder, which cannot be created under these names.
    if (name_ == "." || name_ == "..") failWithError(path, "made", ENOENT);
    const std::string parent = parentPathOf(path);
    makeParents(parent);
    parent_ = Descriptor(systemCalls().openat(AT_FDCWD, parent.c_str(), O_PATH | O_DIRECTORY, 0));
    if (!parent_) failWithErrno(parent, "opened");
}

void Destination::makeParents(const std::string& path) {
    for (std::size_t end = 0; end < path.size();) {
        end = std::min(path.find('/', end + 1), path.size());
        const std::string part = path.substr(0, end);
        struct stat info = {};
        if (systemCalls().fstatat(AT_FDCWD, part.c_str(), &info, 0) == 0) continue;
        // Recorded first: memory that runs out must not leave a folder behind.
        madeFolders_.push_back(part);
        if (systemCalls().mkdirat(AT_FDCWD, part.c_str(), 0777 & ~umask_) == 0) continue;
        const int error = errno;
        madeFolders_.pop_back();
        // Another process may have created it meanwhile.
        if (error != EEXIST) failWithError(part, "made", error);
    }
}

void Destination::makeStage() {
    const char* const what = exists_ ? "written to" : "made";
    // Reserves descriptors: the stage must be removable even if all others are in use by then.
    for (Descriptor& spare : spare_) {
        spare = Descriptor(systemCalls().fcntl(parent_.get(), F_DUPFD_CLOEXEC, 0));
        if (!spare) failWithErrno(path_, what);
    }
    stageName_ = temporaryName("ditto");
    if (systemCalls().mkdirat(parent_.get(), stageName_.c_str(), S_IRWXU) != 0) {
        const int error = errno;
        stageName_.clear();
        failWithError(path_, what, error);
    }
    Descriptor stage(systemCalls().openat(parent_.get(), stageName_.c_str(),
                                          O_RDONLY | O_DIRECTORY | O_NOFOLLOW, 0));
    if (!stage) failWithErrno(path_, "opened");
    // In a folder that others may write to, another folder may have been put in its place: its
    // contents are left unchanged.
    if (!isEmpty(stage.get())) {
        stageName_.clear();
        failWithError(path_, "written to", EBUSY);
    }
    stage_ = std::move(stage);
}

// Other users that may write to the folder above may have replaced the stage.
void Destination::requireOwnStage() {
    if (isItem(parent_.get(), stageName_, stage_.get())) return;
    stageName_.clear();
    failWithError(path_, "made", EBUSY);
}

// Temporary names hold lower-case letters: is the stage found by its name in capitals?
FoldCase Destination::foldCase() const {
    std::string other = stageName_;
    for (char& c : other)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return existsAt(parent_.get(), other) ? FoldCase::Yes : FoldCase::No;
}

void Destination::requireFree(const std::vector<std::string_view>& names) const {
    if (!exists_) return;
    for (const std::string_view name : names)
        if (existsAt(parent_.get(), std::string(name)))
            throw Failure(quoted(name) + " exists already in " + quoted(path_));
}

void Destination::commit(const std::vector<std::string_view>& names) {
    if (exists_) {
        moveUp(names);
        committed_ = true;
        removeStage();
    } else {
        requireOwnStage();
        // Before the move, so that the destination never appears with the stage's mode.
        if (systemCalls().fchmod(stage_.get(), 0777 & ~umask_) != 0)
            failWithErrno(path_, "given its permissions");
        const int error = renameWithoutReplacing(parent_.get(), stageName_, parent_.get(), name_);
        if (error != 0) failWithError(path_, "made", error);
        committed_ = true;
    }
}

void Destination::moveUp(const std::vector<std::string_view>& names) {
    // The list is complete before the first move: after it, running out of memory would leave the
    // destination half filled.
    const std::vector<std::string> items(names.begin(), names.end());
    for (std::size_t i = 0; i < items.size(); ++i) {
        const int error = renameWithoutReplacing(stage_.get(), items[i], parent_.get(), items[i]);
        if (error == 0) continue;
        takeBack(std::span(items).first(i));
        failWithError(items[i], "moved into place", error);
    }
}

// Moves back as many as possible. Throws Failure for the last one that stays.
void Destination::takeBack(std::span<const std::string> items) {
    const std::string* kept = nullptr;
    int keptError = 0;
    for (const std::string& item : items) {
        const int error = renameWithoutReplacing(parent_.get(), item, stage_.get(), item);
        if (error == 0) continue;
        keptError = error;
        kept = &item;
    }
    if (kept != nullptr) failWithError(*kept, "taken back", keptError);
}

void Destination::rollBack() noexcept {
    if (committed_) return;
    removeStage();
    // From the innermost folder outwards.
    while (!madeFolders_.empty()) {
        // Another process may use it by now.
        if (::rmdir(madeFolders_.back().c_str()) != 0 && errno != ENOTEMPTY)
            warnOfResidue(madeFolders_.back());
        madeFolders_.pop_back();
    }
}

void Destination::removeStage() noexcept {
    // What follows opens at most as many descriptors as were reserved.
    for (Descriptor& spare : spare_) spare.reset();
    try {
        const int error = stage_ ? emptyFolder(stage_.get()) : 0;
        if (error != 0) failWithError(path_, "cleaned up", error);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "ditto: %s\n", failure.what());
    }
    if (!stageName_.empty() &&
        systemCalls().unlinkat(parent_.get(), stageName_.c_str(), AT_REMOVEDIR) != 0)
        warnOfResidue(stageName_);
}

}  // namespace quillmoor::ditto
