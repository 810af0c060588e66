// Programs that this process may start.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// A regular file, links followed, that this process may execute.
bool isProgram(const std::string& path);

// An absolute path: itself if a program is there. A plain name: the first program of that name in
// the absolute folders of $PATH. Anything else is not found.
OptionalPath findProgram(const std::string& name);

// The canonical path of the program at `path` when nobody but the super-user and this process's own
// effective user can exchange it or any folder above it; nil otherwise.
OptionalPath trustedProgram(const std::string& path);

}  // namespace quillmoor::platform::linux_
