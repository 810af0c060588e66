// A pool of threads that share the work on one tree.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "quillmoor/platform/posix/ground/thread_posix.h"

namespace quillmoor::platform::posix {

struct TreeLevel;

// An entry of a folder. The type bits are 0 when the type is not known.
struct TreeEntry {
    const char* name = nullptr;
    mode_t type = 0;
};

// A few entries, copied out of a folder, in their order.
class EntryBatch {
  public:
    void add(const TreeEntry& entry);
    // Returns the next entry in `entry`, or false; its name is valid until the batch is changed.
    bool next(TreeEntry& entry);
    std::size_t size() const { return size_; }

  private:
    std::string bytes_;  // of each: a byte for the type, the name, a NUL
    std::size_t at_ = 0;
    std::size_t size_ = 0;
};

// How much of the process's resources one operation may use.
struct TreeLimits {
    std::size_t threads;     // the caller's is one of them
    std::size_t openLevels;  // how many folders each keeps open
};

// Limits by the number of processors and of descriptors; `descriptorsOfLevel` is how many
// descriptors an open folder needs.
TreeLimits treeLimits(std::size_t descriptorsOfLevel);

// Distributes entries of a tree's folders among threads. A thread that reads a folder may give some
// of its entries to others; before it leaves the folder it takes back those that no other thread
// has begun, and waits for the rest. Further threads are started when there is work for them, and
// block all signals. Members may be called from any of these threads.
class TreeWorkPool {
  public:
    struct WorkItem {
        TreeLevel* folder = nullptr;
        EntryBatch entries;
    };

    // `help` is the body of each further thread, which calls take() until that returns false.
    TreeWorkPool(std::size_t threads, std::function<void()> help);
    ~TreeWorkPool() { end(); }
    TreeWorkPool(const TreeWorkPool&) = delete;
    TreeWorkPool& operator=(const TreeWorkPool&) = delete;

    // True when another thread may be short of work. A hint, read without the lock for each entry.
    bool wantsWork() const { return room_.load(std::memory_order_relaxed); }

    // The caller keeps the folder open, and at its address, until takeBack() has returned false.
    void give(TreeLevel& folder, EntryBatch entries);

    // Returns entries of the folder that were given and that no thread has begun; false when all
    // that were given are done, which it waits for.
    bool takeBack(TreeLevel& folder, EntryBatch& entries);

    // Waits for work; false when end() was called and none is left. A call of done() follows each.
    bool take(WorkItem& item);
    void done(TreeLevel& folder);

    // Ends the further threads and waits for them. All that was given must be done.
    void end();

  private:
    void addThread();
    void queueChanged();

    const std::size_t threads_;
    const std::function<void()> help_;
    std::atomic<bool> room_;
    std::mutex mutex_;
    std::condition_variable given_;
    std::condition_variable finished_;
    std::deque<WorkItem> queue_;
    std::vector<Thread> helpers_;
    std::size_t idle_ = 0;     // helpers that wait for work
    std::size_t waiting_ = 0;  // threads that wait for what they have given
    bool mayStart_ = true;
    bool ended_ = false;
};

}  // namespace quillmoor::platform::posix
