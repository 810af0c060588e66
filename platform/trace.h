// What a build with the option KX_TRACE has besides: lines on standard error about what the library
// does. No other build compiles any of it.
#pragma once

#include "quillmoor/platform/platform.h"

namespace quillmoor::platform {

// Starts to trace the areas that the environment's KX_TRACE names, and returns the services, those
// that are traced replaced. Traces nothing where standard error is closed by now, and in a program
// that was given rights its starter does not have. Once in a process.
Platform traced(const Platform& services);

}  // namespace quillmoor::platform
