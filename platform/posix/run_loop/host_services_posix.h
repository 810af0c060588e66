// The place where a host that has an event loop of its own is put under the main thread.
#pragma once

#include <chrono>
#include <functional>

namespace quillmoor::platform::posix {

struct HostServices {
    // True on the host's main thread. Without it, the process's first thread is the main thread.
    std::function<bool()> isMainThread;
    // Waits up to `longest` for the host's next user-interface event and has it sent, and serves
    // what is watched meanwhile. YES when there was one. Without it, a wait on the main thread
    // sends no events.
    std::function<bool(std::chrono::milliseconds longest)> sendNextEvent;
    // Has `drain` called on the main thread whenever `descriptor` is readable, for ever.
    std::function<void(int descriptor, std::function<void()> drain)> watch;
    // Has `callback` called once, on the main thread, when the application is about to terminate.
    std::function<void(std::function<void()> callback)> observeTermination;
};

// Joins the run loop's modes, the sending of events and the termination observers to the host.
// Once, on the main thread, before anything else of the library is used; the services are kept for
// ever.
void attachHost(const HostServices& host);

}  // namespace quillmoor::platform::posix
