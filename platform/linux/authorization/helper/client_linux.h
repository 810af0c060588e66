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
    posix::Descriptor socket;   // who sends is told with all that arrives
};

// Was this process started by a child of the client, or of one of its children? `invoker` is the
// user that the program which granted the rights names, null if it names none.
bool wasStartedBy(const Arguments& client, const char* invoker);

// Connects to the client; nil when somebody else waits there.
std::optional<Client> connectToClient(const Arguments& expected);

}  // namespace quillmoor::platform::linux_::authorization::helper
