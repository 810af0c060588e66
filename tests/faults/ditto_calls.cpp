// The calls of ditto's code go through the platform's table of system calls, in this program only:
// the linker replaces each call X by __wrap_X, and calls __real_X its original (--wrap).
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <system_error>

#include "tests/support/call_tables.h"

namespace {

using quillmoor::platform::linux_::LinuxCalls;
using quillmoor::platform::posix::nativeSystemCalls;
using quillmoor::platform::posix::systemCalls;
using Calls = quillmoor::platform::posix::SystemCalls;

// The table's own calls are the system's.
thread_local bool isInTable = false;

template <auto Member>
auto entry() {
    if constexpr (quillmoor::test::EntryOf<Member>::isShared)
        return systemCalls().*Member;
    else
        return quillmoor::platform::linux_::linuxCalls().*Member;
}

template <auto Member, typename... Arguments>
auto throughTable(Arguments... arguments) {
    isInTable = true;
    const auto result = entry<Member>()(arguments...);
    const int error = errno;
    isInTable = false;
    errno = error;
    return result;
}

// Calls that the table does not have fail when one of the table's would.
bool openFails(int folder) {
    const int opened = throughTable<&Calls::openat>(folder, ".", O_PATH | O_DIRECTORY, mode_t{0});
    const int error = errno;
    if (opened >= 0) nativeSystemCalls().close(opened);
    errno = error;
    return opened < 0;
}

bool threadFails() {
    pthread_t thread{};
    const auto end = [](void* nothing) { return nothing; };
    if (throughTable<&Calls::pthread_create>(&thread, nullptr, +end, nullptr) != 0) return true;
    ::pthread_join(thread, nullptr);
    return false;
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {

int __real_close(int file);
int __wrap_close(int file) {
    return isInTable ? __real_close(file) : throughTable<&Calls::close>(file);
}

int __real_openat(int folder, const char* name, int flags, ...);
int __wrap_openat(int folder, const char* name, int flags, mode_t mode) {
    return isInTable ? __real_openat(folder, name, flags, mode)
                     : throughTable<&Calls::openat>(folder, name, flags, mode);
}
int __wrap_open(const char* name, int flags, mode_t mode) {
    return __wrap_openat(AT_FDCWD, name, flags, mode);
}
// What fortified code calls when it gives no mode.
int __wrap___openat_2(int folder, const char* name, int flags) {
    return __wrap_openat(folder, name, flags, 0);
}
int __wrap___open_2(const char* name, int flags) {
    return __wrap_openat(AT_FDCWD, name, flags, 0);
}

// ditto's only call by number is openat2.
long __real_syscall(long number, ...);
long __wrap_syscall(long number, long folder, long name, long how, long size) {
    if (isInTable || number != SYS_openat2) return __real_syscall(number, folder, name, how, size);
    return openFails(static_cast<int>(folder)) ? -1
                                               : __real_syscall(number, folder, name, how, size);
}

ssize_t __real_read(int file, void* buffer, size_t size);
ssize_t __wrap_read(int file, void* buffer, size_t size) {
    return isInTable ? __real_read(file, buffer, size)
                     : throughTable<&Calls::read>(file, buffer, size);
}

ssize_t __real_pread(int file, void* buffer, size_t size, off_t offset);
ssize_t __wrap_pread(int file, void* buffer, size_t size, off_t offset) {
    return throughTable<&Calls::read>(file, buffer, size_t{0}) < 0
               ? -1
               : __real_pread(file, buffer, size, offset);
}

ssize_t __real_write(int file, const void* buffer, size_t size);
ssize_t __wrap_write(int file, const void* buffer, size_t size) {
    return isInTable ? __real_write(file, buffer, size)
                     : throughTable<&Calls::write>(file, buffer, size);
}

ssize_t __real_pwrite(int file, const void* buffer, size_t size, off_t offset);
ssize_t __wrap_pwrite(int file, const void* buffer, size_t size, off_t offset) {
    return throughTable<&Calls::write>(file, buffer, size_t{0}) < 0
               ? -1
               : __real_pwrite(file, buffer, size, offset);
}

int __real_fcntl(int file, int command, ...);
int __wrap_fcntl(int file, int command, int argument) {
    return isInTable ? __real_fcntl(file, command, argument)
                     : throughTable<&Calls::fcntl>(file, command, argument);
}

int __real_fstat(int file, struct stat* status);
int __wrap_fstat(int file, struct stat* status) {
    return isInTable ? __real_fstat(file, status) : throughTable<&Calls::fstat>(file, status);
}

int __real_fstatat(int folder, const char* name, struct stat* status, int flags);
int __wrap_fstatat(int folder, const char* name, struct stat* status, int flags) {
    return isInTable ? __real_fstatat(folder, name, status, flags)
                     : throughTable<&Calls::fstatat>(folder, name, status, flags);
}
int __wrap_stat(const char* name, struct stat* status) {
    return __wrap_fstatat(AT_FDCWD, name, status, 0);
}
int __wrap_lstat(const char* name, struct stat* status) {
    return __wrap_fstatat(AT_FDCWD, name, status, AT_SYMLINK_NOFOLLOW);
}

ssize_t __real_readlinkat(int folder, const char* name, char* buffer, size_t size);
ssize_t __wrap_readlinkat(int folder, const char* name, char* buffer, size_t size) {
    return isInTable ? __real_readlinkat(folder, name, buffer, size)
                     : throughTable<&Calls::readlinkat>(folder, name, buffer, size);
}

char* __real_realpath(const char* name, char* resolved);
char* __wrap_realpath(const char* name, char* resolved) {
    return isInTable ? __real_realpath(name, resolved)
                     : throughTable<&Calls::realpath>(name, resolved);
}

DIR* __real_fdopendir(int folder);
DIR* __wrap_fdopendir(int folder) {
    return isInTable ? __real_fdopendir(folder) : throughTable<&Calls::fdopendir>(folder);
}

dirent* __real_readdir(DIR* stream);
dirent* __wrap_readdir(DIR* stream) {
    return isInTable ? __real_readdir(stream) : throughTable<&Calls::readdir>(stream);
}

int __real_mkdirat(int folder, const char* name, mode_t mode);
int __wrap_mkdirat(int folder, const char* name, mode_t mode) {
    return isInTable ? __real_mkdirat(folder, name, mode)
                     : throughTable<&Calls::mkdirat>(folder, name, mode);
}
int __wrap_mkdir(const char* name, mode_t mode) {
    return __wrap_mkdirat(AT_FDCWD, name, mode);
}

int __real_symlinkat(const char* target, int folder, const char* name);
int __wrap_symlinkat(const char* target, int folder, const char* name) {
    return isInTable ? __real_symlinkat(target, folder, name)
                     : throughTable<&Calls::symlinkat>(target, folder, name);
}

int __real_linkat(int folder, const char* name, int newFolder, const char* newName, int flags);
int __wrap_linkat(int folder, const char* name, int newFolder, const char* newName, int flags) {
    return isInTable ? __real_linkat(folder, name, newFolder, newName, flags)
                     : throughTable<&Calls::linkat>(folder, name, newFolder, newName, flags);
}

int __real_unlinkat(int folder, const char* name, int flags);
int __wrap_unlinkat(int folder, const char* name, int flags) {
    return isInTable ? __real_unlinkat(folder, name, flags)
                     : throughTable<&Calls::unlinkat>(folder, name, flags);
}
int __wrap_rmdir(const char* name) {
    return __wrap_unlinkat(AT_FDCWD, name, AT_REMOVEDIR);
}

int __real_renameat(int folder, const char* name, int newFolder, const char* newName);
int __wrap_renameat(int folder, const char* name, int newFolder, const char* newName) {
    return isInTable ? __real_renameat(folder, name, newFolder, newName)
                     : throughTable<&Calls::renameat>(folder, name, newFolder, newName);
}

int __real_renameat2(int folder, const char* name, int newFolder, const char* newName,
                     unsigned flags);
int __wrap_renameat2(int folder, const char* name, int newFolder, const char* newName,
                     unsigned flags) {
    return isInTable || flags != RENAME_NOREPLACE
               ? __real_renameat2(folder, name, newFolder, newName, flags)
               : throughTable<&Calls::renameNoReplace>(folder, name, newFolder, newName);
}

int __real_fchmod(int file, mode_t mode);
int __wrap_fchmod(int file, mode_t mode) {
    return isInTable ? __real_fchmod(file, mode) : throughTable<&Calls::fchmod>(file, mode);
}

int __real_fchmodat(int folder, const char* name, mode_t mode, int flags);
int __wrap_fchmodat(int folder, const char* name, mode_t mode, int flags) {
    return isInTable ? __real_fchmodat(folder, name, mode, flags)
                     : throughTable<&Calls::fchmodat>(folder, name, mode, flags);
}

int __real_futimens(int file, const struct timespec times[2]);
int __wrap_futimens(int file, const struct timespec times[2]) {
    return isInTable ? __real_futimens(file, times) : throughTable<&Calls::futimens>(file, times);
}

int __real_utimensat(int folder, const char* name, const struct timespec times[2], int flags);
int __wrap_utimensat(int folder, const char* name, const struct timespec times[2], int flags) {
    return isInTable ? __real_utimensat(folder, name, times, flags)
                     : throughTable<&Calls::utimensat>(folder, name, times, flags);
}

ssize_t __real_getrandom(void* bytes, size_t size, unsigned flags);
ssize_t __wrap_getrandom(void* bytes, size_t size, unsigned flags) {
    return isInTable ? __real_getrandom(bytes, size, flags)
                     : throughTable<&LinuxCalls::getrandom>(bytes, size, flags);
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
