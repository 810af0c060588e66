#include "quillmoor/platform/posix/trace/traced_calls_posix.h"

namespace quillmoor::platform::posix {

// This system's back-end has no table of calls of its own.
void traceOwnCalls(const TraceAreas&) {}

}  // namespace quillmoor::platform::posix
