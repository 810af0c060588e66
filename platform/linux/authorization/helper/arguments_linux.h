// The helper's arguments.
#pragma once

#include <sys/types.h>

#include <optional>
#include <span>
#include <string>

namespace quillmoor::platform::linux_::authorization::helper {

struct Arguments {
    std::string path;  // of the client's socket
    uid_t uid = 0;     // the client's user
    pid_t pid = -1;    // the client's process
};

// Parses "--connect PATH --uid UID --pid PID" in this order; nil for anything else.
std::optional<Arguments> parseArguments(std::span<const char* const> arguments);

}  // namespace quillmoor::platform::linux_::authorization::helper
