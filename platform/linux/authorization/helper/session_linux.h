// The helper's whole work, once it knows its client.
#pragma once

#include "quillmoor/base/types.h"
#include "quillmoor/platform/linux/authorization/helper/client_linux.h"

namespace quillmoor::platform::linux_::authorization::helper {

// Called with each tool that was started and its arguments.
using ToolStarted = void (*)(const Client& client, const StringList& command);

// Greets the client and starts the tools it asks for, until it ends, closes its end, or anything
// arrives that is not a request of its own. What runs then runs on. Each start is passed to
// `started` before the client knows of it.
void serve(const Client& client, ToolStarted started);

}  // namespace quillmoor::platform::linux_::authorization::helper
