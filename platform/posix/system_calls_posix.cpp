#include "platform/posix/system_calls_posix.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/posix/kernel_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

int openAt(int folder, const char* name, int flags, mode_t mode) {
    return ::openat(folder, name, flags | O_CLOEXEC, mode);
}

constexpr SystemCalls kNative{
    .openat = openAt,
    .read = ::read,
    .write = ::write,
    .lseek = ::lseek,
    .ftruncate = ::ftruncate,
    .fstat = ::fstat,
    .fstatat = ::fstatat,
    .faccessat = ::faccessat,
    .readlinkat = ::readlinkat,
    .fdopendir = ::fdopendir,
    .readdir = ::readdir,
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
    .getItemFlags = getItemFlags,
    .setItemFlags = setItemFlags,
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
