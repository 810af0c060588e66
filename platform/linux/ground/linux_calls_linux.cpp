#include "quillmoor/platform/linux/ground/linux_calls_linux.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/vfs.h>

// Early versions of this header lack their own extern "C".
extern "C" {
#include <sys/pidfd.h>
}

namespace quillmoor::platform::linux_ {
namespace {

// mremap takes a variable number of arguments, which an entry of the table cannot.
void* remap(void* start, std::size_t size, std::size_t newSize, int flags, void* place) {
    return ::mremap(start, size, newSize, flags, place);
}

int isHfsPlus(int file, bool* answer) {
    // Not in <linux/magic.h>.
    constexpr auto kHfsPlus = 0x482B;
    struct statfs status {};
    if (::fstatfs(file, &status) != 0) return -1;
    *answer = status.f_type == kHfsPlus;
    return 0;
}

int isImmutable(int folder, const char* name, bool* answer) {
    struct statx status {};
    // The mask 0: attributes are returned without being asked for. AT_NO_AUTOMOUNT, since a look at
    // an item must not mount a file system.
    if (::statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, 0, &status) != 0) return -1;
    // A flag that is missing in the mask is one that the file system does not have.
    *answer = (status.stx_attributes & status.stx_attributes_mask & STATX_ATTR_IMMUTABLE) != 0;
    return 0;
}

int getItemFlags(int file, int* flags) {
    return ::ioctl(file, FS_IOC_GETFLAGS, flags);
}

int setItemFlags(int file, int flags) {
    return ::ioctl(file, FS_IOC_SETFLAGS, &flags);
}

constexpr LinuxCalls kNative{
    .statx = ::statx,
    .accept4 = ::accept4,
    .pidfd_open = ::pidfd_open,
    .pidfd_send_signal = ::pidfd_send_signal,
    .mremap = remap,
    .getrandom = ::getrandom,
    .isHfsPlus = isHfsPlus,
    .isImmutable = isImmutable,
    .getItemFlags = getItemFlags,
    .setItemFlags = setItemFlags,
};

}  // namespace

namespace detail {
constinit std::atomic<const LinuxCalls*> linuxCallsInUse{&kNative};
}

const LinuxCalls& nativeLinuxCalls() {
    return kNative;
}

const LinuxCalls* exchangeLinuxCalls(const LinuxCalls* calls) {
    return detail::linuxCallsInUse.exchange(calls != nullptr ? calls : &kNative,
                                            std::memory_order_acq_rel);
}

}  // namespace quillmoor::platform::linux_
