// The tools that the library starts.
#pragma once

#include <string>

namespace quillmoor::platform {

// May be called from any thread.
class ToolPaths {
  public:
    virtual ~ToolPaths() = default;

    // The path of the tool that macOS has at `path`: `path` itself where a program is there, else
    // this project's own tool, unless another user can exchange it; `path` where there is neither.
    virtual std::string toolPath(const std::string& path) = 0;
};

}  // namespace quillmoor::platform
