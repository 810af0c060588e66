#include "quillmoor/platform/posix/fs/item_copy_posix.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "quillmoor/platform/posix/fs/file_io_posix.h"
#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "quillmoor/platform/posix/ground/kernel_calls_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// Without waiting: the item may have become a FIFO that has no writer. O_NOCTTY, since it may have
// become a terminal, too, which must not become this process's controlling terminal.
constexpr int kReadItem = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
constexpr int kCreateFile = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
// Not the original's mode before the contents and the owner are in place.
constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;

// An attribute that the file system or the system does not support here. Not fatal: file contents
// are unaffected.
bool isRefusal(int error) {
    constexpr int refusals[] = {EPERM, EACCES, EINVAL, ENOSYS, ENOTSUP, EOPNOTSUPP};
    return std::find(std::begin(refusals), std::end(refusals), error) != std::end(refusals);
}

int unlessRefused(int result) {
    return result == 0 || isRefusal(errno) ? 0 : errno;
}

// The dates of access and of modification: POSIX names the fields st_atim and st_mtim, older
// systems otherwise.
template <typename Status>
constexpr bool kHasShortNames = requires(const Status& status) {
    status.st_mtim;
};

struct Dates {
    timespec times[2];

    template <typename Status>
    explicit Dates(const Status& status) {
        if constexpr (kHasShortNames<Status>) {
            times[0] = status.st_atim;
            times[1] = status.st_mtim;
        } else {
            times[0] = status.st_atimespec;
            times[1] = status.st_mtimespec;
        }
    }
};

// An attribute may grow or be removed between two calls.
int copyAttribute(int original, int made, const char* name) {
    const SystemCalls& calls = systemCalls();
    std::string value(256, '\0');
    ssize_t size = calls.fgetxattr(original, name, value.data(), value.size());
    while (size < 0 && errno == ERANGE) {
        size = calls.fgetxattr(original, name, nullptr, 0);
        if (size < 0) break;
        // One byte more, since a call with the size 0 only returns the size and fills nothing in:
        // an attribute that was emptied and grows again would be read beyond the buffer.
        value.resize(static_cast<std::size_t>(size) + 1);
        size = calls.fgetxattr(original, name, value.data(), value.size());
    }
    if (size < 0) return isRefusal(errno) || errno == kNoSuchAttributeError ? 0 : errno;
    return unlessRefused(calls.fsetxattr(made, name, value.data(), static_cast<std::size_t>(size)));
}

int copyExtendedAttributes(int original, int made, bool ownerKept) {
    const SystemCalls& calls = systemCalls();
    std::string names(256, '\0');
    ssize_t size = calls.flistxattr(original, names.data(), names.size());
    while (size < 0 && errno == ERANGE) {
        size = calls.flistxattr(original, nullptr, 0);
        if (size < 0) break;
        // One byte more, as above.
        names.resize(static_cast<std::size_t>(size) + 1);
        size = calls.flistxattr(original, names.data(), names.size());
    }
    // -1 for the call that has just failed and set errno.
    if (size < 0) return unlessRefused(-1);
    names.resize(static_cast<std::size_t>(size));
    for (std::size_t at = 0; at < names.size();) {
        const char* name = names.c_str() + at;
        at += std::char_traits<char>::length(name) + 1;
        const int error =
            isCopiedAttribute(name, ownerKept) ? copyAttribute(original, made, name) : 0;
        if (error != 0) return error;
    }
    return 0;
}

// Sets `kept` when owner and group are the original's. Where the owner may not be changed, the
// group alone may be; the status is read again, since some file systems ignore fchown.
int copyOwner(int made, const struct stat& status, bool& kept) {
    const SystemCalls& calls = systemCalls();
    struct stat now;
    if (calls.fstat(made, &now) != 0) return errno;
    if (now.st_uid != status.st_uid || now.st_gid != status.st_gid) {
        const uid_t unchanged = static_cast<uid_t>(-1);
        if (calls.fchown(made, status.st_uid, status.st_gid) != 0 &&
            (!isRefusal(errno) ||
             (calls.fchown(made, unchanged, status.st_gid) != 0 && !isRefusal(errno))))
            return errno;
        if (calls.fstat(made, &now) != 0) return errno;
    }
    kept = now.st_uid == status.st_uid && now.st_gid == status.st_gid;
    return 0;
}

// The size in a link's status is no bound: it may be replaced, and some file systems report 0.
int readLink(int folder, const char* name, std::string& target) {
    for (target.resize(256);; target.resize(target.size() * 2)) {
        const ssize_t size = systemCalls().readlinkat(folder, name, target.data(), target.size());
        if (size < 0) return errno;
        // readlink(2) cuts a target that is too long without an error: only room that is left shows
        // that it is complete.
        if (static_cast<std::size_t>(size) < target.size()) {
            target.resize(static_cast<std::size_t>(size));
            return 0;
        }
    }
}

