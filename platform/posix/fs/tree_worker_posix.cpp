#include "quillmoor/platform/posix/fs/tree_worker_posix.h"

#include <errno.h>

#include <algorithm>
#include <new>
#include <utility>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {

void TreeWorker::help() {
    seen_ = kAlone;  // where another thread needed help, this one may give at once
    helping_ = true;
    TreeWorkPool::WorkItem item;
    while (pool_.take(item)) {
        TreeLevel& owner = *item.folder;
        try {
            helpWith(item);
        } catch (const std::bad_alloc&) {
            runOutOfMemory();
        }
        // Also after a failure: the owner waits for it before it leaves the folder.
        pool_.done(owner);
    }
}

void TreeWorker::helpWith(TreeWorkPool::WorkItem& item) {
    TreeLevel& owner = *item.folder;
    std::unique_ptr<TreeLevel> level = makeBorrowedLevel(owner);
    level->identity = owner.identity;
    // Not a descriptor of its own: the owner keeps the folder open until all given entries are
    // done.
    level->borrowed = owner.folder();
    level->waiting = std::move(item.entries);
    levels_.push_back(std::move(level));
    work();
    report(owner, *levels_.front());
    popTop();
}

void TreeWorker::work() {
    while (!levels_.empty() && !isEnded()) {
        try {
            if (!step()) return;
        } catch (const std::bad_alloc&) {
            runOutOfMemory();
        }
    }
    abandon();
}

// False when all that was given to this thread is done.
bool TreeWorker::step() {
    TreeLevel& level = top();
    TreeEntry entry;
    if (next(level, entry))
        visit(level, entry);
    else if (pool_.takeBack(level, level.waiting))
        return true;
    // The first level is borrowed: the thread that owns the folder leaves it.
    else if (helping_ && levels_.size() == 1)
        return false;
    else
        leaveTop();
    return true;
}

// Waits for entries that other threads have: they use this thread's open folders.
void TreeWorker::abandon() {
    for (;;) {
        if (levels_.empty()) return;
        EntryBatch dropped;
        // Entries that no thread has begun are dropped; for the others this waits.
        while (pool_.takeBack(top(), dropped)) dropped = EntryBatch();
        if (helping_ && levels_.size() == 1) return;
        popTop();
    }
}

void TreeWorker::enter(std::unique_ptr<TreeLevel> level) {
    levels_.push_back(std::move(level));
    if (++readers_ > openLevels_) putOneAside();
}

void TreeWorker::popTop() {
    if (top().reader) --readers_;
    levels_.pop_back();
    firstOpen_ = std::min(firstOpen_, levels_.size());
}

// The level nearest to the top of the tree, which is needed last.
void TreeWorker::putOneAside() {
    while (!levels_[firstOpen_]->isOpen()) ++firstOpen_;
    for (std::size_t i = firstOpen_; i + 1 < levels_.size(); ++i) {
        TreeLevel& level = *levels_[i];
        // Not one that other threads use, and not one that ".." of the level below does not lead
        // back to.
        if (!level.reader || level.staysOpen || level.given.load(std::memory_order_acquire) != 0)
            continue;
        // The entry belongs to the reader, which is about to be closed.
        if (level.last != nullptr) level.lastName = level.last->d_name;
        level.last = nullptr;
        putAside(level);
        --readers_;
        return;
    }
}

void TreeWorker::putAside(TreeLevel& level) {
    level.reader.reset();
}

void TreeWorker::report(TreeLevel&, TreeLevel&) {}

bool TreeWorker::isPassedOver(const TreeLevel&, const char*) const {
    return false;
}

int TreeWorker::takeUpAbove(ReadOn readOn) {
    TreeLevel* const above = aboveTop();
    if (above == nullptr || above->isOpen()) return 0;
    Descriptor opened;
    // From the open folder below: the path that led here may lead elsewhere by now.
    int error = openParent(top().folder(), above->identity, opened);
    if (error != 0) return error;
    DirectoryReader reader(std::move(opened));
    if (reader.error() != 0) return reader.error();
    above->reader.emplace(std::move(reader));
    ++readers_;
    firstOpen_ = std::min(firstOpen_, levels_.size() - 2);
    if (readOn == ReadOn::No) {
        above->waiting = EntryBatch();
        above->atEnd = false;
        return 0;
    }
    if (above->atEnd) return 0;
    // By the name of the last entry, since a position is valid only for the stream that it was
    // taken from (telldir(3)). Without that entry, where to continue is unknown.
    while (const dirent* entry = above->reader->next())
        if (above->lastName == entry->d_name) return 0;
    error = above->reader->error();
    return error != 0 ? error : ENOENT;
}

bool TreeWorker::next(TreeLevel& level, TreeEntry& entry) {
    if (level.waiting.next(entry)) return true;
    if (++seen_ > kAlone && level.reader && !level.atEnd && pool_.wantsWork()) {
        share(level);
        return level.waiting.next(entry);
    }
    return read(level, entry);
}

// One entry is kept, so that the giving thread has work, too. A batch ends with its first folder:
// that one may hold more than all the rest.
void TreeWorker::share(TreeLevel& level) {
    EntryBatch batch;
    TreeEntry entry;
    while (batch.size() < batch_ && read(level, entry)) {
        batch.add(entry);
        if (entry.type == S_IFDIR) break;
    }
    level.waiting = EntryBatch();
    if (level.atEnd || !read(level, entry)) {
        level.waiting = std::move(batch);
        return;
    }
    level.waiting.add(entry);
    pool_.give(level, std::move(batch));
}

bool TreeWorker::read(TreeLevel& level, TreeEntry& entry) const {
    while (level.reader && !level.atEnd) {
        const dirent* const found = level.reader->next();
        level.last = found;
        level.atEnd = found == nullptr;
        if (level.atEnd) break;
        if (isPassedOver(level, found->d_name)) continue;
        entry = {found->d_name, typeOf(*found)};
        return true;
    }
    return false;
}

int openParent(int folder, const Identity& expected, Descriptor& parent) {
    const SystemCalls& calls = systemCalls();
    Descriptor opened(calls.openat(folder, "..", kReadFolder, 0));
    struct stat status;
    if (!opened || calls.fstat(opened.get(), &status) != 0) return errno;
    // A hostile user may have moved the open folder, so that ".." leads out of the tree.
    if (identityOf(status) != expected) return EBUSY;
    parent = std::move(opened);
    return 0;
}

}  // namespace quillmoor::platform::posix
