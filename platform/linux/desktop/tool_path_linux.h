// Where the tools are that macOS has in fixed places.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// `path` itself where a program stands there, and for every tool that this project has no own of.
// Else ownTool(), else `path`.
std::string toolPath(const std::string& path);

// The first of ownTools() that is there and that nobody but the super-user and this process's own
// user can exchange; nil without one.
OptionalPath ownTool(const std::string& name);

// The same, but in the installation only.
OptionalPath installedTool(const std::string& name);

// Where this project's own tool `name` may be: in the bundle that holds this code, in the
// installation, and beside a program that was installed elsewhere.
StringList ownTools(const std::string& name);

}  // namespace quillmoor::platform::linux_
