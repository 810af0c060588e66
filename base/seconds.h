// Time-outs cut to whole seconds.
#pragma once

#include <chrono>

namespace quillmoor {

// The duration cut toward zero to whole seconds: 2.9 gives 2, 0.5 gives 0, -1.5 gives -1.
// Not-a-number gives 0. Values beyond 1e9 seconds (about 31 years) in either direction, infinity
// included, are clamped to that limit, so that a clock's time can be added without overflow. May be
// called from any thread. Throws nothing.
std::chrono::seconds wholeSeconds(std::chrono::duration<double> duration);

}  // namespace quillmoor
