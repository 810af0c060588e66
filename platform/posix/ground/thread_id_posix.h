// The number by which the system's own tools name a thread: a hook, which the back-end's own folder
// defines. Called for each line on the console.
#pragma once

#include <cstdint>

namespace quillmoor::platform::posix {

std::uint64_t currentThreadId();

}  // namespace quillmoor::platform::posix
