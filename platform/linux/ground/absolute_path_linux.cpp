#include "quillmoor/platform/linux/ground/absolute_path_linux.h"

#include <filesystem>
#include <optional>
#include <system_error>

#include "quillmoor/platform/linux/ground/environment_linux.h"

namespace quillmoor::platform::linux_ {

OptionalPath absolutePath(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) return std::nullopt;
    if (path.starts_with('/')) return withoutTrailingSlashes(path);
    std::error_code error;
    const auto folder = std::filesystem::current_path(error);
    if (error) return std::nullopt;
    return withoutTrailingSlashes((folder / path).native());
}

}  // namespace quillmoor::platform::linux_
