// The identity and ancestry of the process at the other end of a socket. The helper is built from
// this as well.
#pragma once

#include <sys/types.h>

#include <optional>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

struct Peer {
    pid_t pid = -1;
    uid_t uid = 0;
    // A pidfd: it identifies the process also after its number was reused.
    posix::Descriptor process;
};

// The process that made the other end of a connected socket; nil when it has ended or cannot be
// identified.
std::optional<Peer> peerOf(int socket);

// True when the process has ended, whether or not its status was collected.
bool hasEnded(const posix::Descriptor& process);

// True when `process` is `ancestor` or a descendant of it. False where that cannot be determined.
bool descendsFrom(pid_t process, pid_t ancestor);

}  // namespace quillmoor::platform::linux_::authorization
