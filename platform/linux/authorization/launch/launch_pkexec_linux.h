// Having the helper started by polkit's launcher.
#pragma once

#include <optional>

#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"
#include "quillmoor/platform/linux/authorization/channel/rendezvous_linux.h"

namespace quillmoor::platform::linux_::authorization {

enum class PkexecEnd {
    Helped,       // the channel is there
    NoAuthority,  // no polkit on this system, or none that answers
    NoAgent,      // nobody is there to ask the user
    Confined,     // this process may not gain privileges
    Dismissed,
    Refused
};

// One request, with one dialog at most. The launcher never asks on the terminal by itself. A
// conversation is held meanwhile if there is one.
PkexecEnd runPkexec(Rendezvous& rendezvous, std::optional<Channel>& channel,
                    Conversation* conversation);

}  // namespace quillmoor::platform::linux_::authorization
