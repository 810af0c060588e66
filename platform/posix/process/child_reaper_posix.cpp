#include "quillmoor/platform/posix/process/child_reaper_posix.h"

#include <poll.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/ground/wake_descriptor_posix.h"

namespace quillmoor::platform::posix {
namespace {

// How often children without an exit descriptor are polled.
constexpr std::chrono::milliseconds kLookAgain{100};

// Linked through the children themselves: none is lost for lack of memory.
class ChildList {
  public:
    bool isEmpty() const { return first_ == nullptr; }
    const Child* first() const { return first_.get(); }

    void add(std::shared_ptr<Child> child) {
        child->next = std::move(first_);
        first_ = std::move(child);
    }

    void takeAll(ChildList& other) {
        while (!other.isEmpty()) add(other.takeFirst());
    }

    void collectEnded() {
        ChildList running;
        while (!isEmpty()) {
            std::shared_ptr<Child> child = takeFirst();
            if (child->isRunning()) running.add(std::move(child));
        }
        first_ = std::move(running.first_);
    }

  private:
    std::shared_ptr<Child> takeFirst() {
        std::shared_ptr<Child> child = std::move(first_);
        first_ = std::move(child->next);
        return child;
    }

    std::shared_ptr<Child> first_;
};

// Owns the children that were given to it until each has ended, and the one thread that collects
// them.
class ChildReaper {
  public:
    void add(std::shared_ptr<Child> child) noexcept {
        const std::lock_guard lock(mutex_);
        given_.add(std::move(child));
        handOver();
    }

    void tryAgain() noexcept {
        const std::lock_guard lock(mutex_);
        if (!given_.isEmpty()) handOver();
    }

  private:
    // Hands the children to the thread. Where none can be started, those that still run wait for
    // the next call.
    void handOver() noexcept {
        try {
            if (!wake_) wake_.emplace();
            if (!running_) nativeMainThread()->detachNewThread([this] { run(); });
            running_ = true;
            wake_->signal();
        } catch (const std::exception&) {
            given_.collectEnded();
        }
    }

    void run() noexcept {
        for (;;) {
            takeGiven();
            waitForChange();
            watched_.collectEnded();
        }
    }

    void takeGiven() {
        // Before the list is taken: a child that is added later signals again.
        wake_->clear();
        const std::lock_guard lock(mutex_);
        watched_.takeAll(given_);
    }

    void waitForChange() {
        try {
            if (pollAll() >= 0 || errno == EINTR) return;
        } catch (const std::bad_alloc&) {
        }
        // Where poll fails at once, the loop would otherwise use a whole processor.
        std::this_thread::sleep_for(kLookAgain);
    }

    int pollAll() {
        // A child without an exit descriptor has -1, which poll(2) ignores.
        polled_.assign(1, {wake_->get(), POLLIN, 0});
        bool allReport = true;
        for (const Child* child = watched_.first(); child != nullptr; child = child->next.get()) {
            polled_.push_back({child->exitDescriptor(), POLLIN, 0});
            allReport = allReport && child->exitDescriptor() >= 0;
        }
        return systemCalls().poll(polled_.data(), static_cast<nfds_t>(polled_.size()),
                                  allReport ? -1 : static_cast<int>(kLookAgain.count()));
    }

    std::mutex mutex_;
    ChildList given_;
    bool running_ = false;
    std::optional<WakeDescriptor> wake_;  // made once, before the thread
    // Of the thread alone.
    ChildList watched_;
    std::vector<pollfd> polled_;
};

// Never destroyed, since the thread outlives main(), and made without an allocation.
ChildReaper& reaper() {
    alignas(ChildReaper) static std::byte storage[sizeof(ChildReaper)];
    static auto* const shared = new (storage) ChildReaper;
    return *shared;
}

}  // namespace

void reapLater(std::shared_ptr<Child> child) noexcept {
    reaper().add(std::move(child));
}

void reapLeftOver() noexcept {
    reaper().tryAgain();
}

}  // namespace quillmoor::platform::posix
