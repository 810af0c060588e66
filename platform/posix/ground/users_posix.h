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

// May be called from any thread. nil for an unknown user, also for a name that is empty or has a
// NUL, and when the database cannot be read.
std::optional<User> userWithId(uid_t id);
std::optional<User> userWithName(const std::string& name);

}  // namespace quillmoor::platform::posix
