// Children whose task was released while they run.
#pragma once

#include <memory>

#include "quillmoor/platform/posix/process/child_posix.h"

namespace quillmoor::platform::posix {

// Collects the status of `child` as soon as it ends, on one thread for all such children. May be
// called from any thread; cannot fail. While that thread cannot be started, the children are kept,
// and each call of these two functions tries again.
void reapLater(std::shared_ptr<Child> child) noexcept;

// Does nothing when there are no children left over from a thread that could not be started.
void reapLeftOver() noexcept;

}  // namespace quillmoor::platform::posix
