// The helper's whole work, once it knows its client.
#pragma once

#include "platform/linux/rights/helper/client_linux.h"

namespace quillmoor::platform::linux_::rights::helper {

// Greets the client and starts the tools it asks for, until it ends, closes its end, or anything
// arrives that is not a request of its own. What runs then runs on.
void serve(const Client& client);

}  // namespace quillmoor::platform::linux_::rights::helper
