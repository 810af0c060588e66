// Children that nobody waits for.
#pragma once

#include <memory>

#include "platform/posix/child_posix.h"

namespace quillmoor::platform::posix {

// Has the status of `child` collected as soon as it ends, by one thread for all such children. From
// any thread; never fails, but without memory or threads a child stays uncollected until another
// one is given up.
void reapLater(std::shared_ptr<Child> child) noexcept;

}  // namespace quillmoor::platform::posix
