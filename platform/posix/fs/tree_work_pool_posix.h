// Threads that work on one tree together.
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

// An entry of a folder. The type bits are 0 when they are not known.
struct TreeEntry {
    const char* name = nullptr;
    mode_t type = 0;
};

// A few entries, copied out of a folder, to be taken one after the other.
class EntryBatch {
  public:
    void add(const TreeEntry& entry);
    // The next one; its name is valid until the batch is changed.
    bool next(TreeEntry& entry);
    std::size_t size() const { return size_; }

  private:
    std::string bytes_;  // of each: a byte for the type, the name, a NUL
    std::size_t at_ = 0;
    std::size_t size_ = 0;
};

// How much of the process one operation may take.
struct TreeLimits {
    std::size_t threads;     // the caller's is one of them
    std::size_t openLevels;  // how many folders each keeps open
};

// By the number of processors and of descriptors; a level takes so many descriptors.
TreeLimits treeLimits(std::size_t descriptorsOfLevel);

// Shares out entries of a tree's folders. Whoever reads a folder may give some of its entries to
// others; before he leaves the folder he takes back what nobody has begun with, and waits for the
// rest. Further threads are started when there is something for them to do, and block all signals.
class TreeWorkPool {
  public:
    struct WorkItem {
        TreeLevel* folder = nullptr;
        EntryBatch entries;
    };

    // `help` is what each further thread does: until take() answers NO.
    TreeWorkPool(std::size_t threads, std::function<void()> help);
    ~TreeWorkPool() { end(); }
    TreeWorkPool(const TreeWorkPool&) = delete;
    TreeWorkPool& operator=(const TreeWorkPool&) = delete;

    // Somebody may be short of work.
    bool wantsWork() const { return room_.load(std::memory_order_relaxed); }

    // The folder stays open, and where it is, until takeBack() has answered NO.
    void give(TreeLevel& folder, EntryBatch entries);

    // Entries of the folder that were given and that nobody has begun with; NO when all that were
    // given are done.
    bool takeBack(TreeLevel& folder, EntryBatch& entries);

    // Waits for something to do; NO when the work has ended. done() follows each.
    bool take(WorkItem& item);
    void done(TreeLevel& folder);

    // Waits for the further threads. Nothing may be with them.
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
    std::size_t idle_ = 0;     // helpers that wait for something to do
    std::size_t waiting_ = 0;  // those that wait for what they have given
    bool mayStart_ = true;
    bool ended_ = false;
};

}  // namespace quillmoor::platform::posix
