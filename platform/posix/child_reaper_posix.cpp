#include "platform/posix/child_reaper_posix.h"

#include <poll.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/native_services.h"
#include "platform/posix/system_calls_posix.h"
#include "platform/posix/wake_descriptor_posix.h"

namespace quillmoor::platform::posix {
namespace {

// How often children without an exit descriptor are looked after.
constexpr int kLookAgainMilliseconds = 100;

class ChildReaper {
  public:
    void add(std::shared_ptr<Child> child) {
        const std::lock_guard lock(mutex_);
        given_.push_back(std::move(child));
        if (!running_) {
            nativeMainThread()->detachNewThread([this] { run(); });
            running_ = true;
        }
        wake_.signal();
    }

  private:
    void run() {
        for (;;) {
            takeGiven();
            waitForChange();
            collectEnded();
        }
    }

    void takeGiven() {
        wake_.clear();
        const std::lock_guard lock(mutex_);
        std::move(given_.begin(), given_.end(), std::back_inserter(watched_));
        given_.clear();
    }

    // Afterwards polled_ holds an entry for each child watched, and one for the wake descriptor.
    void waitForChange() {
        polled_.clear();
        bool allTell = true;
        for (const auto& child : watched_) {
            polled_.push_back({child->exitDescriptor(), POLLIN, 0});
            allTell = allTell && child->exitDescriptor() >= 0;
        }
        polled_.push_back({wake_.get(), POLLIN, 0});
        systemCalls().poll(polled_.data(), static_cast<nfds_t>(polled_.size()),
                           allTell ? -1 : kLookAgainMilliseconds);
    }

    void collectEnded() {
        std::size_t index = 0;
        std::erase_if(watched_, [this, &index](const std::shared_ptr<Child>& child) {
            const pollfd& told = polled_[index++];
            return (told.fd < 0 || told.revents != 0) && !child->isRunning();
        });
    }

    std::mutex mutex_;
    std::vector<std::shared_ptr<Child>> given_;
    bool running_ = false;
    WakeDescriptor wake_;
    // Of the thread alone.
    std::vector<std::shared_ptr<Child>> watched_;
    std::vector<pollfd> polled_;
};

ChildReaper& reaper() {
    static ChildReaper* const shared = new ChildReaper;
    return *shared;
}

}  // namespace

void reapLater(std::shared_ptr<Child> child) noexcept {
    try {
        reaper().add(std::move(child));
    } catch (const std::exception&) {
        return;  // it stays listed, or uncollected
    }
}

}  // namespace quillmoor::platform::posix
