// The helper's session with its client.
#pragma once

#include "quillmoor/base/types.h"
#include "quillmoor/platform/linux/authorization/helper/client_linux.h"

namespace quillmoor::platform::linux_::authorization::helper {

// Called with each tool that was started and its arguments.
using ToolStarted = void (*)(const Client& client, const StringList& command);

// Greets the client and starts the tools that it requests, until it ends, closes its end, or
// anything arrives that is not a request of its own. Tools keep running after that. Each start is
// passed to `started` before the client gets the reply, so that no start is missing from the
// record.
void serve(const Client& client, ToolStarted started);

}  // namespace quillmoor::platform::linux_::authorization::helper
