// A lock that its holder may lock again.
//
//   constinit ReentrantLock lock;                 // usable before any constructor has run
//   const std::lock_guard guard(lock);            // needs <mutex>
#pragma once

#include <atomic>

#include "quillmoor/log/SpinLock.h"

namespace quillmoor {

// For std::lock_guard. Waiters spin and yield, so it must be held for a short time only. Each
// lock() needs its unlock() on the same thread. It needs no construction at run time, and a child
// made by fork can release what the forking thread has locked: a recursive mutex can do neither.
// Not fair: of several waiters any may be next. A thread that ends while it holds the lock leaves
// it locked. Throws nothing.
class ReentrantLock {
  public:
    void lock() {
        // No other thread can store this thread's mark, so an unlocked look is enough.
        if (holder_.load(std::memory_order_relaxed) != thisThread()) {
            lock_.lock();
            holder_.store(thisThread(), std::memory_order_relaxed);
        }
        ++depth_;
    }
    void unlock() {
        if (--depth_ != 0) return;
        // Before the lock is free: afterwards the next holder's mark would be overwritten.
        holder_.store(nullptr, std::memory_order_relaxed);
        lock_.unlock();
    }

  private:
    // The calling thread's mark. The copy of a thread in a forked child has the same one, unlike a
    // thread's number in the system.
    static const void* thisThread() {
        thread_local const char mark = 0;
        return &mark;
    }

    SpinLock lock_;
    std::atomic<const void*> holder_{nullptr};  // the holder's mark; null while unlocked
    unsigned depth_ = 0;                        // locks that await their unlock; the holder's alone
};

}  // namespace quillmoor
