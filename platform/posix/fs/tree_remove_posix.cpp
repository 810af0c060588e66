#include "quillmoor/platform/posix/fs/tree_remove_posix.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <mutex>
#include <new>
#include <set>
#include <utility>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/tree_worker_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// How often one folder is read: another process may be filling it meanwhile.
constexpr int kMostPasses = 64;

// How many entries are passed to another thread at once.
constexpr std::size_t kBatch = 64;

// unlinkat reports a folder with EISDIR on Linux and with EPERM, as POSIX says, elsewhere. Both
// errors have other causes as well.
bool mayBeFolder(int error) {
    return error == EISDIR || error == EPERM;
}

// One operation, shared by several threads.
struct Removal {
    const int base;
    const TreeKind kind;
    const StopToken& stop;
    const bool keepsTop;  // the top folder itself is not removed
    const TreeLimits limits;
    std::mutex mutex{};  // of all levels' residueOfOthers
    std::atomic<int> error{0};
    std::atomic<bool> removedSomething{false};
    std::atomic<bool> lost{false};  // a folder has been moved away meanwhile
    std::atomic<bool> topIsGone{false};

    // The first error is the one that is reported.
    void fail(int code) {
        int none = 0;
        error.compare_exchange_strong(none, code);
    }
};

// What is left of a folder's entries after the attempt to remove them.
struct RemovalResidue {
    std::set<std::string, std::less<>> folders;  // those that could not be emptied or removed
    bool something = false;                      // is left
    bool removedSomething = false;               // in this pass

    void add(RemovalResidue&& other) {
        folders.merge(other.folders);
        something = something || other.something;
        removedSomething = removedSomething || other.removedSomething;
        other = RemovalResidue();
    }
};

struct RemovalLevel : TreeLevel {
    RemovalResidue left;
    RemovalResidue residueOfOthers;  // from other threads, under the mutex
    int passes = 1;
};

// Removes the entries that one thread meets. What cannot be removed is noted and the rest is
// removed all the same: a failure does not end the work.
class RemovalWorker : public TreeWorker {
  public:
    RemovalWorker(TreeWorkPool& pool, Removal& work)
        : TreeWorker(pool, work.limits, kBatch), work_(work) {}

    void remove(const TreeEntry& tree) {
        removeEntry(nullptr, work_.base, tree);
        work();
    }

  private:
    bool isEnded() const override {
        return work_.lost.load(std::memory_order_relaxed) || work_.stop.isStopRequested();
    }

    void runOutOfMemory() noexcept override {
        work_.fail(ENOMEM);
        // Ends every thread: without memory, the folders that could not be removed cannot be noted,
        // and the next reading would enter them again.
        work_.lost = true;
    }

    void visit(TreeLevel& level, const TreeEntry& entry) override {
        removeEntry(static_cast<RemovalLevel*>(&level), level.folder(), entry);
    }

    // Removes the entry, or puts its folder on top of the levels. The level is null for the top
    // item. An entry of unknown type is unlinked first: a status for each would cost a call more.
    void removeEntry(RemovalLevel* level, int folder, const TreeEntry& entry) {
        if (entry.type != S_IFDIR) {
            const int error = unlink(level, folder, entry.name, 0);
            // Below the top, an item that another process has removed meanwhile is as good as
            // removed here.
            if (error == 0 || (error == ENOENT && level != nullptr)) return;
            if (!mayBeFolder(error) || !isFolder(folder, entry.name))
                return noteFailure(level, error);
        }
        const int error = enterFolder(folder, entry.name);
        if (error == 0 || (error == ENOENT && level != nullptr)) return;
        // Replaced meanwhile, or a folder that may not be read but may be empty.
        const bool replaced = error == ENOTDIR || error == ELOOP;
        if (unlink(level, folder, entry.name, replaced ? 0 : AT_REMOVEDIR) == 0) return;
        // By name, since another reading of the folder lists it again.
        if (level != nullptr) level->left.folders.emplace(entry.name);
        noteFailure(level, error);
    }

