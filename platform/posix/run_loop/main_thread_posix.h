// Functions shared by the main thread's run loop and its services.
#pragma once

#include <chrono>
#include <functional>

namespace quillmoor::platform::posix {

// A hook, which the back-end's folder defines: true in the process's first thread. Called by
// isMainThread, from any thread, unless a host has set its own test.
bool isFirstThread();

// The main thread is the host's where it has set a test, else the process's first.
bool isMainThread();
void setMainThreadTest(std::function<bool()> test);

// Sets the host's function that waits for its next event and sends it; it returns true when there
// was one. Set before any other use.
void setNextEventOfHost(std::function<bool(std::chrono::milliseconds longest)> sendNextEvent);

// From now on a host announces the termination of the application by calling the observers; the
// exit of the process no longer calls them.
void leaveTerminationToHost();
void callTerminationObservers();

// Serves the run loop's default mode until `descriptor` is readable or `milliseconds` have passed;
// a negative time is no limit. The descriptor -1 is never readable. Where the system has no
// descriptors or memory for the wait, it returns sooner, but after a pause. On the main thread.
void serveDefaultModeUntilReadable(int descriptor, int milliseconds);

}  // namespace quillmoor::platform::posix
