// The place where a host that has an event loop of its own is put under the main thread.
#pragma once

#include <functional>

namespace quillmoor::platform::posix {

struct HostServices {
    // True on the host's main thread. Without it, the process's first thread is the main thread.
    std::function<bool()> isMainThread;
    // Has `drain` called on the main thread whenever `descriptor` is readable, for ever.
    std::function<void(int descriptor, std::function<void()> drain)> watch;
    // Has `callback` called once, on the main thread, when the application is about to terminate.
    std::function<void(std::function<void()> callback)> observeTermination;
};

// Joins the run loop's default mode and the termination observers to the host. Once, on the main
// thread, before anything else of the library is used; the services are kept for ever.
void attachHost(const HostServices& host);

}  // namespace quillmoor::platform::posix
