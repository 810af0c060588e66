// Joining a host with its own event loop to the main thread's services.
#pragma once

#include <chrono>
#include <functional>

namespace quillmoor::platform::posix {

struct HostServices {
    // True on the host's main thread. Without it, the process's first thread is the main thread.
    std::function<bool()> isMainThread;
    // Waits up to `longest` for the host's next user-interface event and sends it, and serves the
    // watched descriptors meanwhile. Returns true when there was an event. Without this function, a
    // wait on the main thread sends no events.
    std::function<bool(std::chrono::milliseconds longest)> sendNextEvent;
    // From now on, until the process exits, calls `drain` on the main thread whenever `descriptor`
    // is readable.
    std::function<void(int descriptor, std::function<void()> drain)> watch;
    // Calls `callback` once, on the main thread, when the application is about to terminate.
    std::function<void(std::function<void()> callback)> observeTermination;
};

// Joins the run loop's modes, the sending of events and the termination observers to the host.
// Called once, on the main thread, before anything else of the library is used. The services are
// kept until the process exits. Throws platform::Exception when there are no descriptors for the
// run loop.
void attachHost(const HostServices& host);

}  // namespace quillmoor::platform::posix
