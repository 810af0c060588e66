#include "quillmoor/platform/posix/ground/users_posix.h"

#include <pwd.h>

#include <cerrno>
#include <cstddef>
#include <vector>

namespace quillmoor::platform::posix {
namespace {

// Entries are short, but a directory service may send long ones; a larger one is not read.
constexpr std::size_t kLongestEntry = std::size_t{1} << 20;

std::string orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

// `query` is one of the getpw…_r functions with its key bound.
template <typename Query>
std::optional<User> find(Query query) {
    std::vector<char> buffer(1024);
    for (;;) {
        passwd entry{};
        passwd* found = nullptr;
        const int error = query(&entry, buffer.data(), buffer.size(), &found);
        if (found != nullptr) {
            return User{found->pw_uid, orEmpty(found->pw_name), orEmpty(found->pw_dir)};
        }
        if (error == EINTR) continue;
        // No error and no entry: the user is unknown.
        if (error != ERANGE || buffer.size() >= kLongestEntry) return std::nullopt;
        // getpwuid_r reports ERANGE without the size that it needs.
        buffer.resize(buffer.size() * 2);
    }
}

}  // namespace

std::optional<User> userWithId(uid_t id) {
    return find([id](passwd* entry, char* buffer, std::size_t size, passwd** found) {
        return ::getpwuid_r(id, entry, buffer, size, found);
    });
}

std::optional<User> userWithName(const std::string& name) {
    if (name.empty() || name.find('\0') != std::string::npos) return std::nullopt;
    return find([&name](passwd* entry, char* buffer, std::size_t size, passwd** found) {
        return ::getpwnam_r(name.c_str(), entry, buffer, size, found);
    });
}

}  // namespace quillmoor::platform::posix