    static bool isFolder(int folder, const char* name) {
        struct stat status;
        return systemCalls().fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
               S_ISDIR(status.st_mode);
    }

    int unlink(RemovalLevel* level, int folder, const char* name, int flags) {
        if (systemCalls().unlinkat(folder, name, flags) != 0) return errno;
        noteRemoval(level);
        return 0;
    }

    void noteRemoval(RemovalLevel* level) {
        // Read first: otherwise all threads would write to the one flag for each item.
        if (!work_.removedSomething.load(std::memory_order_relaxed)) work_.removedSomething = true;
        if (level != nullptr)
            level->left.removedSomething = true;
        else
            work_.topIsGone = true;
    }

    int enterFolder(int folder, const char* name) {
        Descriptor opened;
        struct stat status;
        const int error = openForReading(folder, name, opened, status);
        if (error != 0) return error;
        auto level = std::make_unique<RemovalLevel>();
        level->name = name;
        level->identity = identityOf(status);
        level->reader.emplace(std::move(opened));
        if (level->reader->error() != 0) return level->reader->error();
        enter(std::move(level));
        return 0;
    }

    int openForReading(int folder, const char* name, Descriptor& opened,
                       struct stat& status) const {
        const SystemCalls& calls = systemCalls();
        opened = Descriptor(calls.openat(folder, name, kReadFolder, 0));
        // A copy has the modes of its original, which may forbid its own owner to read it. Not
        // through a link, by which a hostile user could have the mode of another folder changed.
        if (!opened && errno == EACCES && work_.kind == TreeKind::OurOwn) {
            if (calls.fchmodat(folder, name, S_IRWXU, AT_SYMLINK_NOFOLLOW) != 0) return errno;
            opened = Descriptor(calls.openat(folder, name, kReadFolder, 0));
        }
        if (!opened || calls.fstat(opened.get(), &status) != 0) return errno;
        // A folder that can be read may still forbid removing its entries.
        const bool closed = (status.st_mode & S_IRWXU) != S_IRWXU;
        if (closed && work_.kind == TreeKind::OurOwn && calls.fchmod(opened.get(), S_IRWXU) != 0)
            return errno;
        return 0;
    }

    void leaveTop() override {
        auto& level = static_cast<RemovalLevel&>(top());
        collect(level);
        // ENOENT is what getdents(2) reports for a folder that was itself removed while it was
        // open.
        const int readError = level.reader->error();
        if (readError != 0 && readError != ENOENT) {
            noteFailure(&level, readError);
        } else if (!level.left.something) {
            if (!takeUp()) return;
            const int error = unlinkTop(level);
            if (error == 0) return popTop();
            // A reader may skip entries while others of the folder are removed. POSIX permits
            // either error for a folder that is not empty. Without progress, another pass would
            // only find the same entries.
            const bool notEmpty = error == ENOTEMPTY || error == EEXIST;
            if (notEmpty && level.left.removedSomething && level.passes < kMostPasses)
                return readAgain(level);
            noteFailure(&level, error);
        }
        skipFolder(level);
    }

    static void readAgain(RemovalLevel& level) {
        level.left.removedSomething = false;
        ++level.passes;
        level.reader->rewind();
        level.atEnd = false;
    }

    int unlinkTop(const RemovalLevel& level) {
        auto* const above = static_cast<RemovalLevel*>(aboveTop());
        // Whether it is empty by now is found out by reading it again.
        if (above == nullptr && work_.keepsTop) return level.left.removedSomething ? ENOTEMPTY : 0;
        const int folder = above != nullptr ? above->folder() : work_.base;
        const int error = unlink(above, folder, level.name.c_str(), AT_REMOVEDIR);
        // Another process has removed it, which is what was asked for.
        if (error == ENOENT && above == nullptr) work_.topIsGone = true;
        return error == ENOENT ? 0 : error;
    }

