// The main thread's side of the system's application framework. Its functions are hooks, which the
// back-end's folder defines, but for drainAsRequested.
#pragma once

#include <chrono>
#include <optional>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/main_run_loop.h"

namespace quillmoor::platform::posix {

// Has the system's own run loop call drainAsRequested(mode) once on the main thread, when it next
// runs in `mode`; for ModalPanel also when it follows the mouse. Called from any thread; there is
// at most one request for each mode. Does nothing where the system has no run loop: MainRunLoop's
// callers serve the queue then.
void requestDrain(RunLoopMode mode) noexcept;

// Runs what is queued for `mode`, with that mode on top. What is queued later is requested again.
// Returns the exception that left a queued function, if any; the functions behind that one stay
// requested. An exception of the system's own passes.
std::optional<Exception> drainAsRequested(RunLoopMode mode);

// Whether the process has the framework's application object. Called from any thread.
bool hasApplication();

// Waits up to `longest` for the application's next user-interface event, in the mode of modal
// panels, and sends it. What is requested for that mode is drained meanwhile. Returns true when
// there was an event. Called on the main thread, and only where there is an application.
bool sendNextEventOfApplication(std::chrono::milliseconds longest);

// Has `callback` called on the main thread each time an application announces that it will
// terminate, also one that is made later. Called once, from any thread.
void observeApplicationEnd(void (*callback)());

}  // namespace quillmoor::platform::posix
