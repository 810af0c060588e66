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

// For the exception that is being handled.
int errorOfException() noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    } catch (const std::exception&) {
        return EIO;
    }
}

// Frees the name of a copy that this process has made there, and removes the copy. False when the
// whole copy still has that name. `aside` is a free name beside it.
bool takeAway(const DirectoryEntry& entry, const Identity& expected,
              const std::string& aside) noexcept {
    struct stat status;
    const int folder = entry.folder.get();
    const int error = statusOf(entry, FollowLink::No, status);
    if (error != 0) return error == ENOENT;
    if (identityOf(status) != expected) return true;
    // In one step, so that a removal that fails does not leave a part of the copy under that name.
    if (renameWithoutReplacing(folder, entry.name, folder, aside) != 0) return false;
    const RemovalResult removal = removeTree(folder, aside, TreeKind::OurOwn);
    if (removal.error == 0 || removal.removedSomething) return true;
    // Still whole, it must not stay under a name that is not reported.
    return renameWithoutReplacing(folder, aside, folder, entry.name) != 0;
}

// The second half of a move, when the item has been copied. No exception leaves it: the caller
// could no longer know what is where.
MoveResult removeCopied(const DirectoryEntry& from, const Identity& original,
                        const DirectoryEntry& to, const Identity& copy,
                        const std::string& aside) noexcept {
    struct stat now;
    if (statusOf(from, FollowLink::No, now) == 0 && identityOf(now) != original)
        return {ESTALE, !takeAway(to, copy, aside)};
    const RemovalResult removal = removeTree(from.folder.get(), from.name, TreeKind::Given);
    if (removal.error == 0 || statusOf(from, FollowLink::No, now) == ENOENT) return {};
    return {removal.error, removal.removedSomething || !takeAway(to, copy, aside)};
}

MoveResult moveAcross(const DirectoryEntry& from, const DirectoryEntry& to) {
    struct stat original;
    Identity copy;
    int error = statusOf(from, FollowLink::No, original);
    if (error == 0) error = checkRemovable(from);
    const std::string aside = temporaryName(to.name);
    if (error == 0) error = copyItemTo(from, to, copy);
    if (error != 0) return {error};
    return removeCopied(from, identityOf(original), to, copy, aside);
}

// Exactly these bytes are among the folder's entries, or nobody can tell.
bool isListed(int folder, const std::string& name) {
    DirectoryReader reader(Descriptor(systemCalls().openat(folder, ".", kReadFolder, 0)));
    while (const dirent* entry = reader.next())
        if (name == entry->d_name) return true;
    return reader.error() != 0;
}

// Both places name one entry of one folder, be it with another spelling where the folder folds
// case. Two hard links are two entries.
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

// Gives an entry another spelling, by way of a temporary name: a plain renaming may do nothing.
int respell(const DirectoryEntry& from, const DirectoryEntry& to) {
    const int folder = from.folder.get();
    const std::string temporary = temporaryName(to.name);
    int error = renameWithoutReplacing(folder, from.name, folder, temporary);
    if (error != 0) return error;
    error = renameWithoutReplacing(folder, temporary, folder, to.name);
    if (error != 0) renameWithoutReplacing(folder, temporary, folder, from.name);
    return error;
}

int resolveParents(const std::string& path, const std::string& destination, DirectoryEntry& from,
                   DirectoryEntry& to) {
    const int error = resolveParent(path, from);
    return error != 0 ? error : resolveParent(destination, to);
}

}  // namespace

// What throws leaves nothing behind: neither a new item nor a changed one.
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
