// The way of one thread through a tree, folder by folder, without recursion.
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

// A folder that is being worked on. Put aside, it has no reader and is not open.
struct TreeLevel {
    virtual ~TreeLevel() = default;

    bool isOpen() const { return reader || borrowed >= 0; }
    int folder() const { return reader ? reader->folder() : borrowed; }

    std::string name;                       // in the folder above
    Identity identity;                      // which folder it is
    std::optional<DirectoryReader> reader;  // of this thread's own folders
    int borrowed = -1;                      // the folder itself where another thread reads it
    EntryBatch waiting;                     // entries that come before the reader's next
    const dirent* last = nullptr;           // the reader's last entry
    std::string lastName;                   // the same while the folder is put aside
    bool atEnd = false;                     // the reader has no more entries
    bool staysOpen = false;                 // it cannot be found again from the one below
    std::atomic<int> given{0};              // how many batches are with others
};

// Goes through a tree, and gives some of it to others when they have nothing to do. Needs no stack
// and a bounded number of descriptors, however deep the tree is.
class TreeWorker {
  public:
    virtual ~TreeWorker() = default;
    TreeWorker(const TreeWorker&) = delete;
    TreeWorker& operator=(const TreeWorker&) = delete;

    // Works on what others give until there is nothing more.
    void help();

  protected:
    // `batch` is how many entries are given at once, at most.
    TreeWorker(TreeWorkPool& pool, const TreeLimits& limits, std::size_t batch)
        : pool_(pool), openLevels_(limits.openLevels), batch_(batch) {}

    // Goes on until all levels are left, or isEnded().
    void work();

    // A folder to be gone through next; it is open.
    void enter(std::unique_ptr<TreeLevel> level);
    void popTop();
    bool isEmpty() const { return levels_.empty(); }
    TreeLevel& top() { return *levels_.back(); }
    // The level above the one on top; null when there is none.
    TreeLevel* aboveTop() {
        return levels_.size() < 2 ? nullptr : levels_[levels_.size() - 2].get();
    }

    // Opens the level above the one on top again, if it was put aside: EBUSY when the one on top
    // has been moved elsewhere. It is read on from where it was left, or else from its start.
    enum class ReadOn : bool { No, Yes };
    int takeUpAbove(ReadOn readOn);

    // Closes a level for a while; nothing of it is with others.
    virtual void putAside(TreeLevel& level);

  private:
    virtual bool isEnded() const = 0;
    // Deals with an entry; the name is valid until another level is entered.
    virtual void visit(TreeLevel& level, const TreeEntry& entry) = 0;
    // The level on top has been read to its end, and nothing of it is with others.
    virtual void leaveTop() = 0;
    // A level for entries that were given from `owner`, another thread's; told of when they are
    // done, before `owner` is left.
    virtual std::unique_ptr<TreeLevel> makeBorrowedLevel(TreeLevel& owner) = 0;
    // Makes isEnded() return true from now on, with a failure: there is no memory to go on.
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

    // How many entries a thread deals with before it asks others for help.
    static constexpr std::size_t kAlone = 64;

    TreeWorkPool& pool_;
    const std::size_t openLevels_;
    const std::size_t batch_;
    std::vector<std::unique_ptr<TreeLevel>> levels_;
    std::size_t readers_ = 0;    // levels that are open
    std::size_t firstOpen_ = 0;  // all levels before this one are put aside
    std::size_t seen_ = 0;
    bool helping_ = false;  // the first level is a stand-in
};

// The folder above an open one, for reading, if it is the expected one: else EBUSY.
int openParent(int folder, const Identity& expected, Descriptor& parent);

}  // namespace quillmoor::platform::posix
