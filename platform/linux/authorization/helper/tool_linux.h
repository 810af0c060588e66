// Starting a tool.
#pragma once

#include "quillmoor/base/types.h"
#include "quillmoor/platform/linux/authorization/helper/receiver_linux.h"

namespace quillmoor::platform::linux_::authorization::helper {

// Starts the request's tool and does not wait for it. It has the request's standard streams and
// working folder, its own process group, default signals and nothing else from this process. Where
// it cannot enter that folder, it gets one from openEmptyFolder(). Returns 0 or the error number.
int startTool(const Request& request, const Environment& environment);

}  // namespace quillmoor::platform::linux_::authorization::helper
