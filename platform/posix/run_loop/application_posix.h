// The main thread's side of the system's application framework. Its functions are hooks, which the
// back-end's folder defines, but for drainAsRequested.
#pragma once

#include "quillmoor/platform/main_run_loop.h"

namespace quillmoor::platform::posix {

// Has the system's own run loop call drainAsRequested(mode) once on the main thread, when it next
// runs in `mode`; for ModalPanel also when it follows the mouse. Called from any thread; there is
// at most one request for each mode. Does nothing where the system has no run loop: MainRunLoop's
// callers serve the queue then.
void requestDrain(RunLoopMode mode) noexcept;

// Runs what is queued for `mode`, with that mode on top. What is queued later is requested again.
// An exception in a queued function leaves it; the functions behind that one stay requested.
void drainAsRequested(RunLoopMode mode);

}  // namespace quillmoor::platform::posix
