#include "quillmoor/platform/main_thread.h"

#include <poll.h>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <limits>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/main_run_loop.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/error_text_posix.h"
#include "quillmoor/platform/posix/ground/signals_blocked_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/ground/thread_posix.h"
#include "quillmoor/platform/posix/run_loop/application_posix.h"
#include "quillmoor/platform/posix/run_loop/main_thread_posix.h"

namespace quillmoor::platform {
namespace posix {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Hosts take their timeout as an int.
constexpr milliseconds kLongestWait{std::numeric_limits<int>::max()};

// Lets another thread wait until a function has returned or thrown.
class Completion {
  public:
    void set() {
        const std::lock_guard lock(mutex_);
        done_ = true;
        changed_.notify_all();
    }
    void wait() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return done_; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool done_ = false;
};

using TerminationObserver = void (*)();

// The observers of the end, which the host or the system's application announces, or without both
// the exit of the process.
class TerminationObservers {
  public:
    void add(TerminationObserver observer) {
        const std::lock_guard lock(mutex_);
        if (std::find(observers_.begin(), observers_.end(), observer) != observers_.end()) return;
        observers_.push_back(observer);
        if (hostTells_) return;
        if (!std::exchange(observesApplication_, true))
            observeApplicationEnd(callTerminationObservers);
        // Once for the process: what atexit(3) has registered cannot be taken back, so the function
        // itself looks whether a host or an application announces the end.
        if (!atExit_) atExit_ = std::atexit(atEndOfProcess) == 0;
    }

    void remove(TerminationObserver observer) {
        const std::lock_guard lock(mutex_);
        std::erase(observers_, observer);
    }

    void leaveToHost() {
        const std::lock_guard lock(mutex_);
        hostTells_ = true;
    }

    // Calls each one once. The lock is not held meanwhile: an observer may add and remove others.
    void call() {
        std::vector<TerminationObserver> toCall;
        {
            const std::lock_guard lock(mutex_);
            toCall = observers_;
        }
        for (const TerminationObserver observer : toCall)
            if (takeOut(observer)) observer();
    }

  private:
    static void atEndOfProcess();

    bool hostTells() {
        const std::lock_guard lock(mutex_);
        return hostTells_;
    }
    // True for one caller only, so that an observer is called once even when two threads announce
    // the end.
    bool takeOut(TerminationObserver observer) {
        const std::lock_guard lock(mutex_);
        return std::erase(observers_, observer) != 0;
    }

    std::mutex mutex_;
    std::vector<TerminationObserver> observers_;
    bool hostTells_ = false;
    bool observesApplication_ = false;
    bool atExit_ = false;
};

TerminationObservers& terminationObservers() {
    static auto* const shared = new TerminationObservers;
    return *shared;
}

void TerminationObservers::atEndOfProcess() {
    if (!terminationObservers().hostTells() && !hasApplication()) terminationObservers().call();
}

// Set before any other use, so it needs no lock; empty in a program without a host.
std::function<bool()>& mainThreadTest() {
    static auto* const test = new std::function<bool()>;
    return *test;
}

// Likewise.
std::function<bool(milliseconds)>& nextEventOfHost() {
    static auto* const sendNextEvent = new std::function<bool(milliseconds)>;
    return *sendNextEvent;
}

// The host watches the default mode's descriptor: with work queued for that mode only, which must
// not run while the modal mode is on top, its wait would return at once, again and again.
bool onlyDefaultModeHasWork() {
    pollfd modes[] = {{MainRunLoop::descriptor(RunLoopMode::Default), POLLIN, 0},
                      {MainRunLoop::descriptor(RunLoopMode::ModalPanel), POLLIN, 0}};
    return systemCalls().poll(modes, 2, 0) > 0 && modes[0].revents != 0 && modes[1].revents == 0;
}

// False when there are no descriptors for it: then no function can have been posted either.
bool hasRunLoop() {
    try {
        return MainRunLoop::descriptor(RunLoopMode::Default) >= 0;
    } catch (const Exception&) {
        return false;
    }
}

bool sendNextEventOfHost(milliseconds longest) {
    const auto until = steady_clock::now() + longest;
    struct State {
        bool sent = false;
        bool hostWaits = true;
    };
    // The call of the host is queued behind everything that waits for the modal mode, and runs with
    // that mode on top. When a queued function throws, the call stays in the queue; `state` has
    // then been released and it does nothing.
    const auto state = std::make_shared<State>();
    MainRunLoop::postToAllModes([longest, weak = std::weak_ptr(state)] {
        const auto asked = weak.lock();
        if (asked == nullptr) return;
        asked->hostWaits = !onlyDefaultModeHasWork();
        asked->sent = nextEventOfHost()(asked->hostWaits ? longest : milliseconds::zero());
    });
    MainRunLoop::run(RunLoopMode::ModalPanel, steady_clock::now());
    // Runs what was queued meanwhile, and waits here where the host could not.
    MainRunLoop::run(RunLoopMode::ModalPanel, state->hostWaits ? steady_clock::now() : until);
    return state->sent;
}

class PosixMainThread final : public MainThread {
  public:
    bool isMainThread() override { return posix::isMainThread(); }

