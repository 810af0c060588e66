#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/tool_paths.h"

namespace quillmoor::platform {
namespace {

// The system has all of the tools, and protects them from being replaced.
class MacToolPaths : public ToolPaths {
  public:
    std::string toolPath(const std::string& path) override { return path; }
};

}  // namespace

ToolPaths* nativeToolPaths() {
    static auto* const toolPaths = new MacToolPaths;
    return toolPaths;
}

}  // namespace quillmoor::platform
