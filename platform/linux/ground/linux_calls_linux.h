// The system calls that only Linux has and that a test may make fail or observe: the second part of
// the table in posix/ground/system_calls_posix.h, with the same rules.
#pragma once

#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <atomic>
#include <cstddef>

namespace quillmoor::platform::linux_ {

struct LinuxCalls {
    int (*statx)(int folder, const char* name, int flags, unsigned mask, struct statx* status);
    int (*accept4)(int socket, sockaddr* address, socklen_t* size, int flags);
    int (*pidfd_open)(pid_t process, unsigned flags);
    int (*pidfd_send_signal)(int process, int signal, siginfo_t* info, unsigned flags);
    void* (*mremap)(void* start, std::size_t size, std::size_t newSize, int flags, void* place);
    ssize_t (*getrandom)(void* bytes, std::size_t size, unsigned flags);

    // Sets `answer` when the open item is on a file system that stores the Finder information
    // itself.
    int (*isHfsPlus)(int file, bool* answer);
    // Sets `answer` when the item cannot be changed, renamed or removed; of a link, the link
    // itself. False where the file system has no such flag.
    int (*isImmutable)(int folder, const char* name, bool* answer);
    // All FS_*_FL flags of an open item, the immutable one among them; ENOTTY where there are none.
    int (*getItemFlags)(int file, int* flags);
    int (*setItemFlags)(int file, int flags);
};

namespace detail {
extern std::atomic<const LinuxCalls*> linuxCallsInUse;
}

// The table in use.
inline const LinuxCalls& linuxCalls() {
    return *detail::linuxCallsInUse.load(std::memory_order_acquire);
}

// The system's own calls, also while another table is in use.
const LinuxCalls& nativeLinuxCalls();

// Replaces the table in use and returns the one before; null means the system's own. The table must
// outlive every call made through it.
const LinuxCalls* exchangeLinuxCalls(const LinuxCalls* calls);

}  // namespace quillmoor::platform::linux_
