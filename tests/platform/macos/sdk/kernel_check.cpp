// Pins the signatures and constants of the kernel's calls that only macOS has; security_check.cpp
// says how. The values are published in the manual pages of the calls and, but for the first group,
// in https://github.com/apple-oss-distributions/xnu, in the header that is named.
#include <crt_externs.h>
#include <errno.h>
#include <fcntl.h>
#include <mach/mach.h>
#include <mach/mach_vm.h>
#include <pthread.h>
#include <spawn.h>
#include <stdio.h>
#include <sys/acl.h>
#include <sys/attr.h>
#include <sys/clonefile.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace {

// pthread.h of https://github.com/apple-oss-distributions/libpthread.
static_assert(std::is_same_v<decltype(&::pthread_main_np), int (*)()>);
static_assert(
    std::is_invocable_r_v<int, decltype(&::pthread_threadid_np), pthread_t, std::uint64_t*>);

// bsd/sys/fcntl.h
static_assert(O_SYMLINK == 0x200000 && F_PREALLOCATE == 42);
static_assert(F_ALLOCATEALL == 4 && F_PEOFPOSMODE == 3);
static_assert(sizeof(fstore_t) == 32 && offsetof(fstore_t, fst_length) == 16 &&
              offsetof(fstore_t, fst_bytesalloc) == 24);

// bsd/sys/stdio.h: renameatx_np(2)
static_assert(RENAME_EXCL == 4);
static_assert(std::is_same_v<decltype(&::renameatx_np),
                             int (*)(int, const char*, int, const char*, unsigned)>);

// bsd/sys/clonefile.h: clonefile(2)
static_assert(CLONE_NOOWNERCOPY == 2);
static_assert(
    std::is_same_v<decltype(&::fclonefileat), int (*)(int, int, const char*, std::uint32_t)>);

// bsd/sys/xattr.h: getxattr(2)
static_assert(std::is_same_v<decltype(&::flistxattr), ssize_t (*)(int, char*, std::size_t, int)>);
static_assert(std::is_same_v<decltype(&::fgetxattr), ssize_t (*)(int, const char*, void*,
                                                                 std::size_t, std::uint32_t, int)>);
static_assert(std::is_same_v<decltype(&::fsetxattr), int (*)(int, const char*, const void*,
                                                             std::size_t, std::uint32_t, int)>);

// include/sys/acl.h of https://github.com/apple-oss-distributions/Libc: acl_get(3), acl_set(3),
// acl_free(3)
static_assert(ACL_TYPE_EXTENDED == 0x100);
static_assert(std::is_same_v<decltype(&::acl_get_fd_np), acl_t (*)(int, acl_type_t)>);
static_assert(std::is_same_v<decltype(&::acl_set_fd_np), int (*)(int, acl_t, acl_type_t)>);
static_assert(std::is_same_v<decltype(&::acl_free), int (*)(void*)>);

// bsd/sys/attr.h and unistd.h: getattrlist(2), setattrlist(2)
static_assert(sizeof(attrlist) == 24 && offsetof(attrlist, commonattr) == 4 &&
              offsetof(attrlist, dirattr) == 12);
static_assert(ATTR_BIT_MAP_COUNT == 5 && FSOPT_NOFOLLOW == 1);
static_assert(ATTR_CMN_CRTIME == 0x200 && ATTR_CMN_MODTIME == 0x400 && ATTR_CMN_FLAGS == 0x40000);
static_assert(ATTR_DIR_MOUNTSTATUS == 4 && DIR_MNTSTATUS_MNTPOINT == 1);
static_assert(std::is_same_v<decltype(&::getattrlistat),
                             int (*)(int, const char*, void*, void*, std::size_t, unsigned long)>);
static_assert(
    std::is_same_v<decltype(&::fgetattrlist), int (*)(int, void*, void*, std::size_t, unsigned)>);
static_assert(
    std::is_same_v<decltype(&::fsetattrlist), int (*)(int, void*, void*, std::size_t, unsigned)>);
static_assert(std::is_same_v<decltype(&::setattrlistat),
                             int (*)(int, const char*, void*, void*, std::size_t, std::uint32_t)>);

// bsd/sys/stat.h: chflags(2)
static_assert(UF_NODUMP == 1 && UF_HIDDEN == 0x8000);
static_assert(UF_IMMUTABLE == 2 && UF_APPEND == 4 && SF_IMMUTABLE == 0x20000);
static_assert(SF_APPEND == 0x40000 && SF_RESTRICTED == 0x80000 && SF_NOUNLINK == 0x100000);

// bsd/sys/spawn.h: posix_spawnattr_setflags(3), posix_spawn_file_actions_addinherit_np(3)
static_assert(POSIX_SPAWN_CLOEXEC_DEFAULT == 0x4000);
static_assert(std::is_same_v<decltype(&::posix_spawn_file_actions_addinherit_np),
                             int (*)(posix_spawn_file_actions_t*, int)>);

// crt_externs.h of https://github.com/apple-oss-distributions/Libc: environ(7)
static_assert(std::is_same_v<decltype(&::_NSGetEnviron), char*** (*)()>);

// osfmk/mach/vm_statistics.h, osfmk/mach/vm_inherit.h, osfmk/mach/mach_vm.defs
static_assert(KERN_SUCCESS == 0 && VM_FLAGS_FIXED == 0 && VM_FLAGS_OVERWRITE == 0x4000);
static_assert(VM_INHERIT_DEFAULT == 1);
static_assert(sizeof(mach_vm_address_t) == 8 && sizeof(mach_vm_size_t) == 8);
static_assert(
    std::is_invocable_r_v<kern_return_t, decltype(&::mach_vm_remap), vm_map_t, mach_vm_address_t*,
                          mach_vm_size_t, mach_vm_offset_t, int, vm_map_t, mach_vm_address_t,
                          boolean_t, vm_prot_t*, vm_prot_t*, vm_inherit_t>);

#ifdef __APPLE__
// bsd/sys/errno.h; here it has the number of Linux's own error.
static_assert(ENOATTR == 93);
#endif

}  // namespace
