// The number by which the system's own tools name a thread. Defined in the folder of the system.
#pragma once

#include <cstdint>

namespace quillmoor::platform::posix {

std::uint64_t currentThreadId();

}  // namespace quillmoor::platform::posix
