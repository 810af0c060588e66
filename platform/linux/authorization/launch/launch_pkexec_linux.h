// Starting the helper through polkit's launcher.
#pragma once

#include <optional>

#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"
#include "quillmoor/platform/linux/authorization/channel/rendezvous_linux.h"

namespace quillmoor::platform::linux_::authorization {

enum class PkexecEnd {
    Helped,       // the helper has connected
    NoAuthority,  // polkit is not installed, or does not respond
    NoAgent,      // no authentication agent can ask the user
    Confined,     // this process may not gain privileges
    Dismissed,
    Refused
};

// Makes one request, with at most one dialog. The launcher itself never asks on the terminal.
// `conversation` is served meanwhile; it may be null.
PkexecEnd runPkexec(Rendezvous& rendezvous, std::optional<Channel>& channel,
                    Conversation* conversation);

}  // namespace quillmoor::platform::linux_::authorization
