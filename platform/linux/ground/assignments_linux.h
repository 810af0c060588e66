// Files of lines NAME=value with the shell's quoting: os-release and user-dirs.dirs.
#pragma once

#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// The value last assigned to `name`, without its quotes and escapes; nothing is expanded. nil when
// there is none. Comments and malformed lines are skipped.
OptionalString assignedValue(std::string_view text, std::string_view name);

}  // namespace quillmoor::platform::linux_
