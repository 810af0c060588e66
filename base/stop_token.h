// A request to stop, made by one thread and seen by others. It replaces std::stop_token, which
// older standard libraries lack.
//
//   StopSource source;
//   std::thread worker([token = source.token()] { while (!token.isStopRequested()) step(); });
//   source.requestStop();   // returns at once; the worker ends after the step in progress
#pragma once

#include <atomic>
#include <memory>
#include <utility>

namespace quillmoor {

// Shows the request that is made through its source, also after the source was destroyed. A token
// without a source never shows one. Any thread may query and copy a token while others do the same.
class StopToken {
  public:
    // Without a source.
    StopToken() = default;

    // A thread for which this returns true also sees everything that was written before the
    // request.
    bool isStopRequested() const {
        return requested_ != nullptr && requested_->load(std::memory_order_acquire);
    }

  private:
    friend class StopSource;
    explicit StopToken(std::shared_ptr<const std::atomic<bool>> requested)
        : requested_(std::move(requested)) {}

    std::shared_ptr<const std::atomic<bool>> requested_;
};

// Makes the request, which cannot be withdrawn. Copies share it, and so do their tokens. Any thread
// may call each function. The constructor throws std::bad_alloc; nothing else throws.
class StopSource {
  public:
    StopSource() : requested_(std::make_shared<std::atomic<bool>>(false)) {}

    // A token that shows this source's request, also one that was made before.
    StopToken token() const { return StopToken(requested_); }
    // Makes the request and returns at once. What runs ends when it looks at its token next; a
    // thread that sleeps is not woken. Further calls change nothing.
    void requestStop() const { requested_->store(true, std::memory_order_release); }
    // As that of the tokens.
    bool isStopRequested() const { return requested_->load(std::memory_order_acquire); }

  private:
    // Never null: a source is copied, but not moved out of.
    const std::shared_ptr<std::atomic<bool>> requested_;
};

}  // namespace quillmoor
