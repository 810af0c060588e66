// Making an application known to Launch Services.
#pragma once

#include <cstdint>
#include <string>

namespace quillmoor::platform::macos {

// As Applications::registerApplication; the status is the system's own, -1 where it has no such
// call any more.
std::int32_t registerWithLaunchServices(const std::string& path);

}  // namespace quillmoor::platform::macos
