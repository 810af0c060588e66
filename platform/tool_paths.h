// The tools that the library starts.
#pragma once

#include <string>

namespace quillmoor::platform {

// May be called from any thread.
class ToolPaths {
  public:
    virtual ~ToolPaths() = default;

    // Where the tool that macOS keeps at `path` is on this system; `path` itself when there is no
    // such tool.
    virtual std::string toolPath(const std::string& path) = 0;
};

}  // namespace quillmoor::platform
