// What the main thread's run loop and its services share among themselves.
#pragma once

#include <chrono>
#include <functional>

namespace quillmoor::platform::posix {

// A hook, which the back-end's own folder defines: true in the process's first thread.
// Called by isMainThread, as long as no host has its own test.
bool isFirstThread();

// A host's own answer takes the place of isFirstThread.
bool isMainThread();
void setMainThreadTest(std::function<bool()> test);

// A host's own way to wait for its next event and to have it sent; YES when there was one.
void setNextEventOfHost(std::function<bool(std::chrono::milliseconds longest)> sendNextEvent);

// From now on a host tells when the application terminates, by calling the observers; the end of
// the process no longer does.
void leaveTerminationToHost();
void callTerminationObservers();

// Serves the run loop's default mode until `descriptor` is readable or `milliseconds` have passed;
// less than 0 is for ever. -1 is never readable. Returns sooner, but not at once, where the system
// has no descriptors or memory for the wait. On the main thread.
void serveDefaultModeUntilReadable(int descriptor, int milliseconds);

}  // namespace quillmoor::platform::posix
