// The working folder of a tool that cannot have its client's.
#pragma once

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization::helper {

// A folder that no path leads to: it is empty, nothing can be made in it, and every relative path
// fails there, also for root. Invalid, with errno set, where it cannot be made.
posix::Descriptor openEmptyFolder();

}  // namespace quillmoor::platform::linux_::authorization::helper
