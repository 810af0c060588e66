// The run loop that serves the main thread in the contracts.
#pragma once

#include "quillmoor/platform/main_run_loop.h"

namespace quillmoor::platform {

// Runs the system's own run loop of the main thread for some milliseconds; null where it has none.
inline void (*serveOfSystem)(RunLoopMode mode) = nullptr;

}  // namespace quillmoor::platform
