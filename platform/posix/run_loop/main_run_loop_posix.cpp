#include "quillmoor/platform/main_run_loop.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <exception>
#include <list>
#include <mutex>
#include <thread>
#include <utility>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/ground/wake_descriptor_posix.h"
#include "quillmoor/platform/posix/run_loop/application_posix.h"
#include "quillmoor/platform/posix/run_loop/main_thread_posix.h"
#include "quillmoor/platform/posix/run_loop/system_exceptions_posix.h"
#include "quillmoor/platform/uncaught_exceptions.h"

namespace quillmoor::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

using Item = MainRunLoop::Item;
using Prepared = MainRunLoop::Prepared;

// Every item is for the default mode, and some are for the modal panel mode as well. Their numbers
// rise from item to item.
class Queue {
  public:
    void post(Prepared made) {
        std::unique_lock lock(mutex_);
        const bool alsoModal = made.front().alsoModal;
        made.front().number = ++lastNumber_;
        // Moved from list to list: posting must not need memory.
        items_.splice(items_.end(), made);
        // The descriptor stays readable until the queue is empty again, so one signal is enough.
        if (items_.size() == 1) default_.signal();
        if (alsoModal && ++modalCount_ == 1) modal_.signal();
        requestDrains(std::move(lock));
    }

    std::uint64_t lastNumber() {
        const std::lock_guard lock(mutex_);
        return lastNumber_;
    }

    // The oldest item for `mode` up to `number`, taken out; an empty list when there is none.
    Prepared take(RunLoopMode mode, std::uint64_t number) {
        Prepared taken;
        std::unique_lock lock(mutex_);
        auto item = items_.begin();
        if (mode == RunLoopMode::ModalPanel)
            item = modalCount_ == 0 ? items_.end()
                                    : std::find_if(items_.begin(), items_.end(),
                                                   [](const Item& each) { return each.alsoModal; });
        if (item == items_.end() || item->number > number) return taken;
        if (item->alsoModal && --modalCount_ == 0) modal_.clear();
        // The caller gets the list node itself: that needs no memory, and the function is destroyed
        // without the lock.
        taken.splice(taken.end(), items_, item);
        if (items_.empty()) default_.clear();
        // The function that was taken may run the system's run loop itself, or throw.
        requestDrains(std::move(lock));
        return taken;
    }

    void requestIsServed(RunLoopMode mode) {
        const std::lock_guard lock(mutex_);
        requested(mode) = false;
    }

    int descriptor(RunLoopMode mode) const {
        return mode == RunLoopMode::Default ? default_.get() : modal_.get();
    }

  private:
    bool& requested(RunLoopMode mode) { return requested_[mode == RunLoopMode::Default ? 0 : 1]; }

    // For each mode with work, where that has not been done since its last call.
    void requestDrains(std::unique_lock<std::mutex> lock) {
        const bool forDefault =
            !items_.empty() && !std::exchange(requested(RunLoopMode::Default), true);
        const bool forModal =
            modalCount_ != 0 && !std::exchange(requested(RunLoopMode::ModalPanel), true);
        lock.unlock();
        if (forDefault) posix::requestDrain(RunLoopMode::Default);
        if (forModal) posix::requestDrain(RunLoopMode::ModalPanel);
    }

    std::mutex mutex_;
    std::list<Item> items_;
    std::array<bool, 2> requested_{};
    std::size_t modalCount_ = 0;
    std::uint64_t lastNumber_ = 0;
    posix::WakeDescriptor default_;
    posix::WakeDescriptor modal_;
};

Queue& queue() {
    // Never destroyed: other threads may post while the process exits.
    static Queue* const shared = new Queue;
    return *shared;
}

// The top of the stack of modes: the mode of the innermost run(), else the default mode. Used by
// the main thread only.
RunLoopMode topMode = RunLoopMode::Default;

class ModeOnTop {
  public:
    explicit ModeOnTop(RunLoopMode mode) : below_(topMode) { topMode = mode; }
    ~ModeOnTop() { topMode = below_; }
    ModeOnTop(const ModeOnTop&) = delete;
    ModeOnTop& operator=(const ModeOnTop&) = delete;

  private:
    RunLoopMode below_;
};

