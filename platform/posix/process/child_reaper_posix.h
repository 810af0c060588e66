// Children that nobody waits for.
#pragma once

#include <memory>

#include "quillmoor/platform/posix/process/child_posix.h"

namespace quillmoor::platform::posix {

// Has the status of `child` collected as soon as it ends, by one thread for all such children. From
// any thread; never fails. While that thread cannot be started, the children are kept, and each
// call of these two functions tries again.
void reapLater(std::shared_ptr<Child> child) noexcept;

// Does nothing when there are no children left over from a thread that could not be started.
void reapLeftOver() noexcept;

}  // namespace quillmoor::platform::posix
