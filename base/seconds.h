// Time-outs cut to whole seconds.
#pragma once

#include <chrono>

namespace quillmoor {

// Cut toward zero: 2.9 gives 2, 0.5 gives 0, -1.5 gives -1. Not-a-number gives 0; what no integer
// holds is clamped.
std::chrono::seconds wholeSeconds(std::chrono::duration<double> duration);

}  // namespace quillmoor
