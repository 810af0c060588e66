// A request to stop, made by one thread and seen by others. It takes the place of the standard's
// own, which older standard libraries lack.
#pragma once

#include <atomic>
#include <memory>
#include <utility>

namespace quillmoor {

// Sees the request made through the source that it is from, also when the source is gone; without a
// source no stop is ever requested. Any thread may ask and copy it, while others do the same.
class StopToken {
  public:
    StopToken() = default;

    // A thread that sees the request sees all that was written before it was made.
    bool isStopRequested() const {
        return requested_ != nullptr && requested_->load(std::memory_order_acquire);
    }

  private:
    friend class StopSource;
    explicit StopToken(std::shared_ptr<const std::atomic<bool>> requested)
        : requested_(std::move(requested)) {}

    std::shared_ptr<const std::atomic<bool>> requested_;
};

// Makes the request, for good. Copies share it, and so do their tokens. Any thread may call each
// function. To make a source may throw std::bad_alloc; nothing else throws.
class StopSource {
  public:
    StopSource() : requested_(std::make_shared<std::atomic<bool>>(false)) {}

    StopToken token() const { return StopToken(requested_); }
    void requestStop() const { requested_->store(true, std::memory_order_release); }
    bool isStopRequested() const { return requested_->load(std::memory_order_acquire); }

  private:
    // Never null: a source is copied, but not moved out of.
    const std::shared_ptr<std::atomic<bool>> requested_;
};

}  // namespace quillmoor
