// What the helper is told when it is started.
#pragma once

#include <sys/types.h>

#include <optional>
#include <span>
#include <string>

namespace quillmoor::platform::linux_::authorization::helper {

struct Arguments {
    std::string path;  // the socket where the client waits
    uid_t uid = 0;     // the client's
    pid_t pid = -1;    // the client
};

// Of "--connect PATH --uid UID --pid PID" in this order; nil for anything else.
std::optional<Arguments> parseArguments(std::span<const char* const> arguments);

}  // namespace quillmoor::platform::linux_::authorization::helper
