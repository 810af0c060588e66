// Where the tools are that macOS has in fixed places.
#pragma once

#include <string>

#include "base/types.h"

namespace quillmoor::platform::linux_ {

// `path` itself where a program stands there, and for every tool that this project has no own of.
// Else the first trusted one of ownTools(), else `path`.
std::string toolPath(const std::string& path);

// Where this project's own tool `name` may be: in the bundle that holds this code, in the
// installation, and beside a program that was installed elsewhere.
StringList ownTools(const std::string& name);

}  // namespace quillmoor::platform::linux_
