#include "quillmoor/platform/posix/fs/scoped_directory_posix.h"

#include <errno.h>

#include <algorithm>
#include <string>
#include <utility>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// Takes the first component off the path; "" between two slashes.
std::string_view takeComponent(std::string_view& path) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view name = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    return name;
}

// What the system's call would refuse, or, as with "a/..", would not: both ways agree on it.
int checkPath(const std::string& path) {
    if (path.find('\0') != std::string::npos) return ENOENT;
    if (!fitsOneCall(path)) return ENAMETOOLONG;
    if (path.starts_with('/')) return EXDEV;
    for (std::string_view rest = path; !rest.empty();)
        if (takeComponent(rest) == "..") return EXDEV;
    return 0;
}

int openNext(int root, const char* name, Descriptor& folder) {
    Descriptor opened(systemCalls().openat(root, name, kReadFolder, 0));
    if (!opened) return errno;
    folder = std::move(opened);
    return 0;
}

// Each step starts from the folder that the one before has opened, and follows no link, so that a
// folder that is renamed or swapped meanwhile cannot lead out.
int openStepByStep(int root, std::string_view path, Descriptor& folder) {
    Descriptor at;
    int error = openNext(root, ".", at);
    while (error == 0 && !path.empty()) {
        const std::string name(takeComponent(path));
        if (!name.empty()) error = openNext(at.get(), name.c_str(), at);
    }
    if (error == 0) folder = std::move(at);
    return error;
}

}  // namespace

int openFolderBeneath(int root, std::string_view path, Descriptor& folder) {
    const std::string checked(path);
    if (const int error = checkPath(checked); error != 0) return error;
    if (!checked.empty()) {
        Descriptor opened(systemCalls().openBeneath(root, checked.c_str()));
        const int error = opened ? 0 : errno;
        if (opened) folder = std::move(opened);
        // Old kernels lack the call, some sandboxes forbid it, and it gives up when folders are
        // renamed under it.
        if (error != ENOSYS && error != EPERM && error != EAGAIN) return error;
    }
    return openStepByStep(root, checked, folder);
}

}  // namespace quillmoor::platform::posix
