// A lock for a few instructions.
#pragma once

#include <atomic>
#include <thread>

namespace quillmoor {

// For std::lock_guard. Not reentrant. It may be held for a few instructions only, because waiters
// spin. Unlike a mutex it can be released in a child made by fork, by the copy of the thread that
// locked it. Throws nothing.
class SpinLock {
  public:
    void lock() {
        // Waiters only read until the flag is free: writing would take its cache line from the
        // holder.
        while (flag_.test_and_set(std::memory_order_acquire)) waitUntilFree();
    }
    void unlock() { flag_.clear(std::memory_order_release); }

  private:
    // Spins for a while, then yields: on a single processor the holder could not go on otherwise.
    void waitUntilFree() const {
        constexpr int kLooks = 100;
        for (int look = 0; flag_.test(std::memory_order_relaxed); ++look)
            if (look >= kLooks) std::this_thread::yield();
    }

    std::atomic_flag flag_;
};

}  // namespace quillmoor
