// The checks of a tool's path before it is started. They only make the report precise: what is
// at the path can change before the launch, which then fails.
#pragma once

#include "quillmoor/base/types.h"

namespace quillmoor::task_detail {

// True for an executable file, and for a folder that may be searched unless it is a package.
// Follows links. False for nil. Throws std::bad_alloc.
bool isLaunchable(const OptionalPath& path);

// As isLaunchable, after a check that something exists at the path.
bool existsAndIsLaunchable(const OptionalPath& path);

}  // namespace quillmoor::task_detail
