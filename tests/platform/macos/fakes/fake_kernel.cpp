#include "tests/platform/macos/fakes/fake_kernel.h"

#include <crt_externs.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/acl.h>
#include <sys/attr.h>
#include <sys/clonefile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>

#undef posix_spawnattr_setflags

namespace quillmoor::test {
namespace {

// The engine calls on several threads.
std::recursive_mutex recording;

FakeKernel* current = nullptr;
FakeKernel none;  // records what no test reads

FakeKernel& kernel() {
    return current != nullptr ? *current : none;
}

int failWith(int error) {
    errno = error;
    return -1;
}

// On Linux an attribute that users can set has this prefix.
std::string onLinux(const char* name) {
    return std::string("user.") + name;
}

void record(const char* name, std::uint32_t position, int options) {
    kernel().attributeCalls.push_back({name, position, options});
}

std::string nameOfOpen(int file) {
    char path[4096] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    if (::readlink(link.c_str(), path, sizeof path - 1) < 0) return "";
    const char* const slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

void put(std::vector<std::uint8_t>& bytes, const void* value, std::size_t size) {
    const auto* const first = static_cast<const std::uint8_t*>(value);
    bytes.insert(bytes.end(), first, first + size);
}

// The reply as the kernel packs it: its size, then what was asked for in the order of the bits.
int reply(const std::string& name, const struct stat& status, const attrlist& request, void* buffer,
          std::size_t size) {
    std::vector<std::uint8_t> bytes(sizeof(std::uint32_t));
    if ((request.commonattr & ATTR_CMN_CRTIME) != 0) {
        const timespec created = kernel().creationDates[name];
        put(bytes, &created, sizeof created);
    }
    if ((request.commonattr & ATTR_CMN_MODTIME) != 0)
        put(bytes, &status.st_mtim, sizeof status.st_mtim);
    if ((request.commonattr & ATTR_CMN_FLAGS) != 0) {
        const std::uint32_t flags = kernel().flagsOf[name];
        put(bytes, &flags, sizeof flags);
    }
    if ((request.dirattr & ATTR_DIR_MOUNTSTATUS) != 0 && S_ISDIR(status.st_mode)) {
        const std::uint32_t mounted = kernel().isMountPoint[name] ? DIR_MNTSTATUS_MNTPOINT : 0;
        put(bytes, &mounted, sizeof mounted);
    }
    const auto whole = static_cast<std::uint32_t>(bytes.size());
    std::memcpy(bytes.data(), &whole, sizeof whole);
    std::memcpy(buffer, bytes.data(), std::min(size, bytes.size()));
    return 0;
}

}  // namespace

FakeKernel::FakeKernel() {
    if (this != &none) current = this;
}
FakeKernel::~FakeKernel() {
    if (current == this) current = nullptr;
}

}  // namespace quillmoor::test

using namespace quillmoor::test;

extern "C" {

int renameatx_np(int folder, const char* name, int newFolder, const char* newName,
                 unsigned int flags) {
    const std::lock_guard lock(recording);
    kernel().renames.push_back({name, newName, flags});
    return ::renameat2(folder, name, newFolder, newName,
                       (flags & RENAME_EXCL) != 0 ? RENAME_NOREPLACE : 0);
}

int fclonefileat(int from, int folder, const char* name, std::uint32_t flags) {
    const std::lock_guard lock(recording);
    kernel().cloneFlags.push_back(flags);
    if (!kernel().canClone) return failWith(ENOTSUP);
    struct stat status {};
    ::fstat(from, &status);
    const mode_t mode = kernel().clonesHaveNoMode ? 0 : status.st_mode & 0777;
    const int made = ::openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (made < 0) return -1;
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    const ssize_t size = ::pread(from, text.data(), text.size(), 0);
    const bool written = size >= 0 && ::write(made, text.data(), text.size()) == size;
    ::close(made);
    return written ? 0 : failWith(EIO);
}

acl_t acl_get_fd_np(int, acl_type_t type) {
    const std::lock_guard lock(recording);
    kernel().accessListTypes.push_back(type);
    errno = kernel().accessListError;
    if (errno != 0) return nullptr;
    ++kernel().accessLists;
    return reinterpret_cast<acl_t>(&kernel().accessLists);
}

int acl_set_fd_np(int file, acl_t list, acl_type_t type) {
    const std::lock_guard lock(recording);
    kernel().accessListTypes.push_back(type);
    if (list != reinterpret_cast<acl_t>(&kernel().accessLists)) return failWith(EINVAL);
    kernel().withAccessList.push_back(nameOfOpen(file));
    return 0;
}

int acl_free(void* object) {
    const std::lock_guard lock(recording);
    if (object != &kernel().accessLists) return failWith(EINVAL);
    --kernel().accessLists;
    return 0;
}

// The listing without the prefix, and without what is not of the user's.
ssize_t flistxattr(int file, char* names, std::size_t size, int options) {
    const std::lock_guard lock(recording);
    record("", 0, options);
    char all[65536];
    const ssize_t length = ::syscall(SYS_flistxattr, file, all, sizeof all);
    if (length < 0) return -1;
    std::string kept;
    for (const char* each = all; each < all + length; each += std::strlen(each) + 1)
        if (std::strncmp(each, "user.", 5) == 0) kept.append(each + 5, std::strlen(each + 5) + 1);
    if (names == nullptr || size == 0) return static_cast<ssize_t>(kept.size());
    if (kept.size() > size) return failWith(ERANGE);
    kept.copy(names, kept.size());
    return static_cast<ssize_t>(kept.size());
}

ssize_t fgetxattr(int file, const char* name, void* value, std::size_t size, std::uint32_t position,
                  int options) {
    const std::lock_guard lock(recording);
    record(name, position, options);
    return ::syscall(SYS_fgetxattr, file, onLinux(name).c_str(), value, size);
}

int fsetxattr(int file, const char* name, const void* value, std::size_t size,
              std::uint32_t position, int options) {
    const std::lock_guard lock(recording);
    record(name, position, options);
    return static_cast<int>(::syscall(SYS_fsetxattr, file, onLinux(name).c_str(), value, size, 0));
}

int getattrlistat(int folder, const char* name, void* list, void* buffer, std::size_t size,
                  unsigned long options) {
    const std::lock_guard lock(recording);
    const auto& request = *static_cast<const attrlist*>(list);
    kernel().listCalls.push_back({request, options, {}});
    if (kernel().listError != 0) return failWith(kernel().listError);
    struct stat status {};
    const int follow = (options & FSOPT_NOFOLLOW) != 0 ? AT_SYMLINK_NOFOLLOW : 0;
    if (::fstatat(folder, name, &status, follow) != 0) return -1;
    return reply(name, status, request, buffer, size);
}

int fgetattrlist(int file, void* list, void* buffer, std::size_t size, unsigned int options) {
    const std::lock_guard lock(recording);
    const auto& request = *static_cast<const attrlist*>(list);
    kernel().listCalls.push_back({request, options, {}});
    if (kernel().listError != 0) return failWith(kernel().listError);
    struct stat status {};
    if (::fstat(file, &status) != 0) return -1;
    return reply(nameOfOpen(file), status, request, buffer, size);
}

int fsetattrlist(int file, void* list, void* buffer, std::size_t size, unsigned int options) {
    const std::lock_guard lock(recording);
    const auto& request = *static_cast<const attrlist*>(list);
    const auto* const bytes = static_cast<const std::uint8_t*>(buffer);
    kernel().listCalls.push_back({request, options, {bytes, bytes + size}});
    if (kernel().listError != 0) return failWith(kernel().listError);
    if (request.commonattr != (ATTR_CMN_CRTIME | ATTR_CMN_FLAGS) ||
        size != sizeof(timespec) + sizeof(std::uint32_t))
        return failWith(EINVAL);
    const std::string name = nameOfOpen(file);
    std::memcpy(&kernel().creationDates[name], bytes, sizeof(timespec));
    std::memcpy(&kernel().flagsOf[name], bytes + sizeof(timespec), sizeof(std::uint32_t));
    return 0;
}

int setattrlistat(int folder, const char* name, void* list, void* buffer, std::size_t size,
                  std::uint32_t options) {
    const std::lock_guard lock(recording);
    const auto& request = *static_cast<const attrlist*>(list);
    const auto* const bytes = static_cast<const std::uint8_t*>(buffer);
    kernel().listCalls.push_back({request, options, {bytes, bytes + size}});
    if (kernel().listError != 0) return failWith(kernel().listError);
    struct stat status {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return -1;
    if (request.commonattr == ATTR_CMN_FLAGS)
        std::memcpy(&kernel().flagsOf[name], buffer, sizeof(std::uint32_t));
    if (request.commonattr == ATTR_CMN_CRTIME)
        std::memcpy(&kernel().creationDates[name], buffer, sizeof(timespec));
    return 0;
}

int pthread_main_np(void) {
    const std::lock_guard lock(recording);
    return ::gettid() == ::getpid() ? 1 : 0;
}

int pthread_threadid_np(pthread_t thread, std::uint64_t* number) {
    const std::lock_guard lock(recording);
    if (thread != 0) return ESRCH;
    *number = static_cast<std::uint64_t>(::gettid());
    return 0;
}

int macos_fake_spawnattr_setflags(posix_spawnattr_t* attributes, short flags) {
    const std::lock_guard lock(recording);
    kernel().spawnFlags.push_back(flags);
    const int known = flags & ~POSIX_SPAWN_CLOEXEC_DEFAULT;
    return ::posix_spawnattr_setflags(attributes, static_cast<short>(known));
}

// Here it also does what the flag does, which the C library does not have.
int posix_spawn_file_actions_addinherit_np(posix_spawn_file_actions_t* actions, int file) {
    const std::lock_guard lock(recording);
    kernel().inherited.push_back(file);
    if (::fcntl(file, F_GETFD) < 0) return EBADF;
    return file == 2 ? ::posix_spawn_file_actions_addclosefrom_np(actions, 3) : 0;
}

char*** _NSGetEnviron(void) {
    const std::lock_guard lock(recording);
    static char** given = nullptr;
    given = kernel().environment.empty() ? environ : kernel().environment.data();
    return &given;
}

mach_port_t mach_task_self_ = 42;

kern_return_t mach_vm_remap(vm_map_t target, mach_vm_address_t* address, mach_vm_size_t size,
                            mach_vm_offset_t, int flags, vm_map_t source,
                            mach_vm_address_t sourceAddress, boolean_t copy, vm_prot_t*, vm_prot_t*,
                            vm_inherit_t inheritance) {
    if (target != mach_task_self_ || source != mach_task_self_) return 1;
    kernel().remaps.push_back({*address, sourceAddress, size, flags, copy, inheritance});
    if (kernel().refusesRemap) return 3;
    std::memcpy(reinterpret_cast<void*>(*address), reinterpret_cast<const void*>(sourceAddress),
                size);
    return KERN_SUCCESS;
}
}

int fcntl(int, int command, fstore_t* store) {
    const std::lock_guard lock(recording);
    kernel().preallocations.push_back(
        {command, store->fst_flags, store->fst_posmode, store->fst_offset, store->fst_length});
    return 0;
}
