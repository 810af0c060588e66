// Who a process is that this one talks to, and whose child. The helper is built from this as well.
#pragma once

#include <sys/types.h>

#include <optional>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

struct Peer {
    pid_t pid = -1;
    uid_t uid = 0;
    // Names the process for as long as it is open, also when the number has been given out anew.
    posix::Descriptor process;
};

// The process that made the other end of a connected socket; nil when that cannot be told or it has
// ended.
std::optional<Peer> peerOf(int socket);

// It is no more, or has ended and nobody has asked for its status yet.
bool hasEnded(const posix::Descriptor& process);

// `process` is `ancestor`, or a child of it, or of one of those. NO where it cannot be told.
bool descendsFrom(pid_t process, pid_t ancestor);

}  // namespace quillmoor::platform::linux_::authorization