// Opens an item that is expected to be of this type.
int openAs(mode_t type, int folder, const char* name, Descriptor& opened, struct stat& status) {
    const SystemCalls& calls = systemCalls();
    opened = Descriptor(calls.openat(folder, name, kReadItem, 0));
    if (!opened || calls.fstat(opened.get(), &status) != 0) return errno;
    return (status.st_mode & S_IFMT) == type ? 0 : ESTALE;
}

}  // namespace

int copyAttributes(int original, int made, const struct stat& status) {
    const SystemCalls& calls = systemCalls();
    bool ownerKept = false;
    int error = copyOwner(made, status, ownerKept);
    if (error == 0 && original >= 0) error = copyExtendedAttributes(original, made, ownerKept);
    if (error != 0) return error;
    // Setuid and setgid would give the new owner's privileges to every user who may run the copy.
    // After the owner, since fchown clears them.
    const mode_t kept = ownerKept ? 07777 : 01777;
    // After the extended attributes as well: to set one of the user's, the caller needs write
    // permission for the file (xattr(7)), which the original's mode may lack.
    error = unlessRefused(calls.fchmod(made, status.st_mode & kept));
    if (error == 0) error = unlessRefused(calls.futimens(made, Dates(status).times));
    // After the dates, which may move others, and what may forbid further changes.
    if (error == 0 && original >= 0) copySystemAttributes(original, made);
    return error;
}

int ItemCopier::copy(int folder, const char* name, mode_t type, int newFolder,
                     const char* newName) {
    int error = EOPNOTSUPP;
    if (type == S_IFREG) error = copyFile(folder, name, newFolder, newName);
    if (type == S_IFLNK) error = copyLink(folder, name, newFolder, newName);
    if (type == S_IFIFO) error = copyFifo(folder, name, newFolder, newName);
    if (error == 0) control_.add(0, 1);
    return error;
}

int ItemCopier::copyFile(int folder, const char* name, int newFolder, const char* newName) {
    Descriptor original;
    struct stat status;
    int error = openAs(S_IFREG, folder, name, original, status);
    if (error != 0) return error;
    Descriptor made;
    bool cloned = false;
    error = createFile(original.get(), status, newFolder, newName, made, cloned);
    if (error == 0 && !cloned) error = data_.copy(original.get(), made.get(), status);
    if (error == 0) error = copyAttributes(original.get(), made.get(), status);
    return error != 0 ? error : closeChecked(made);
}

// `cloned` is set to true when the file has its contents already. The first file that cannot be
// cloned ends the attempts, which would cost a failing call for each further file.
int ItemCopier::createFile(int original, const struct stat& status, int newFolder,
                           const char* newName, Descriptor& made, bool& cloned) {
    const SystemCalls& calls = systemCalls();
    // An empty file has no blocks to share, so its result would say nothing about other files.
    const bool tries = mayClone_ && status.st_size > 0;
    made = Descriptor(tries ? calls.cloneFile(original, newFolder, newName, &cloned)
                            : calls.openat(newFolder, newName, kCreateFile, kPrivate));
    if (!made) return errno;
    somethingMade_ = true;
    if (cloned) control_.add(static_cast<std::uint64_t>(status.st_size), 0);
    if (tries) mayClone_ = cloned;
    return 0;
}

int ItemCopier::copyLink(int folder, const char* name, int newFolder, const char* newName) {
    const SystemCalls& calls = systemCalls();
    struct stat status;
    std::string target;
    if (calls.fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    const int error = readLink(folder, name, target);
    if (error != 0) return error;
    if (calls.symlinkat(target.c_str(), newFolder, newName) != 0) return errno;
    somethingMade_ = true;
    const bool foreign = status.st_uid != ::geteuid() || status.st_gid != ::getegid();
    if (foreign) {
        const int ownerError = giveLink(newFolder, newName, Owner{status.st_uid, status.st_gid});
        if (ownerError != 0 && !isRefusal(ownerError)) return ownerError;
    }
    return unlessRefused(
        calls.utimensat(newFolder, newName, Dates(status).times, AT_SYMLINK_NOFOLLOW));
}

int ItemCopier::copyFifo(int folder, const char* name, int newFolder, const char* newName) {
    const SystemCalls& calls = systemCalls();
    struct stat status;
    if (calls.fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    if (calls.mkfifoat(newFolder, newName, kPrivate) != 0) return errno;
    somethingMade_ = true;
    // By its descriptor: an item that another user puts in its place must not get the owner and the
    // mode.
    Descriptor made;
    struct stat madeStatus;
    const int error = openAs(S_IFIFO, newFolder, newName, made, madeStatus);
    if (error != 0) return error;
    // A FIFO that was swapped in is recognised by its owner: this process has just made its own.
    if (madeStatus.st_uid != ::geteuid()) return ESTALE;
    return copyAttributes(-1, made.get(), status);
}

}  // namespace quillmoor::platform::posix
