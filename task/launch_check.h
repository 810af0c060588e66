// What is asked of a tool's path before it is started.
#pragma once

#include "quillmoor/base/types.h"

namespace quillmoor::task_detail {

// An executable file, or a folder that may be searched, but no package.
bool isLaunchable(const OptionalPath& path);

// The same of a path where something exists.
bool existsAndIsLaunchable(const OptionalPath& path);

}  // namespace quillmoor::task_detail
