// Programs that this process may start.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// True for a regular file, links followed, that this process may execute.
bool isProgram(const std::string& path);

// For an absolute path, the path itself if a program is there. For a plain name, the first program
// of that name in the absolute folders of $PATH. nil for anything else.
OptionalPath findProgram(const std::string& name);

// The canonical path of the program at `path`, if only root and this process's effective user can
// replace it or any folder above it; nil otherwise.
OptionalPath trustedProgram(const std::string& path);

}  // namespace quillmoor::platform::linux_
