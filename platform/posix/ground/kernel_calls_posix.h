// The hooks for calls that every kernel has in its own form. The back-end's folder defines them;
// shared code calls those of the first group through the table in system_calls_posix.h. Unless
// stated otherwise they return -1 with errno on failure, and may be called from any thread.
#pragma once

#include <sys/types.h>

#include <cstddef>

namespace quillmoor::platform::posix {

// What decides, besides the modes, whether an item may be removed.
struct RemovalTraits {
    bool isFixed = false;       // immutable or append-only
    bool isMountPoint = false;  // something is mounted on it
    uid_t owner = 0;
    mode_t type = 0;  // the type bits of its mode
};

// Two close-on-exec descriptors of a new pipe, the reading end first. Called by Pipe and by each
// launch. EMFILE, ENFILE.
int openPipe(int ends[2]);

// Two close-on-exec, non-blocking descriptors: eight bytes written to the second make the first
// readable, until it is read empty with a buffer of at least eight bytes. Both may be the same
// descriptor, one that counts events; a pipe will do. Called by WakeDescriptor. EMFILE, ENFILE.
int openWakePair(int ends[2]);

// rename(2) that never replaces: EEXIST where anything has the new name; EINVAL, ENOSYS or ENOTSUP
// where the file system cannot guarantee that, and posix/fs/rename then works without it. Called
// for each move and at the end of each copy.
int renameNoReplace(int folder, const char* name, int newFolder, const char* newName);

// Opens the folder `path` below the open folder `folder` for reading, close-on-exec, in one call
// that follows no link, ELOOP, and leads nowhere else, EXDEV. The path is relative, has no ".." and
// is short enough for a call. ENOSYS where the kernel cannot: posix/fs/scoped_directory then goes
// step by step, as it does after EPERM and EAGAIN. Called for each folder that an archive's items
// are made in or packed from.
int openBeneath(int folder, const char* path);

// Makes the file `name` in `folder`, readable and writable by its owner alone, and returns its
// close-on-exec descriptor, open for writing. EEXIST where anything has that name, a dangling link
// included. `cloned` is set to true when the file shares the blocks of the open file `from` and so
// has its contents; otherwise the file is empty, which is not a failure. Called for each file that
// is copied, until one is not cloned.
int cloneFile(int from, int folder, const char* name, bool* cloned);

// Reserves disk space for a file that is about to get `size` bytes, without changing its size. A
// hint: the result is ignored. Called for large files that are copied.
int reserveSpace(int file, off_t size);

// The names of the extended attributes of an open item, each terminated by a NUL; returns the size
// of all of them, also when `names` is null and `size` 0. ERANGE when they do not fit; ENOTSUP,
// EPERM or EACCES where the item can have none, which does not fail a copy. Called for each item
// that is copied.
ssize_t listExtendedAttributes(int file, char* names, std::size_t size);

// The value of one of them; returns its size, also when `value` is null and `size` 0. ERANGE when
// it does not fit; kNoSuchAttributeError when the attribute was removed meanwhile. Called for each
// attribute that is copied.
ssize_t getExtendedAttribute(int file, const char* name, void* value, std::size_t size);

// Makes or replaces an attribute. ENOTSUP, EPERM or EACCES where it cannot be stored, which does
// not fail a copy; ENOSPC. Called for each attribute that is copied.
int setExtendedAttribute(int file, const char* name, const void* value, std::size_t size);

// What else may forbid an item's removal; of a link, the link itself. Traits that the file system
// does not have are left false. Called for each item before a tree is moved across file systems.
int getRemovalTraits(int folder, const char* name, RemovalTraits* traits);

// Not in the table: these cannot fail.

// The error of getExtendedAttribute for an attribute that does not exist: ENODATA on Linux, ENOATTR
// elsewhere.
extern const int kNoSuchAttributeError;

// True when an attribute belongs to the item itself, not to its location, and is copied with it: a
// user's note and an access control list are, a security label that the folder has given is not.
// `ownerKept` is false for a copy that has another owner: an attribute that gives a program more
// privileges than its caller's must then not be copied. Called for each attribute of an item that
// is copied.
bool isCopiedAttribute(const char* name, bool ownerKept);

// Copies what only this system keeps of an item, beside its owner, extended attributes, mode and
// dates of access and modification; what cannot be stored is left out. Does nothing where there is
// nothing else. Called last for each file and folder that is copied.
void copySystemAttributes(int original, int made) noexcept;

}  // namespace quillmoor::platform::posix
