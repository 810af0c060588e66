// The few calls of ditto's that the table of system calls does not have fail when one of the
// table's would. In this program only, the linker replaces such a call X by __wrap_X, and calls
// __real_X its original (--wrap).
#include <fcntl.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "platform/posix/ground/system_calls_posix.h"

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

bool threadFails() {
    pthread_t thread{};
    const auto end = [](void* nothing) { return nothing; };
    if (systemCalls().pthread_create(&thread, nullptr, +end, nullptr) != 0) return true;
    ::pthread_join(thread, nullptr);
    return false;
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

// std::thread's start; its state is passed by address.
void __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
    void* thread, void* state, void (*depends)());
void __wrap__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
    void* thread, void* state, void (*depends)()) {
    if (threadFails()) throw std::system_error(EAGAIN, std::generic_category());
    __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
        thread, state, depends);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
