// The calling thread's number in the system's own tools: a hook, which the back-end's folder
// defines. Cannot fail. Called for each line on the console.
#pragma once

#include <cstdint>

namespace quillmoor::platform::posix {

std::uint64_t currentThreadId();

}  // namespace quillmoor::platform::posix
