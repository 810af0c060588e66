#include "quillmoor/platform/posix/ground/system_calls_posix.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <csignal>

#include "quillmoor/platform/posix/ground/kernel_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// Close-on-exec from the start: with a second call, a child that another thread starts in between
// would inherit the descriptor.
int openAt(int folder, const char* name, int flags, mode_t mode) {
    return ::openat(folder, name, flags | O_CLOEXEC, mode);
}

// openat and fcntl take a variable number of arguments, which an entry of the table cannot.
int control(int file, int command, int argument) {
    return ::fcntl(file, command, argument);
}

constexpr SystemCalls kNative{
    .openat = openAt,
    .read = ::read,
    .write = ::write,
    .pread = ::pread,
    .pwrite = ::pwrite,
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
    .openBeneath = openBeneath,
    .cloneFile = cloneFile,
    .reserveSpace = reserveSpace,
    .flistxattr = listExtendedAttributes,
    .fgetxattr = getExtendedAttribute,
    .fsetxattr = setExtendedAttribute,
    .getRemovalTraits = getRemovalTraits,
    .pipe = openPipe,
    .wakePair = openWakePair,
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
};

}  // namespace

// Initialised at compile time: calls that other files' initialisers make find the table.
namespace detail {
constinit std::atomic<const SystemCalls*> callsInUse{&kNative};
}

const SystemCalls& nativeSystemCalls() {
    return kNative;
}

const SystemCalls* exchangeSystemCalls(const SystemCalls* calls) {
    // A thread that finds the new table must also find its contents.
    return detail::callsInUse.exchange(calls != nullptr ? calls : &kNative,
                                       std::memory_order_acq_rel);
}

}  // namespace quillmoor::platform::posix
