// Files of lines NAME=value in the shell's way of quoting: os-release and user-dirs.dirs.
#pragma once

#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// The value last assigned to `name`, its quotes and backslashes taken off; nothing is expanded.
// nil when there is none. Comments and damaged lines are passed over.
OptionalString assignedValue(std::string_view text, std::string_view name);

}  // namespace quillmoor::platform::linux_
