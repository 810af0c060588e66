// The main thread's run loop, for programs without a toolkit and for hosts that have one.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>

namespace quillmoor::platform {

// Two modes. What is performed on the main thread goes to both; what must not run while a modal
// panel is up goes to the default mode only.
enum class RunLoopMode { Default, ModalPanel };

// Everything that does not post belongs to the main thread, which is the process's first.
class MainRunLoop {
  public:
    // Queues `function` for the modes; it runs once. From any thread.
    static void postToAllModes(std::function<void()> function);
    static void postToDefaultMode(std::function<void()> function);

    // The same in two steps, of which the second cannot fail.
    struct Item {
        std::function<void()> function;
        bool alsoModal = false;
        std::uint64_t number = 0;  // the run loop's
    };
    using Prepared = std::list<Item>;  // one item
    static Prepared prepareForAllModes(std::function<void()> function);
    static Prepared prepareForDefaultMode(std::function<void()> function);
    static void post(Prepared prepared) noexcept;

    // Runs what is queued for `mode`, and what is queued meanwhile, until `until`. The mode is on
    // top of the stack of modes as long as that lasts; calls may nest.
    static void run(RunLoopMode mode, std::chrono::steady_clock::time_point until);

    // For a program with a loop of its own: readable as long as something is queued for `mode`.
    // Call drain when it is. The descriptor belongs to the run loop and is never closed.
    static int descriptor(RunLoopMode mode);

    // Runs what is queued for `mode` now, unless another mode is on top. Functions may call run and
    // drain themselves.
    static void drain(RunLoopMode mode);
};

}  // namespace quillmoor::platform
