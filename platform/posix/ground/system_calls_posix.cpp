#include "platform/posix/ground/system_calls_posix.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#ifdef __linux__
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/random.h>

// Early versions of this header forget to say that they declare C functions.
extern "C" {
#include <sys/pidfd.h>
}
#else
#include <sys/mman.h>
#endif

#include <csignal>

#include "platform/posix/ground/kernel_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

int openAt(int folder, const char* name, int flags, mode_t mode) {
    return ::openat(folder, name, flags | O_CLOEXEC, mode);
}

int control(int file, int command, int argument) {
    return ::fcntl(file, command, argument);
}

#ifdef __linux__

int openPipe(int ends[2]) {
    return ::pipe2(ends, O_CLOEXEC);
}

void* remap(void* start, std::size_t size, std::size_t newSize, int flags, void* place) {
    return ::mremap(start, size, newSize, flags, place);
}

#else

int openPipe(int ends[2]) {
    if (::pipe(ends) != 0) return -1;
    ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    return 0;
}

#endif

constexpr SystemCalls kNative{
    .openat = openAt,
    .read = ::read,
    .write = ::write,
    .lseek = ::lseek,
    .ftruncate = ::ftruncate,
    .close = ::close,
    .fcntl = control,
    .fstat = ::fstat,
    .fstatat = ::fstatat,
    .flock = ::flock,
    .faccessat = ::faccessat,
    .readlinkat = ::readlinkat,
    .realpath = ::realpath,
    .fdopendir = ::fdopendir,
    .readdir = ::readdir,
    .mkdtemp = ::mkdtemp,
    .mkdirat = ::mkdirat,
    .mkfifoat = ::mkfifoat,
    .symlinkat = ::symlinkat,
    .linkat = ::linkat,
    .unlinkat = ::unlinkat,
    .renameat = ::renameat,
    .renameNoReplace = renameNoReplace,
    .fchmod = ::fchmod,
    .fchmodat = ::fchmodat,
    .fchown = ::fchown,
    .fchownat = ::fchownat,
    .futimens = ::futimens,
    .utimensat = ::utimensat,
    .cloneFile = cloneFile,
    .flistxattr = listExtendedAttributes,
    .fgetxattr = getExtendedAttribute,
    .fsetxattr = setExtendedAttribute,
    .isHfsPlus = isHfsPlus,
    .isImmutable = isImmutable,
    .getRemovalTraits = getRemovalTraits,
    .getItemFlags = getItemFlags,
    .setItemFlags = setItemFlags,
    .pipe = openPipe,
    .poll = ::poll,
    .socket = ::socket,
    .socketpair = ::socketpair,
    .bind = ::bind,
    .listen = ::listen,
    .getsockopt = ::getsockopt,
    .sendmsg = ::sendmsg,
    .send = ::send,
    .recv = ::recv,
    .recvmsg = ::recvmsg,
    .posix_spawn = ::posix_spawn,
    .pthread_create = ::pthread_create,
    .waitid = ::waitid,
    .kill = ::kill,
    .mmap = ::mmap,
#ifdef __linux__
    .statx = ::statx,
    .fallocate = ::fallocate,
    .eventfd = ::eventfd,
    .accept4 = ::accept4,
    .pidfd_open = ::pidfd_open,
    .pidfd_send_signal = ::pidfd_send_signal,
    .mremap = remap,
    .getrandom = ::getrandom,
#endif
};

}  // namespace

namespace detail {
constinit std::atomic<const SystemCalls*> callsInForce{&kNative};
}

const SystemCalls& nativeSystemCalls() {
    return kNative;
}

const SystemCalls* exchangeSystemCalls(const SystemCalls* calls) {
    return detail::callsInForce.exchange(calls != nullptr ? calls : &kNative,
                                         std::memory_order_acq_rel);
}

}  // namespace quillmoor::platform::posix
