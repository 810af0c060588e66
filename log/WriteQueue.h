// A queue of texts and the one thread that writes them, one at a time, in the order of queueing.
//
//   WriteQueue* const queue = WriteQueue::create([](std::string_view text) { write(text); });
//   queue->add("a line");                       // from any thread; copies the text
//   queue->waitUntilAllOperationsAreFinished();
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

// Unbounded: nothing is dropped, and no caller waits for space. Texts are kept in blocks, so that a
// backlog needs little more memory than its text. Blocks that were written are used again, up to
// sixteen; a text larger than a block of 64 KiB has one of its own, which is freed.
//
// After its last text the worker polls every half millisecond for a tenth of a second, and then
// sleeps until it is woken: to wake it costs the caller of add more than the text does.
//
// A queue is never destroyed: its thread is detached and runs until the process exits. In a child
// made by fork that thread does not exist, and the queue must not be used.
class WriteQueue {
  public:
    // Makes a queue and starts its worker. `write` is called on the worker, one call at a time,
    // with a text that is valid during the call only; it must not throw. Throws platform::Exception
    // when no thread can be started, and std::bad_alloc; there is no queue then.
    static WriteQueue* create(std::function<void(std::string_view)> write);

    // Queues a copy of `text`, of which at most 4 GiB are kept. May be called from any thread, also
    // inside `write`; never waits for a write. After std::bad_alloc nothing was queued.
    void add(std::string_view text);

    // From now on only texts of the calling thread and of the worker are queued; those of other
    // threads are dropped and not reported. What is queued already is written. Cannot be undone.
    // For a process that is about to end.
    void acceptOnlyFromThisThread();

    // The number of texts that are queued or being written. May be outdated when it is returned.
    std::size_t operationCount() const;

    // Waits until everything queued before the call has been written, and then for what was queued
    // by that moment, so that texts which `write` itself adds are included. What is added later
    // does not extend the wait, which has no time limit. Returns at once on the worker, which would
    // wait for itself. Several threads may wait at the same time.
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

    // Under lock_.
    bool findRoom(std::size_t needed, Block*& fresh);
    bool isAccepted() const;
    void wakeWorker();
    void waitUntilQueuedIsWritten();

    // The worker's own.
    void run();
    void waitForWork(bool untilWoken);
    bool takeQueued(Chain& taken, bool sleepIfEmpty);
    void writeBlock(Block& block);
    void finishOne();
    void recycle(Block* block);

    const std::function<void(std::string_view)> write_;
    std::atomic<std::thread::id> worker_{};

    // On separate cache lines: what callers change with every text, what the worker changes with
    // every text, and what is only used for sleeping.
    alignas(kCacheLine) SpinLock lock_;  // guards the rest of this cache line
    bool workerSleeps_ = false;          // it must be woken for new work
    bool isRestricted_ = false;          // only texts of one thread are accepted
    Chain queued_;
    Chain spare_;
    std::size_t spareCount_ = 0;
    std::atomic<std::uint64_t> added_{0};

    alignas(kCacheLine) std::atomic<std::uint64_t> done_{0};

    // The smallest value of done_ that a thread waits for.
    static constexpr std::uint64_t kNoWaiter = ~std::uint64_t{0};
    alignas(kCacheLine) std::atomic<std::uint64_t> awaited_{kNoWaiter};
    std::thread::id accepted_{};  // the one thread from which a restricted queue accepts texts
    std::mutex sleepLock_;
    bool wakeRequested_ = false;
    std::condition_variable work_;
    std::condition_variable finished_;
};

}  // namespace quillmoor
