#include "quillmoor/platform/posix/fs/move_posix.h"

#include <errno.h>

#include <exception>
#include <new>

#include "quillmoor/platform/posix/fs/directory_posix.h"
#include "quillmoor/platform/posix/fs/removal_check_posix.h"
#include "quillmoor/platform/posix/fs/rename_posix.h"
#include "quillmoor/platform/posix/fs/tree_copy_posix.h"
#include "quillmoor/platform/posix/fs/tree_remove_posix.h"
#include "quillmoor/platform/posix/ground/names_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// For the exception that is being handled. Besides a lack of memory that is std::random_device,
// which throws where the system has no random bytes: temporaryName() uses it.
int errorOfException() noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    } catch (const std::exception&) {
        return EIO;
    }
}

// Removes the copy that this process has made as `entry`. False when the complete copy still has
// that name. `aside` is a free name beside it.
bool takeAway(const DirectoryEntry& entry, const Identity& expected,
              const std::string& aside) noexcept {
    struct stat status;
    const int folder = entry.folder.get();
    const int error = statusOf(entry, FollowLink::No, status);
    // Without the item there is nothing to take away.
    if (error != 0) return error == ENOENT;
    if (identityOf(status) != expected) return true;  // replaced by another process: not ours
    // In one step, so that a removal that fails does not leave a part of the copy under that name.
    if (renameWithoutReplacing(folder, entry.name, folder, aside) != 0) return false;
    const RemovalResult removal = removeTree(folder, aside, TreeKind::OurOwn);
    if (removal.error == 0 || removal.removedSomething) return true;
    // A complete copy must not remain under a name that is not reported.
    return renameWithoutReplacing(folder, aside, folder, entry.name) != 0;
}

// The second half of a move, when the item has been copied. noexcept, since after an exception the
// caller would not know which of the two items exist.
MoveResult removeCopied(const DirectoryEntry& from, const Identity& original,
                        const DirectoryEntry& to, const Identity& copy,
                        const std::string& aside) noexcept {
    struct stat now;
    // Another item has taken the name meanwhile: it was not copied and must not be removed.
    if (statusOf(from, FollowLink::No, now) == 0 && identityOf(now) != original)
        return {ESTALE, !takeAway(to, copy, aside)};
    const RemovalResult removal = removeTree(from.folder.get(), from.name, TreeKind::Given);
    // Whatever failed: the item is no longer at its source, which makes the move complete.
    if (removal.error == 0 || statusOf(from, FollowLink::No, now) == ENOENT) return {};
    return {removal.error, removal.removedSomething || !takeAway(to, copy, aside)};
}

MoveResult moveAcross(const DirectoryEntry& from, const DirectoryEntry& to) {
    struct stat original;
    Identity copy;
    int error = statusOf(from, FollowLink::No, original);
    // Before the first byte is copied: otherwise a part of the source could remain beside a
    // complete copy.
    if (error == 0) error = checkRemovable(from);
    // Made before the copy: afterwards a lack of memory could not be undone.
    const std::string aside = temporaryName(to.name);
    if (error == 0) error = copyItemTo(from, to, copy);
    if (error != 0) return {error};
    return removeCopied(from, identityOf(original), to, copy, aside);
}

// True when exactly these bytes are among the folder's entries, or the folder cannot be read.
bool isListed(int folder, const std::string& name) {
    DirectoryReader reader(Descriptor(systemCalls().openat(folder, ".", kReadFolder, 0)));
    while (const dirent* entry = reader.next())
        if (name == entry->d_name) return true;
    return reader.error() != 0;
}

// True when both name the same entry of one folder, possibly with different spellings where the
// folder folds case. Two hard links are two entries.
bool isSameEntry(const DirectoryEntry& from, const DirectoryEntry& to) {
    const SystemCalls& calls = systemCalls();
    struct stat fromFolder;
    struct stat toFolder;
    struct stat fromItem;
    struct stat toItem;
    if (calls.fstat(from.folder.get(), &fromFolder) != 0 ||
        calls.fstat(to.folder.get(), &toFolder) != 0 ||
        identityOf(fromFolder) != identityOf(toFolder))
        return false;
    if (statusOf(from, FollowLink::No, fromItem) != 0 || statusOf(to, FollowLink::No, toItem) != 0)
        return false;
    if (from.name == to.name) return true;
    return identityOf(fromItem) == identityOf(toItem) &&
           !(isListed(from.folder.get(), from.name) && isListed(to.folder.get(), to.name));
}

// Gives an entry another spelling by way of a temporary name: rename(2) between two spellings of
// one entry may do nothing.
int respell(const DirectoryEntry& from, const DirectoryEntry& to) {
    const int folder = from.folder.get();
    const std::string temporary = temporaryName(to.name);
    int error = renameWithoutReplacing(folder, from.name, folder, temporary);
    if (error != 0) return error;
    error = renameWithoutReplacing(folder, temporary, folder, to.name);
    // Back to the old spelling; the first error is the one to report.
    if (error != 0) renameWithoutReplacing(folder, temporary, folder, from.name);
    return error;
}

int resolveParents(const std::string& path, const std::string& destination, DirectoryEntry& from,
                   DirectoryEntry& to) {
    const int error = resolveParent(path, from);
    return error != 0 ? error : resolveParent(destination, to);
}

}  // namespace

// Only steps before the copy is complete throw, and they leave neither a new nor a changed item.
MoveResult moveItemTo(const DirectoryEntry& from, const DirectoryEntry& to) noexcept try {
    const int error =
        renameWithoutReplacing(from.folder.get(), from.name, to.folder.get(), to.name);
    return error == EXDEV ? moveAcross(from, to) : MoveResult{error};
} catch (const std::exception&) {
    return {errorOfException()};
}

MoveResult movePath(const std::string& path, const std::string& destination) noexcept try {
    DirectoryEntry from;
    DirectoryEntry to;
    struct stat status;
    int error = resolveParents(path, destination, from, to);
    if (error == 0 && !from.hasNameOfItsOwn()) error = EINVAL;
    if (error == 0) error = statusOf(from, FollowLink::No, status);
    if (error == 0 && to.asFolder && !S_ISDIR(status.st_mode)) error = ENOTDIR;
    if (error != 0) return {error};
    const MoveResult result = moveItemTo(from, to);
    // An item that is moved to its own name is no conflict: rename(2) succeeds there and does
    // nothing.
    if (result.error != EEXIST || !isSameEntry(from, to)) return result;
    return {from.name == to.name ? 0 : respell(from, to)};
} catch (const std::exception&) {
    return {errorOfException()};
}

int copyPath(const std::string& path, const std::string& destination, const CopyControl& control) {
    DirectoryEntry from;
    DirectoryEntry to;
    Identity copy;
    const int error = resolveParents(path, destination, from, to);
    return error != 0 ? error : copyItemTo(from, to, copy, control);
}

}  // namespace quillmoor::platform::posix
