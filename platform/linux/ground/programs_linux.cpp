#include "quillmoor/platform/linux/ground/programs_linux.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <optional>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/ground/environment_linux.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_ {
namespace {

constexpr char kStandardPath[] = "/usr/local/bin:/usr/bin:/bin";

bool isOurs(const struct stat& status) {
    return status.st_uid == 0 || status.st_uid == ::geteuid();
}

bool othersMayWrite(const struct stat& status) {
    return (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

// A folder that only we can change, or a sticky one such as /tmp, in which other users cannot
// replace our items.
bool guards(const struct stat& folder) {
    return isOurs(folder) && (!othersMayWrite(folder) || (folder.st_mode & S_ISVTX) != 0);
}

}  // namespace

// By the effective ids, with which the program would be started.
bool isProgram(const std::string& path) {
    struct stat status {};
    return path.find('\0') == std::string::npos &&
           posix::systemCalls().fstatat(AT_FDCWD, path.c_str(), &status, 0) == 0 &&
           S_ISREG(status.st_mode) && ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

OptionalPath findProgram(const std::string& name) {
    if (name.starts_with('/')) return isProgram(name) ? OptionalPath(name) : std::nullopt;
    if (name.empty() || name.find('/') != std::string::npos) return std::nullopt;
    for (const std::string& folder : foldersInEnvironment("PATH", kStandardPath)) {
        OptionalPath path = appendPathComponent(folder, name);
        if (isProgram(*path)) return path;
    }
    return std::nullopt;
}

// Checked and returned without links: another user may change one between check and start.
OptionalPath trustedProgram(const std::string& path) {
    if (!path.starts_with('/') || !isProgram(path)) return std::nullopt;
    const std::unique_ptr<char, decltype(&::free)> real(
        posix::systemCalls().realpath(path.c_str(), nullptr), &::free);
    if (real == nullptr) return std::nullopt;
    const std::string program(real.get());
    struct stat status {};
    if (posix::systemCalls().fstatat(AT_FDCWD, program.c_str(), &status, AT_SYMLINK_NOFOLLOW) !=
            0 ||
        // The canonical path has no links left; one that has appeared since is refused as not
        // regular.
        !S_ISREG(status.st_mode) || !isOurs(status) || othersMayWrite(status))
        return std::nullopt;
    // A sticky folder protects only items that are ours, so every folder on the path must be.
    for (std::string folder = program; folder != "/";) {
        folder = deleteLastPathComponent(folder);
        if (posix::systemCalls().fstatat(AT_FDCWD, folder.c_str(), &status, AT_SYMLINK_NOFOLLOW) !=
                0 ||
            !guards(status))
            return std::nullopt;
    }
    return program;
}

}  // namespace quillmoor::platform::linux_
