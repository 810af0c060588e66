// The traversal of a tree by one thread, folder by folder, without recursion.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/directory_posix.h"
#include "quillmoor/platform/posix/fs/tree_work_pool_posix.h"

namespace quillmoor::platform::posix {

// A folder on the path from the top of the tree to the current one. To save descriptors a level may
// be put aside: it then has no reader and is not open.
struct TreeLevel {
    virtual ~TreeLevel() = default;

    bool isOpen() const { return reader || borrowed >= 0; }
    int folder() const { return reader ? reader->folder() : borrowed; }

    std::string name;                       // in the folder above
    Identity identity;                      // which folder it is
    std::optional<DirectoryReader> reader;  // of this thread's own folders
    int borrowed = -1;                      // the folder, where another thread owns and reads it
    EntryBatch waiting;                     // entries before the reader's next
    const dirent* last = nullptr;           // the reader's last entry
    std::string lastName;                   // the same while the folder is put aside
    bool atEnd = false;                     // the reader has no more entries
    bool staysOpen = false;                 // not the parent of the one below: reached by a link
    std::atomic<int> given{0};              // how many batches other threads have
};

// Traverses a tree and gives parts of it to other threads when they have no work. The number of
// descriptors is bounded and the stack does not grow with the depth of the tree.
class TreeWorker {
  public:
    virtual ~TreeWorker() = default;
    TreeWorker(const TreeWorker&) = delete;
    TreeWorker& operator=(const TreeWorker&) = delete;

    // Works on what other threads give until the pool ends.
    void help();

  protected:
    // `batch` is the largest number of entries that are given at once.
    TreeWorker(TreeWorkPool& pool, const TreeLimits& limits, std::size_t batch)
        : pool_(pool), openLevels_(limits.openLevels), batch_(batch) {}

    // Continues until all levels are left, or isEnded().
    void work();

    // Adds a folder, which is open, to be traversed next.
    void enter(std::unique_ptr<TreeLevel> level);
    void popTop();
    bool isEmpty() const { return levels_.empty(); }
    TreeLevel& top() { return *levels_.back(); }
    // The level above the one on top; null when there is none.
    TreeLevel* aboveTop() {
        return levels_.size() < 2 ? nullptr : levels_[levels_.size() - 2].get();
    }

    // Opens the level above the one on top again, if it was put aside: EBUSY when the folder on top
    // was moved elsewhere. Reading continues after the last entry read, or starts again.
    enum class ReadOn : bool { No, Yes };
    int takeUpAbove(ReadOn readOn);

    // Closes a level until takeUpAbove(). No other thread has entries of it.
    virtual void putAside(TreeLevel& level);

  private:
    virtual bool isEnded() const = 0;
    // Handles an entry; its name is valid until another level is entered.
    virtual void visit(TreeLevel& level, const TreeEntry& entry) = 0;
    // The level on top has been read to its end, and no other thread has entries of it.
    virtual void leaveTop() = 0;
    // Makes a level for entries that were given from `owner`, a level of another thread. When they
    // are done, and before `owner` is left, it is passed to report().
    virtual std::unique_ptr<TreeLevel> makeBorrowedLevel(TreeLevel& owner) = 0;
    // Called when there is no memory to continue: isEnded() must return true from now on, and the
    // operation must fail.
    virtual void runOutOfMemory() noexcept = 0;
    virtual void report(TreeLevel& owner, TreeLevel& borrowedLevel);
    virtual bool isPassedOver(const TreeLevel& level, const char* name) const;

    bool next(TreeLevel& level, TreeEntry& entry);
    bool read(TreeLevel& level, TreeEntry& entry) const;
    void share(TreeLevel& level);
    void helpWith(TreeWorkPool::WorkItem& item);
    bool step();
    void putOneAside();
    void abandon();

    // How many entries a thread handles before it gives any to others: a small tree needs one
    // thread.
    static constexpr std::size_t kAlone = 64;

    TreeWorkPool& pool_;
    const std::size_t openLevels_;
    const std::size_t batch_;
    std::vector<std::unique_ptr<TreeLevel>> levels_;
    std::size_t readers_ = 0;    // levels that are open
    std::size_t firstOpen_ = 0;  // all levels before this one are put aside
    std::size_t seen_ = 0;
    bool helping_ = false;  // the first level is a borrowed one
};

// Opens the folder above an open one for reading; EBUSY when it is not the expected one.
int openParent(int folder, const Identity& expected, Descriptor& parent);

}  // namespace quillmoor::platform::posix
