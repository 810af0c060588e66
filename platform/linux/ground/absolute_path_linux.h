// Paths that do not depend on the working folder.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// The path from the root of the file system, without trailing slashes; nothing else is normalised.
// nil for an empty path, for one with a NUL, and where the working folder is unknown.
OptionalPath absolutePath(const std::string& path);

}  // namespace quillmoor::platform::linux_
