// The system calls that a test may make fail or observe, in one table. A test build differs from
// any other only in the contents of the table. Calls that only one system has are in a table in
// that system's folder.
//
// Each entry is its system call: the same arguments, and the same result on failure: -1 (or null,
// or MAP_FAILED) and errno, or the error number itself where the call returns that. openat opens
// close-on-exec descriptors.
#pragma once

#include <dirent.h>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>

#include <atomic>
#include <cstddef>

#include "quillmoor/platform/posix/ground/kernel_calls_posix.h"

namespace quillmoor::platform::posix {

struct SystemCalls {
    int (*openat)(int folder, const char* name, int flags, mode_t mode);
    ssize_t (*read)(int file, void* buffer, std::size_t size);
    ssize_t (*write)(int file, const void* buffer, std::size_t size);
    ssize_t (*pread)(int file, void* buffer, std::size_t size, off_t offset);
    ssize_t (*pwrite)(int file, const void* buffer, std::size_t size, off_t offset);
    off_t (*lseek)(int file, off_t offset, int whence);
    int (*ftruncate)(int file, off_t size);
    // The last call that may report a failure to write. The descriptor is closed in any case.
    int (*close)(int file);
    int (*fcntl)(int file, int command, int argument);

    int (*fstat)(int file, struct stat* status);
    int (*fstatat)(int folder, const char* name, struct stat* status, int flags);
    int (*flock)(int file, int operation);
    int (*faccessat)(int folder, const char* name, int mode, int flags);
    ssize_t (*readlinkat)(int folder, const char* name, char* buffer, std::size_t size);
    char* (*realpath)(const char* name, char* resolved);
    DIR* (*fdopendir)(int folder);
    dirent* (*readdir)(DIR* stream);

    char* (*mkdtemp)(char* name);
    int (*mkdirat)(int folder, const char* name, mode_t mode);
    int (*mkfifoat)(int folder, const char* name, mode_t mode);
    int (*symlinkat)(const char* target, int folder, const char* name);
    int (*linkat)(int folder, const char* name, int newFolder, const char* newName, int flags);
    int (*unlinkat)(int folder, const char* name, int flags);
    int (*renameat)(int folder, const char* name, int newFolder, const char* newName);
    int (*renameNoReplace)(int folder, const char* name, int newFolder, const char* newName);

    int (*fchmod)(int file, mode_t mode);
    int (*fchmodat)(int folder, const char* name, mode_t mode, int flags);
    int (*fchown)(int file, uid_t owner, gid_t group);
    int (*fchownat)(int folder, const char* name, uid_t owner, gid_t group, int flags);
    int (*futimens)(int file, const struct timespec times[2]);
    int (*utimensat)(int folder, const char* name, const struct timespec times[2], int flags);

    // These, and renameNoReplace, pipe and wakePair, are hooks: see kernel_calls_posix.h.
    int (*openBeneath)(int folder, const char* path);
    int (*cloneFile)(int from, int folder, const char* name, bool* cloned);
    int (*reserveSpace)(int file, off_t size);
    ssize_t (*flistxattr)(int file, char* names, std::size_t size);
    ssize_t (*fgetxattr)(int file, const char* name, void* value, std::size_t size);
    int (*fsetxattr)(int file, const char* name, const void* value, std::size_t size);
    int (*getRemovalTraits)(int folder, const char* name, RemovalTraits* traits);

    int (*pipe)(int ends[2]);
    int (*wakePair)(int ends[2]);
    int (*poll)(pollfd* polled, nfds_t count, int milliseconds);
    int (*socket)(int domain, int type, int protocol);
    int (*socketpair)(int domain, int type, int protocol, int ends[2]);
    int (*bind)(int socket, const sockaddr* address, socklen_t size);
    int (*listen)(int socket, int waiting);
    int (*getsockopt)(int socket, int level, int name, void* value, socklen_t* size);
    ssize_t (*sendmsg)(int socket, const msghdr* message, int flags);
    ssize_t (*send)(int socket, const void* bytes, std::size_t size, int flags);
    ssize_t (*recv)(int socket, void* bytes, std::size_t size, int flags);
    ssize_t (*recvmsg)(int socket, msghdr* message, int flags);

    // These two return an error number.
    int (*posix_spawn)(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const arguments[],
                       char* const environment[]);
    int (*pthread_create)(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument);
    int (*waitid)(idtype_t kind, id_t child, siginfo_t* info, int options);
    int (*kill)(pid_t process, int signal);

    void* (*mmap)(void* start, std::size_t size, int protection, int flags, int file, off_t offset);
};

namespace detail {
extern std::atomic<const SystemCalls*> callsInUse;
}

// The table in use.
inline const SystemCalls& systemCalls() {
    return *detail::callsInUse.load(std::memory_order_acquire);
}

// The system's own calls, also while another table is in use.
const SystemCalls& nativeSystemCalls();

// Replaces the table in use and returns the one before; null means the system's own. The table must
// outlive every call made through it.
const SystemCalls* exchangeSystemCalls(const SystemCalls* calls);

}  // namespace quillmoor::platform::posix
