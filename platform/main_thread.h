// The main thread, threads beside it, and the end of the program.
#pragma once

#include <chrono>
#include <functional>

#include "quillmoor/platform/main_run_loop.h"

namespace quillmoor::platform {

enum class WaitUntilDone : bool { No, Yes };

// A call for the main thread that has not been queued yet. It may be dropped.
using PreparedCall = MainRunLoop::Prepared;

// May be called from any thread.
class MainThread {
  public:
    virtual ~MainThread() = default;

    virtual bool isMainThread() = 0;

    // Has the run loop of the main thread run `function`, in every mode. With Yes it returns when
    // that is done; on the main thread it then runs at once. An exception in it is not caught.
    virtual void performOnMainThread(std::function<void()> function, WaitUntilDone wait) = 0;

    // performOnMainThread with No in two steps, of which the second cannot fail: for what must run
    // even when there is no memory by then. A call is queued once.
    virtual PreparedCall prepareCall(std::function<void()> function) = 0;
    virtual void queue(PreparedCall call) noexcept = 0;

    // The run loop in its modal panel mode for one event: waits up to `longest` for the
    // application's next user-interface event and has it sent. What is performed on the main thread
    // runs meanwhile, what waits for the default mode alone does not. Events may call this again.
    // YES when the host had an event. Without a host there are none, and `longest` passes. On the
    // main thread; elsewhere it answers NO at once.
    virtual bool sendNextEvent(std::chrono::milliseconds longest) = 0;

    // A thread that blocks every signal and that nobody joins.
    virtual void detachNewThread(std::function<void()> body) = 0;

    // `observer` is called once, on the main thread, when the application is about to terminate:
    // the host says when, and in a program without one the normal end of the process does.
    // One observer function is kept once, however often it is added.
    virtual void addTerminationObserver(void (*observer)()) = 0;
    virtual void removeTerminationObserver(void (*observer)()) = 0;
};

}  // namespace quillmoor::platform
