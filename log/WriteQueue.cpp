#include "quillmoor/log/WriteQueue.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "quillmoor/platform/platform.h"

namespace quillmoor {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{64} << 10;
constexpr std::size_t kSpareBlocks = 16;

// Waking a sleeping worker costs a caller some microseconds. So for a while after the last text the
// worker polls for work at this interval; only then it sleeps until it is woken.
constexpr auto kNap = std::chrono::microseconds(500);
constexpr int kNapsBeforeSleep = 200;

// The type of an entry's length; a longer text is cut to its maximum, 4 GiB.
using Length = std::uint32_t;

}  // namespace

// Entries without gaps between them: the length, then the text. Lengths are therefore unaligned,
// and are only read and written by memcpy.
struct WriteQueue::Block {
    std::size_t capacity;
    std::size_t used = 0;
    Block* next = nullptr;

    static Block* create(std::size_t capacity);

    char* bytes() { return reinterpret_cast<char*>(this + 1); }
    bool fits(std::size_t needed) const { return capacity - used >= needed; }

    void append(std::string_view text) {
        const auto length = static_cast<Length>(text.size());
        std::memcpy(bytes() + used, &length, sizeof length);
        std::memcpy(bytes() + used + sizeof length, text.data(), text.size());
        used += sizeof length + text.size();
    }
};

WriteQueue::Block* WriteQueue::Block::create(std::size_t capacity) {
    return new (::operator new(sizeof(Block) + capacity)) Block{capacity};
}

void WriteQueue::Chain::append(Block* block) {
    (empty() ? first : last->next) = block;
    last = block;
}

WriteQueue::Block* WriteQueue::Chain::takeFirst() {
    Block* block = first;
    first = std::exchange(block->next, nullptr);
    return block;
}

WriteQueue* WriteQueue::create(std::function<void(std::string_view)> write) {
    std::unique_ptr<WriteQueue> queue(new WriteQueue(std::move(write)));
    platform::current().mainThread->detachNewThread([made = queue.get()] { made->run(); });
    return queue.release();
}

WriteQueue::WriteQueue(std::function<void(std::string_view)> write) : write_(std::move(write)) {}

// Ensures that the last queued block has room. Returns false when a block must be allocated first,
// which is not done under the lock: callers would spin meanwhile.
bool WriteQueue::findRoom(std::size_t needed, Block*& fresh) {
    if (!queued_.empty() && queued_.last->fits(needed)) return true;
    if (fresh == nullptr && needed <= kBlockBytes && !spare_.empty()) {
        fresh = spare_.takeFirst();
        --spareCount_;
    }
    if (fresh == nullptr) return false;
    queued_.append(std::exchange(fresh, nullptr));
    return true;
}

void WriteQueue::add(std::string_view text) {
    text = text.substr(0, std::numeric_limits<Length>::max());
    const std::size_t needed = sizeof(Length) + text.size();
    Block* fresh = nullptr;
    std::unique_lock lock(lock_);
    if (isRestricted_ && !isAccepted()) return;
    // Meanwhile other threads may have filled that block, or the worker taken it: look again.
    while (!findRoom(needed, fresh)) {
        lock.unlock();
        fresh = Block::create(std::max(kBlockBytes, needed));
        lock.lock();
    }
    queued_.last->append(text);
    added_.store(added_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    const bool wake = std::exchange(workerSleeps_, false);
    lock.unlock();
    if (wake) wakeWorker();
    // Another thread's block had room after all.
    if (fresh != nullptr) recycle(fresh);
}

void WriteQueue::acceptOnlyFromThisThread() {
    const std::lock_guard guard(lock_);
    accepted_ = std::this_thread::get_id();
    isRestricted_ = true;
}

bool WriteQueue::isAccepted() const {
    const std::thread::id caller = std::this_thread::get_id();
    return caller == accepted_ || caller == worker_.load();
}

void WriteQueue::wakeWorker() {
    {
        const std::lock_guard guard(sleepLock_);
        wakeRequested_ = true;
    }
    work_.notify_one();
}

std::size_t WriteQueue::operationCount() const {
    // Read first: in the other order more could be done by then than had been added.
    const std::uint64_t done = done_.load();
    return static_cast<std::size_t>(added_.load() - done);
}

void WriteQueue::waitUntilAllOperationsAreFinished() {
    if (worker_.load() == std::this_thread::get_id()) return;
    waitUntilQueuedIsWritten();
    waitUntilQueuedIsWritten();  // what the worker has queued meanwhile
}

// A waiter stores what it waits for before it reads done_, and the worker stores done_ before it
// reads awaited_. With sequentially consistent accesses one of the two sees the other's value, so
// no wake-up is missed, and the worker needs no lock for each text.
void WriteQueue::waitUntilQueuedIsWritten() {
    const std::uint64_t queued = added_.load();
    if (done_.load() >= queued) return;
    // It may nap although there is work: a text queued during a nap does not end it.
    wakeWorker();
    std::unique_lock sleeping(sleepLock_);
    while (true) {
        awaited_.store(std::min(awaited_.load(), queued));
        if (done_.load() >= queued) return;
        finished_.wait(sleeping);
    }
}

void WriteQueue::run() {
    worker_.store(std::this_thread::get_id());
    while (true) {
        Chain taken;
        for (int nap = 0; !takeQueued(taken, nap >= kNapsBeforeSleep); ++nap)
            waitForWork(nap >= kNapsBeforeSleep);
        while (!taken.empty()) {
            Block* block = taken.takeFirst();
            writeBlock(*block);
            recycle(block);
        }
    }
}

// Takes everything queued. If there is nothing and `sleepIfEmpty` is set, the next call of add
// wakes the worker: the flag is set under the lock under which texts are queued, so none is
// overlooked.
bool WriteQueue::takeQueued(Chain& taken, bool sleepIfEmpty) {
    const std::lock_guard guard(lock_);
    std::swap(taken, queued_);
    workerSleeps_ = taken.empty() && sleepIfEmpty;
    return !taken.empty();
}

// A nap ends early only for a thread that waits; a sleep ends with the next text.
void WriteQueue::waitForWork(bool untilWoken) {
    std::unique_lock sleeping(sleepLock_);
    const auto woken = [&] { return std::exchange(wakeRequested_, false); };
    if (untilWoken)
        work_.wait(sleeping, woken);
    else
        work_.wait_for(sleeping, kNap, woken);
}

void WriteQueue::writeBlock(Block& block) {
    for (std::size_t at = 0; at < block.used;) {
        Length length = 0;
        std::memcpy(&length, block.bytes() + at, sizeof length);
        write_({block.bytes() + at + sizeof length, length});
        at += sizeof length + length;
        finishOne();
    }
}

// Wakes all waiters; those that wait for more texts store their number again. The notice is given
// under the lock, so it cannot fall between a waiter's look and its sleep.
void WriteQueue::finishOne() {
    const std::uint64_t done = done_.load(std::memory_order_relaxed) + 1;
    done_.store(done);
    if (done < awaited_.load()) return;
    const std::lock_guard guard(sleepLock_);
    awaited_.store(kNoWaiter);
    finished_.notify_all();
}

// Keeps a few blocks of the usual size for the next texts and frees the rest.
void WriteQueue::recycle(Block* block) {
    if (block->capacity == kBlockBytes) {
        const std::lock_guard guard(lock_);
        if (spareCount_ < kSpareBlocks) {
            block->used = 0;
            spare_.append(block);
            ++spareCount_;
            return;
        }
    }
    ::operator delete(block);
}

}  // namespace quillmoor
