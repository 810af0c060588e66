// The process that the helper works for.
#pragma once

#include <sys/types.h>

#include <optional>

#include "quillmoor/platform/linux/authorization/helper/arguments_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization::helper {

struct Client {
    pid_t pid = -1;
    uid_t uid = 0;
    posix::Descriptor process;  // readable when it has ended
    posix::Descriptor socket;   // the system passes the sender's credentials with each message
};

// True when this process descends from the client. `invoker` is the user named by the launching
// program, which must be the client's; null if it names none.
bool wasStartedBy(const Arguments& client, const char* invoker);

// Connects to the client; nil when the socket's process is not exactly the expected one.
std::optional<Client> connectToClient(const Arguments& expected);

}  // namespace quillmoor::platform::linux_::authorization::helper
