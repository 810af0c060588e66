// The password database.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace quillmoor::platform::posix {

struct User {
    uid_t id = 0;
    std::string name;
    std::string home;
};

// From any thread. nil for a user whom the database does not know; a name that is empty or holds a
// NUL is nobody's.
std::optional<User> userWithId(uid_t id);
std::optional<User> userWithName(const std::string& name);

}  // namespace quillmoor::platform::posix
