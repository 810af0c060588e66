#include "quillmoor/platform/linux/ground/environment_linux.h"

#include <stdlib.h>
#include <unistd.h>

#include <optional>

#include "quillmoor/platform/posix/ground/users_posix.h"

namespace quillmoor::platform::linux_ {

std::string withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return std::string(path);
}

OptionalPath absolutePathInEnvironment(const char* variable) {
    const char* value = ::secure_getenv(variable);
    if (value == nullptr || *value != '/') return std::nullopt;
    return withoutTrailingSlashes(value);
}

std::string homeOfThisProcess() {
    if (OptionalPath home = absolutePathInEnvironment("HOME")) return *home;
    const std::optional<posix::User> user = posix::userWithId(::geteuid());
    return user && user->home.starts_with('/') ? withoutTrailingSlashes(user->home) : "/";
}

StringList foldersInEnvironment(const char* variable, const char* standard) {
    const char* value = ::secure_getenv(variable);
    std::string_view rest = value != nullptr && *value != '\0' ? value : standard;
    StringList folders;
    while (!rest.empty()) {
        const std::string_view folder = rest.substr(0, rest.find(':'));
        rest.remove_prefix(folder.size());
        if (!rest.empty()) rest.remove_prefix(1);
        // The XDG Base Directory Specification has relative paths ignored. In PATH one would mean
        // the working folder, where another user may have put a program.
        if (folder.starts_with('/')) folders.push_back(withoutTrailingSlashes(folder));
    }
    return folders;
}

}  // namespace quillmoor::platform::linux_
