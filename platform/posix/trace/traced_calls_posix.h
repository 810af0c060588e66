// The table of system calls that writes a line about each call.
#pragma once

#include "quillmoor/platform/posix/trace/trace_areas_posix.h"

namespace quillmoor::platform::posix {

// Puts calls in force that trace these areas and go on to those in force now. Once in a process.
void traceSystemCalls(const TraceAreas& areas);

// A hook, the same for the calls that only one system has. The back-end's own folder defines it,
// where the library is built with the option KX_TRACE.
void traceOwnCalls(const TraceAreas& areas);

}  // namespace quillmoor::platform::posix
