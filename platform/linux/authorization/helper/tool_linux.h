// Starting a tool.
#pragma once

#include "quillmoor/base/types.h"
#include "quillmoor/platform/linux/authorization/helper/receiver_linux.h"

namespace quillmoor::platform::linux_::authorization::helper {

// Starts the request's tool and does not wait for it. It has the request's standard streams and
// working folder, a process group of its own, default signals and nothing else of this process.
// Where it cannot enter that folder, it has one from openEmptyFolder(). An error number; 0 when it
// was started.
int startTool(const Request& request, const Environment& environment);

}  // namespace quillmoor::platform::linux_::authorization::helper
