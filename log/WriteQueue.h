// A queue of texts and the one thread that writes them, one at a time, in the order of queueing.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string_view>
#include <thread>

#include "quillmoor/log/SpinLock.h"

namespace quillmoor {

// Unbounded: nothing is dropped and no caller waits for room. Texts are kept in blocks, so that a
// backlog costs little more than its text.
//
// A queue that was made is never destroyed: its thread is detached and goes on until the process
// ends.
class WriteQueue {
  public:
    // `write` is called on the worker, one call at a time; it must not throw. Throws
    // platform::Exception when no thread can be started.
    static WriteQueue* create(std::function<void(std::string_view)> write);

    // Queues a copy of `text`. From any thread; never waits for a write. Throws std::bad_alloc, and
    // has then queued nothing.
    void add(std::string_view text);

    // From now on only the calling thread and the worker queue texts: those of others are dropped.
    void acceptOnlyFromThisThread();

    // Texts queued or being written.
    std::size_t operationCount() const;

    // Waits until everything queued before the call has been written, and what had been queued by
    // then: what the writing itself adds is written too. Ends however much is added after that. On
    // the worker itself it returns at once, for there it would wait for itself.
    void waitUntilAllOperationsAreFinished();

  private:
    static constexpr std::size_t kCacheLine = 64;

    struct Block;

    // A chain of blocks, in order.
    struct Chain {
        Block* first = nullptr;
        Block* last = nullptr;
        bool empty() const { return first == nullptr; }
        void append(Block* block);
        Block* takeFirst();
    };

    explicit WriteQueue(std::function<void(std::string_view)> write);

    bool findRoom(std::size_t needed, Block*& fresh);
    bool isAccepted() const;
    void wakeWorker();
    void waitUntilQueuedIsWritten();
    void run();
    void waitForWork(bool untilWoken);
    bool takeQueued(Chain& taken, bool sleepIfEmpty);
    void writeBlock(Block& block);
    void finishOne();
    void recycle(Block* block);

    const std::function<void(std::string_view)> write_;
    std::atomic<std::thread::id> worker_{};

    // What callers change with every text, what the worker changes with every text, and what is
    // there for sleeping lie on cache lines of their own.
    alignas(kCacheLine) SpinLock lock_;  // of the rest of this line
    bool workerSleeps_ = false;          // it must be woken for new work
    bool isRestricted_ = false;          // to one thread
    Chain queued_;
    Chain spare_;
    std::size_t spareCount_ = 0;
    std::atomic<std::uint64_t> added_{0};

    alignas(kCacheLine) std::atomic<std::uint64_t> done_{0};

    // The least number of texts done that anybody waits for.
    static constexpr std::uint64_t kNobodyWaits = ~std::uint64_t{0};
    alignas(kCacheLine) std::atomic<std::uint64_t> awaited_{kNobodyWaits};
    std::thread::id accepted_{};  // the one thread that a restricted queue accepts texts from
    std::mutex sleepLock_;
    bool wakeRequested_ = false;
    std::condition_variable work_;
    std::condition_variable finished_;
};

}  // namespace quillmoor
