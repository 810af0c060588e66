// The main thread's run loop, for programs without a toolkit and for hosts that have one.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>

namespace quillmoor::platform {

// What is performed on the main thread is queued for both modes; what must not run while a modal
// panel is shown is queued for the default mode only.
enum class RunLoopMode { Default, ModalPanel };

// Functions that prepare or post may be called from any thread, all others from the main thread,
// the process's first. The first use makes the queue, which lives until the process exits; it
// throws platform::Exception when there are no descriptors for it.
class MainRunLoop {
  public:
    // Queues `function`, which runs once on the main thread. An exception in it leaves run or
    // drain.
    static void postToAllModes(std::function<void()> function);
    static void postToDefaultMode(std::function<void()> function);

    // The same in two steps, the second of which cannot fail.
    struct Item {
        std::function<void()> function;
        bool alsoModal = false;
        std::uint64_t number = 0;  // set by the run loop
    };
    using Prepared = std::list<Item>;  // one item
    static Prepared prepareForAllModes(std::function<void()> function);
    static Prepared prepareForDefaultMode(std::function<void()> function);
    static void post(Prepared prepared) noexcept;

    // Runs what is queued for `mode`, and what is queued meanwhile, until the time `until`. The
    // mode is on top of the stack of modes during that call; calls may nest.
    static void run(RunLoopMode mode, std::chrono::steady_clock::time_point until);

    // For a program with an event loop of its own: readable as long as something is queued for
    // `mode`. Call drain when it is. The descriptor belongs to the run loop and is never closed.
    static int descriptor(RunLoopMode mode);

    // Runs what is queued for `mode` at the time of the call, unless another mode is on top of the
    // stack. Functions may call run and drain themselves.
    static void drain(RunLoopMode mode);
};

}  // namespace quillmoor::platform