    void performOnMainThread(std::function<void()> function, WaitUntilDone wait) override {
        if (wait == WaitUntilDone::No) return MainRunLoop::postToAllModes(std::move(function));
        if (isMainThread()) return function();
        const auto completion = std::make_shared<Completion>();
        // By reference, since this thread waits until the call is over.
        MainRunLoop::postToAllModes([&function, completion] {
            struct Done {
                Completion& completion;
                ~Done() { completion.set(); }
            } const done{*completion};
            function();
        });
        completion->wait();
    }

    PreparedCall prepareCall(std::function<void()> function) override {
        return MainRunLoop::prepareForAllModes(std::move(function));
    }

    void queue(PreparedCall call) noexcept override { MainRunLoop::post(std::move(call)); }

    bool sendNextEvent(milliseconds longest) override {
        if (!isMainThread()) return false;
        longest = std::clamp(longest, milliseconds::zero(), kLongestWait);
        const bool isServed = hasRunLoop();
        if (!nextEventOfHost() && hasApplication()) {
            // In order, and also where the wait is none.
            if (isServed) MainRunLoop::run(RunLoopMode::ModalPanel, steady_clock::now());
            return sendNextEventOfApplication(longest);
        }
        if (!isServed) {
            // As long as the wait would take: callers repeat it, and must not become busy.
            std::this_thread::sleep_for(longest);
            return false;
        }
        if (nextEventOfHost()) return sendNextEventOfHost(longest);
        MainRunLoop::run(RunLoopMode::ModalPanel, steady_clock::now() + longest);
        return false;
    }

    void detachNewThread(std::function<void()> body) override {
        const SignalsBlocked blocked;
        try {
            Thread(std::move(body)).detach();
        } catch (const std::system_error& error) {
            throw Exception("NSGenericException",
                            "no thread could be started: " + systemErrorText(error.code().value()));
        }
    }

    void addTerminationObserver(void (*observer)()) override {
        terminationObservers().add(observer);
    }

    void removeTerminationObserver(void (*observer)()) override {
        terminationObservers().remove(observer);
    }
};

}  // namespace

bool isMainThread() {
    return mainThreadTest() ? mainThreadTest()() : isFirstThread();
}

void setMainThreadTest(std::function<bool()> test) {
    mainThreadTest() = std::move(test);
}

void setNextEventOfHost(std::function<bool(milliseconds)> sendNextEvent) {
    nextEventOfHost() = std::move(sendNextEvent);
}

void leaveTerminationToHost() {
    terminationObservers().leaveToHost();
}

void callTerminationObservers() {
    terminationObservers().call();
}

}  // namespace posix

MainThread* nativeMainThread() {
    static MainThread* const mainThread = new posix::PosixMainThread;
    return mainThread;
}

}  // namespace quillmoor::platform