    void skipFolder(RemovalLevel& level) {
        if (!takeUp()) return;
        if (auto* const above = static_cast<RemovalLevel*>(aboveTop())) {
            above->left.folders.insert(std::move(level.name));
            above->left.something = true;
        }
        popTop();
    }

    // Reads the folder above from its start again: what was removed is not listed any more, and
    // what could not be removed is skipped by name. A position in a changed folder means nothing.
    bool takeUp() {
        const int error = takeUpAbove(ReadOn::No);
        if (error == 0) return true;
        noteFailure(static_cast<RemovalLevel*>(&top()), error);
        work_.lost = true;
        return false;
    }

    // The folder is read again from its start later, and must then skip what other threads could
    // not remove. No other thread has entries of it now, so that list is complete.
    void putAside(TreeLevel& level) override {
        collect(static_cast<RemovalLevel&>(level));
        TreeWorker::putAside(level);
    }

    void collect(RemovalLevel& level) {
        const std::lock_guard lock(work_.mutex);
        level.left.add(std::move(level.residueOfOthers));
    }

    bool isPassedOver(const TreeLevel& level, const char* name) const override {
        const auto& folders = static_cast<const RemovalLevel&>(level).left.folders;
        return !folders.empty() && folders.contains(std::string_view(name));
    }

    std::unique_ptr<TreeLevel> makeBorrowedLevel(TreeLevel&) override {
        return std::make_unique<RemovalLevel>();
    }

    void report(TreeLevel& owner, TreeLevel& borrowedLevel) override {
        const std::lock_guard lock(work_.mutex);
        static_cast<RemovalLevel&>(owner).residueOfOthers.add(
            std::move(static_cast<RemovalLevel&>(borrowedLevel).left));
    }

    void noteFailure(RemovalLevel* level, int error) {
        work_.fail(error);
        if (level != nullptr) level->left.something = true;
    }

    Removal& work_;
};

void run(Removal& work, const TreeEntry& top) noexcept {
    try {
        TreeWorkPool pool(work.limits.threads, [&] { RemovalWorker(pool, work).help(); });
        RemovalWorker(pool, work).remove(top);
    } catch (const std::bad_alloc&) {
        work.fail(ENOMEM);
    }
}

}  // namespace

RemovalResult removeTree(int folder, const std::string& name, TreeKind kind,
                         const StopToken& stop) noexcept {
    if (stop.isStopRequested()) return {ECANCELED, false};
    Removal work{
        .base = folder, .kind = kind, .stop = stop, .keepsTop = false, .limits = treeLimits(1)};
    run(work, {name.c_str(), 0});
    int error = work.error;
    // A stop that arrives after the top item was removed has stopped nothing.
    if (stop.isStopRequested() && !work.topIsGone) error = ECANCELED;
    return {error, work.removedSomething};
}

int emptyFolder(int folder) noexcept {
    // Going down or up, a folder and the one it is in are open.
    static_assert(kDescriptorsToEmpty == 2);
    constexpr TreeLimits kFewest{.threads = 1, .openLevels = 1};
    const StopToken never;
    Removal work{.base = folder,
                 .kind = TreeKind::OurOwn,
                 .stop = never,
                 .keepsTop = true,
                 .limits = kFewest};
    // By the name ".", which opens the folder once more: a reader closes its descriptor, and this
    // one is the caller's.
    run(work, {".", S_IFDIR});
    return work.error;
}

RemovalResult removePath(const std::string& path, const StopToken& stop) noexcept try {
    DirectoryEntry entry;
    struct stat status;
    int error = resolveParent(path, entry);
    if (error == 0 && !entry.hasNameOfItsOwn()) error = EINVAL;
    // After a trailing slash anything but a folder is ENOTDIR, as in the system's own calls.
    if (error == 0 && entry.asFolder) error = statusOf(entry, FollowLink::No, status);
    if (error != 0) return {error};
    return removeTree(entry.folder.get(), entry.name, TreeKind::Given, stop);
} catch (const std::bad_alloc&) {
    return {ENOMEM};
}

}  // namespace quillmoor::platform::posix
