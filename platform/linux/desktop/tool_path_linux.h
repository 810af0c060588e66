// The paths of tools that have fixed paths on macOS.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// `path` itself where a program is there, and for every tool that this project does not bring. Else
// ownTool(), else `path`.
std::string toolPath(const std::string& path);

// The first of ownTools() that exists and that only root and this process's own user can replace;
// nil without one.
OptionalPath ownTool(const std::string& name);

// The same, but in the installation only.
OptionalPath installedTool(const std::string& name);

// The possible paths of this project's own tool `name`: in the bundle that has this code, in the
// installation, and beside a program that was installed elsewhere.
StringList ownTools(const std::string& name);

}  // namespace quillmoor::platform::linux_
