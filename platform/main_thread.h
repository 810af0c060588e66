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

    // Queues `function` for the run loop of the main thread, in every mode. With Yes it returns
    // when the function has returned; on the main thread it is then called at once. An exception in
    // it is not caught.
    virtual void performOnMainThread(std::function<void()> function, WaitUntilDone wait) = 0;

    // performOnMainThread with No in two steps, the second of which cannot fail: for a function
    // that must run even when there is no memory by then. A call is queued once.
    virtual PreparedCall prepareCall(std::function<void()> function) = 0;
    virtual void queue(PreparedCall call) noexcept = 0;

    // Runs the run loop in its modal panel mode for one event: waits up to `longest` for the
    // application's next user-interface event and sends it. What is performed on the main thread
    // runs meanwhile; what is queued for the default mode only does not. Events may call this
    // again. What an event throws reaches the caller; what the system's framework raises in one is
    // thrown as Exception. Returns true when there was an event. Without a host or an application
    // of the system's framework it waits for `longest` and returns false; on any other thread it
    // returns false at once.
    virtual bool sendNextEvent(std::chrono::milliseconds longest) = 0;

    // Starts a thread that blocks every signal and is never joined. Throws platform::Exception when
    // none can be started.
    virtual void detachNewThread(std::function<void()> body) = 0;

    // Has `observer` called once when the application is about to terminate: on the main thread
    // when the host or the application announces it, and in a program without both on the thread
    // that calls exit.
    // Adding a function again has no effect. No lock is held while an observer runs.
    virtual void addTerminationObserver(void (*observer)()) = 0;
    virtual void removeTerminationObserver(void (*observer)()) = 0;
};

}  // namespace quillmoor::platform
