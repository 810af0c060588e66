// Time-outs that last until the end of the run.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

#include "quillmoor/log/KXLog.h"
#include "quillmoor/platform/main_run_loop.h"
#include "tests/support/forwarding.h"

namespace quillmoor::test {

// Lets each thread that sleeps wait until the end, and counts the threads.
class HeldTimeouts {
  public:
    explicit HeldTimeouts(ScopedPlatform& platform)
        : platform_(platform),
          clockBefore_(platform->clock),
          mainThreadBefore_(platform->mainThread) {
        platform_->clock = &clock_;
        platform_->mainThread = &threads_;
    }
    // The log's worker asks the clock for each line that is still queued.
    ~HeldTimeouts() {
        KXLog::finishWriting();
        platform_->clock = clockBefore_;
        platform_->mainThread = mainThreadBefore_;
    }
    HeldTimeouts(const HeldTimeouts&) = delete;
    HeldTimeouts& operator=(const HeldTimeouts&) = delete;

    // Wakes the threads and serves them on the main thread until the last one is about to end. The
    // run loop exists from now on in each run, and its descriptors are allowed to stay.
    void end() {
        clock_.end();
        do
            platform::MainRunLoop::run(
                platform::RunLoopMode::Default,
                std::chrono::steady_clock::now() + std::chrono::milliseconds(1));
        while (threads_.running > 0);
    }

  private:
    class HeldClock : public ForwardingClock {
      public:
        void sleep(std::chrono::microseconds) override {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return over_; });
        }
        void end() {
            const std::lock_guard lock(mutex_);
            over_ = true;
            changed_.notify_all();
        }

      private:
        std::mutex mutex_;
        std::condition_variable changed_;
        bool over_ = false;
    };

    class CountedThreads : public ForwardingMainThread {
      public:
        std::atomic<int> running{0};
        void detachNewThread(std::function<void()> body) override {
            ForwardingMainThread::detachNewThread([counted = Counted(running), body] { body(); });
        }

      private:
        struct Counted {
            explicit Counted(std::atomic<int>& running) : count(running) { ++count; }
            Counted(const Counted& other) : count(other.count) { ++count; }
            ~Counted() { --count; }
            std::atomic<int>& count;
        };
    };

    ScopedPlatform& platform_;
    platform::Clock* const clockBefore_;
    platform::MainThread* const mainThreadBefore_;
    HeldClock clock_;
    CountedThreads threads_;
};

}  // namespace quillmoor::test
