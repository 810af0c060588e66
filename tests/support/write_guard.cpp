#include "tests/support/write_guard.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/support/call_tables.h"

namespace quillmoor::test {
namespace {

using platform::posix::Descriptor;

std::mutex mutex;
std::vector<std::string> roots;
std::set<std::pair<dev_t, ino_t>> deepFolders;

const SystemCalls& native() {
    return platform::posix::nativeSystemCalls();
}

// Call with the mutex locked.
bool isBelowRoot(std::string_view path) {
    return std::any_of(roots.begin(), roots.end(), [path](const std::string& root) {
        return path == root || path.starts_with(root + "/");
    });
}

bool isAllowed(std::string_view path) {
    const std::lock_guard lock(mutex);
    return isBelowRoot(path);
}

// Returns the path of an open item; empty, with errno, if the path is too long for the kernel.
std::string pathOf(int file) {
    char path[PATH_MAX + 1];
    const std::string self = "/proc/self/fd/" + std::to_string(file);
    const ssize_t size = ::readlink(self.c_str(), path, sizeof path);
    return size < 0 ? "" : std::string(path, static_cast<std::size_t>(size));
}

// For a folder whose path is too long, the deepest folder above it that has a path decides.
// Results are kept, so that a walk through a deep tree climbs only one step for each folder.
bool isDeepFolderAllowed(int folder) {
    Descriptor above;
    std::set<std::pair<dev_t, ino_t>> climbed;
    for (int at = folder;; at = above.get()) {
        struct stat status;
        if (::fstat(at, &status) != 0) return false;
        climbed.emplace(status.st_dev, status.st_ino);
        const std::string path = pathOf(at);
        const std::lock_guard lock(mutex);
        if (path.empty() ? deepFolders.contains({status.st_dev, status.st_ino})
                         : isBelowRoot(path)) {
            deepFolders.merge(climbed);
            return true;
        }
        if (!path.empty()) return false;
        above = Descriptor(::openat(at, "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!above) return false;
    }
}

bool isFolderAllowed(int folder, std::string& path) {
    path = pathOf(folder);
    if (path.empty() && errno == ENAMETOOLONG) return isDeepFolderAllowed(folder);
    return isAllowed(path);
}

bool refuse(const char* call, const std::string& path) {
    ADD_FAILURE() << call << " outside the test's own folders: " << path;
    errno = EPERM;
    return false;
}

// Items that are not in a file system, such as pipes, have no path and may be changed.
bool mayChangeFile(const char* call, int file) {
    struct stat status;
    if (::fstat(file, &status) != 0 || S_ISCHR(status.st_mode)) return true;
    std::string path;
    if (S_ISDIR(status.st_mode) ? isFolderAllowed(file, path) : isAllowed(path = pathOf(file)))
        return true;
    const bool isNowhere = !path.starts_with('/') && !S_ISDIR(status.st_mode);
    if (isNowhere) return true;
    return refuse(call, path);
}

bool mayChangeFolder(const char* call, int folder, std::string_view name) {
    std::string path;
    if (isFolderAllowed(folder, path)) return true;
    return refuse(call, path + "/" + std::string(name));
}

enum class Follow : bool { No, Yes };

bool mayChange(const char* call, int folder, const std::string& name, Follow follow, int depth = 0);

// Checks the target of a link.
bool mayChangeTarget(const char* call, int folder, const std::string& name, int depth) {
    char target[PATH_MAX];
    const ssize_t size = ::readlinkat(folder, name.c_str(), target, sizeof target);
    if (size < 0) return true;
    const std::string text(target, static_cast<std::size_t>(size));
    return mayChange(call, folder, text, Follow::Yes, depth + 1);
}

// Checks the entry `name` and, if a final link is followed, the link's target.
bool mayChange(const char* call, int folder, const std::string& name, Follow follow, int depth) {
    if (name.empty()) return mayChangeFile(call, folder);
    const std::size_t end = name.find_last_not_of('/');
    const std::string trimmed = end == std::string::npos ? "/" : name.substr(0, end + 1);
    const std::size_t slash = trimmed.rfind('/');
    const std::string parent = slash == std::string::npos ? "." : trimmed.substr(0, slash + 1);
    const std::string last = slash == std::string::npos ? trimmed : trimmed.substr(slash + 1);
    const Descriptor opened(::openat(folder, parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    // The call itself fails in the same way.
    if (!opened) return true;
    struct stat status;
    const bool exists = ::fstatat(opened.get(), last.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    if (exists && S_ISLNK(status.st_mode) && follow == Follow::Yes && depth < 40)
        return mayChangeTarget(call, opened.get(), last, depth);
    if (exists && S_ISCHR(status.st_mode) && follow == Follow::Yes) return true;
    return mayChangeFolder(call, opened.get(), last);
}

Follow followUnless(int flags, int noFollow) {
    return (flags & noFollow) != 0 ? Follow::No : Follow::Yes;
}

int guardedOpen(int folder, const char* name, int flags, mode_t mode) {
    const bool writes = (flags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC)) != 0;
    if (writes && !mayChange("openat", folder, name, followUnless(flags, O_NOFOLLOW | O_EXCL)))
        return -1;
    return native().openat(folder, name, flags, mode);
}

// For calls on a descriptor.
template <auto Call, typename... Arguments>
int guardedFile(const char* call, int file, Arguments... arguments) {
    return mayChangeFile(call, file) ? (native().*Call)(file, arguments...) : -1;
}

// For calls that change the entry itself, including a link.
template <auto Call, typename... Arguments>
int guardedEntry(const char* call, int folder, const char* name, Arguments... arguments) {
    if (!mayChange(call, folder, name, Follow::No)) return -1;
    return (native().*Call)(folder, name, arguments...);
}

// For calls that follow a link unless a flag forbids it.
template <auto Call, typename... Arguments>
int guardedItem(const char* call, int folder, const char* name, int flags, Arguments... arguments) {
    if (!mayChange(call, folder, name, followUnless(flags, AT_SYMLINK_NOFOLLOW))) return -1;
    return (native().*Call)(folder, name, arguments..., flags);
}

bool mayChangeBoth(const char* call, int folder, const char* name, int newFolder,
                   const char* newName) {
    return mayChange(call, folder, name, Follow::No) &&
           mayChange(call, newFolder, newName, Follow::No);
}

SystemCalls guardedCalls() {
    SystemCalls calls = native();
    calls.openat = guardedOpen;
    calls.ftruncate = [](int file, off_t size) {
        return guardedFile<&SystemCalls::ftruncate>("ftruncate", file, size);
    };
    calls.fchmod = [](int file, mode_t mode) {
        return guardedFile<&SystemCalls::fchmod>("fchmod", file, mode);
    };
    calls.fchown = [](int file, uid_t owner, gid_t group) {
        return guardedFile<&SystemCalls::fchown>("fchown", file, owner, group);
    };
    calls.futimens = [](int file, const struct timespec times[2]) {
        return guardedFile<&SystemCalls::futimens>("futimens", file, times);
    };
    calls.fsetxattr = [](int file, const char* name, const void* value, std::size_t size) {
        return guardedFile<&SystemCalls::fsetxattr>("fsetxattr", file, name, value, size);
    };
    calls.cloneFile = [](int from, int folder, const char* name, bool* cloned) {
        if (!mayChange("cloneFile", folder, name, Follow::No)) return -1;
        return native().cloneFile(from, folder, name, cloned);
    };
    calls.mkdirat = [](int folder, const char* name, mode_t mode) {
        return guardedEntry<&SystemCalls::mkdirat>("mkdirat", folder, name, mode);
    };
    calls.mkfifoat = [](int folder, const char* name, mode_t mode) {
        return guardedEntry<&SystemCalls::mkfifoat>("mkfifoat", folder, name, mode);
    };
    calls.unlinkat = [](int folder, const char* name, int flags) {
        return guardedEntry<&SystemCalls::unlinkat>("unlinkat", folder, name, flags);
    };
    calls.symlinkat = [](const char* target, int folder, const char* name) {
        if (!mayChange("symlinkat", folder, name, Follow::No)) return -1;
        return native().symlinkat(target, folder, name);
    };
    calls.linkat = [](int folder, const char* name, int newFolder, const char* newName, int flags) {
        if (!mayChangeBoth("linkat", folder, name, newFolder, newName)) return -1;
        return native().linkat(folder, name, newFolder, newName, flags);
    };
    calls.renameat = [](int folder, const char* name, int newFolder, const char* newName) {
        if (!mayChangeBoth("renameat", folder, name, newFolder, newName)) return -1;
        return native().renameat(folder, name, newFolder, newName);
    };
    calls.renameNoReplace = [](int folder, const char* name, int newFolder, const char* newName) {
        if (!mayChangeBoth("renameNoReplace", folder, name, newFolder, newName)) return -1;
        return native().renameNoReplace(folder, name, newFolder, newName);
    };
    calls.fchmodat = [](int folder, const char* name, mode_t mode, int flags) {
        return guardedItem<&SystemCalls::fchmodat>("fchmodat", folder, name, flags, mode);
    };
    calls.fchownat = [](int folder, const char* name, uid_t owner, gid_t group, int flags) {
        return guardedItem<&SystemCalls::fchownat>("fchownat", folder, name, flags, owner, group);
    };
    calls.utimensat = [](int folder, const char* name, const struct timespec times[2], int flags) {
        return guardedItem<&SystemCalls::utimensat>("utimensat", folder, name, flags, times);
    };
    return calls;
}

LinuxCalls guardedLinuxCalls() {
    LinuxCalls calls = platform::linux_::nativeLinuxCalls();
    calls.setItemFlags = [](int file, int flags) {
        if (!mayChangeFile("setItemFlags", file)) return -1;
        return platform::linux_::nativeLinuxCalls().setItemFlags(file, flags);
    };
    return calls;
}

std::string realPath(const std::string& path) {
    char* resolved = ::realpath(path.c_str(), nullptr);
    if (resolved == nullptr) return path;
    std::string result(resolved);
    ::free(resolved);
    return result;
}

}  // namespace

void installWriteGuard() {
    static const SystemCalls calls = guardedCalls();
    static const LinuxCalls linuxCalls = guardedLinuxCalls();
    exchangeCallTables({&calls, &linuxCalls});
}

AllowWritesBelow::AllowWritesBelow(const std::string& path) : root_(realPath(path)) {
    const std::lock_guard lock(mutex);
    roots.push_back(root_);
}

AllowWritesBelow::~AllowWritesBelow() {
    const std::lock_guard lock(mutex);
    deepFolders.clear();
    roots.erase(std::find(roots.begin(), roots.end(), root_));
}

}  // namespace quillmoor::test
