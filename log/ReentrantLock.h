// A lock that its holder may take again.
#pragma once

#include <atomic>

#include "quillmoor/log/SpinLock.h"

namespace quillmoor {

// Fit for std::lock_guard. Needs no construction at run time, and a child made by fork can release
// what the forking thread has locked: a recursive mutex can do neither.
class ReentrantLock {
  public:
    void lock() {
        if (holder_.load(std::memory_order_relaxed) != thisThread()) {
            lock_.lock();
            holder_.store(thisThread(), std::memory_order_relaxed);
        }
        ++depth_;
    }
    void unlock() {
        if (--depth_ != 0) return;
        holder_.store(nullptr, std::memory_order_relaxed);
        lock_.unlock();
    }

  private:
    // The same in a thread and in its copy in a child.
    static const void* thisThread() {
        thread_local const char mark = 0;
        return &mark;
    }

    SpinLock lock_;
    std::atomic<const void*> holder_{nullptr};
    unsigned depth_ = 0;
};

}  // namespace quillmoor
