// The few calls of ditto's that the table of system calls does not have fail when one of the
// table's would. In this program only, the linker replaces such a call X by __wrap_X, and calls
// __real_X its original (--wrap).
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace {

using quillmoor::platform::posix::nativeSystemCalls;
using quillmoor::platform::posix::systemCalls;

bool openFails(int folder) {
    const int opened = systemCalls().openat(folder, ".", O_PATH | O_DIRECTORY, 0);
    const int error = errno;
    if (opened >= 0) nativeSystemCalls().close(opened);
    errno = error;
    return opened < 0;
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {

// ditto's only call by number is openat2.
long __real_syscall(long number, ...);
long __wrap_syscall(long number, long folder, long name, long how, long size) {
    if (number == SYS_openat2 && openFails(static_cast<int>(folder))) return -1;
    return __real_syscall(number, folder, name, how, size);
}

ssize_t __real_pread(int file, void* buffer, size_t size, off_t offset);
ssize_t __wrap_pread(int file, void* buffer, size_t size, off_t offset) {
    return systemCalls().read(file, buffer, 0) < 0 ? -1 : __real_pread(file, buffer, size, offset);
}

ssize_t __real_pwrite(int file, const void* buffer, size_t size, off_t offset);
ssize_t __wrap_pwrite(int file, const void* buffer, size_t size, off_t offset) {
    return systemCalls().write(file, buffer, 0) < 0 ? -1
                                                    : __real_pwrite(file, buffer, size, offset);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