// For poll(2): rounded up, so that the last wait does not become a busy loop, and at most a minute,
// so that no time is too large for an int.
int millisecondsUntil(steady_clock::time_point until) {
    const auto now = steady_clock::now();
    if (until <= now) return 0;
    constexpr milliseconds kLongest = std::chrono::minutes(1);
    if (until - now >= kLongest) return static_cast<int>(kLongest.count());
    return static_cast<int>(std::chrono::ceil<milliseconds>(until - now).count());
}

// Between two attempts to wait.
constexpr milliseconds kPause{10};

// poll(2), with a pause where it fails: a caller that tries again would not wait at all.
int pollOrPause(pollfd* polled, nfds_t count, int longest) {
    const int readable = posix::systemCalls().poll(polled, count, longest);
    if (readable < 0 && errno != EINTR)
        std::this_thread::sleep_for(longest < 0 ? kPause : std::min(kPause, milliseconds(longest)));
    return readable;
}

Prepared prepare(std::function<void()> function, bool alsoModal) {
    Prepared made;
    made.push_back({std::move(function), alsoModal, 0});
    return made;
}

// -1 when there are no descriptors for it: then no function can have been posted either.
int descriptorOfDefaultMode() {
    try {
        return MainRunLoop::descriptor(RunLoopMode::Default);
    } catch (const std::exception&) {
        return -1;
    }
}

}  // namespace

void MainRunLoop::postToAllModes(std::function<void()> function) {
    queue().post(prepare(std::move(function), true));
}

void MainRunLoop::postToDefaultMode(std::function<void()> function) {
    queue().post(prepare(std::move(function), false));
}

MainRunLoop::Prepared MainRunLoop::prepareForAllModes(std::function<void()> function) {
    queue();  // made here, where it may still fail
    return prepare(std::move(function), true);
}

MainRunLoop::Prepared MainRunLoop::prepareForDefaultMode(std::function<void()> function) {
    queue();
    return prepare(std::move(function), false);
}

void MainRunLoop::post(Prepared prepared) noexcept {
    queue().post(std::move(prepared));
}

int MainRunLoop::descriptor(RunLoopMode mode) {
    return queue().descriptor(mode);
}

void MainRunLoop::drain(RunLoopMode mode) {
    // A host calls this whenever the descriptor is readable, also from an event loop inside of a
    // modal run, during which functions for the default mode only must wait.
    if (topMode != mode) return;
    // Items that are posted meanwhile wait for the next call: otherwise a function that posts
    // itself again would keep the caller here.
    const std::uint64_t last = queue().lastNumber();
    for (auto item = queue().take(mode, last); !item.empty(); item = queue().take(mode, last))
        item.front().function();
}

void MainRunLoop::run(RunLoopMode mode, steady_clock::time_point until) {
    const ModeOnTop onTop(mode);
    for (;;) {
        // Once in any case, also when the time is over already.
        drain(mode);
        const int left = millisecondsUntil(until);
        if (left == 0) return;
        pollfd queued{descriptor(mode), POLLIN, 0};
        pollOrPause(&queued, 1, left);
    }
}

namespace posix {

std::optional<Exception> drainAsRequested(RunLoopMode mode) {
    queue().requestIsServed(mode);
    try {
        MainRunLoop::run(mode, steady_clock::time_point::min());
    } catch (...) {
        // The end of a thread that is cancelled, which must go on, is null.
        if (!std::current_exception() || isCurrentExceptionOfSystem()) throw;
        return currentException();
    }
    return std::nullopt;
}

void serveDefaultModeUntilReadable(int descriptor, int milliseconds) {
    const ModeOnTop onTop(RunLoopMode::Default);
    for (;;) {
        pollfd both[] = {{descriptor, POLLIN, 0}, {descriptorOfDefaultMode(), POLLIN, 0}};
        const bool canBePostedTo = both[1].fd >= 0;
        const int longest =
            canBePostedTo || milliseconds >= 0 ? milliseconds : static_cast<int>(kPause.count());
        const int readable = pollOrPause(both, 2, longest);
        const bool failed = readable < 0 && errno != EINTR;
        if (readable == 0 || both[0].revents != 0) return;
        if (canBePostedTo && (failed || both[1].revents != 0))
            MainRunLoop::drain(RunLoopMode::Default);
        if (failed) return;
    }
}

}  // namespace posix
}  // namespace quillmoor::platform
