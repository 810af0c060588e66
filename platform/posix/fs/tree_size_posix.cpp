#include "quillmoor/platform/posix/fs/tree_size_posix.h"

#include <errno.h>

#include <mutex>
#include <utility>

#include "quillmoor/platform/posix/fs/tree_worker_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// The system follows no more links than this in one path.
constexpr int kMostLinks = 40;

// How many entries are passed to another thread at once.
constexpr std::size_t kBatch = 128;

// One operation, shared by several threads.
struct Measuring {
    const StopToken& stop;
    FollowLink follow;
    TreeLimits limits = treeLimits(1);
    std::mutex mutex{};
    TreeCount total{};

    void add(const TreeCount& count) {
        const std::lock_guard lock(mutex);
        total.bytes += count.bytes;
        total.items += count.items;
    }
};

struct SizeLevel : TreeLevel {
    const SizeLevel* above = nullptr;  // the level above, possibly another thread's
    int links = 0;                     // how many links lead from the top to here
};

class SizeWorker : public TreeWorker {
  public:
    SizeWorker(TreeWorkPool& pool, Measuring& work)
        : TreeWorker(pool, work.limits, kBatch), work_(work) {}
    // Once for each thread, so that counting an entry needs no lock.
    ~SizeWorker() override { work_.add(count_); }

    void measure(int folder, const std::string& name) {
        if (work_.follow == FollowLink::Yes) {
            if (!isFolder(folder, name.c_str()) ||
                !enterFolder(nullptr, folder, name.c_str(), kReadFolder & ~O_NOFOLLOW))
                addItem(folder, name.c_str());
        } else {
            visitEntry(nullptr, folder, {name.c_str(), 0});
        }
        work();
    }

  private:
    // Only this thread's part ends where a folder was moved away: what was counted stays counted.
    bool isEnded() const override { return lost_ || work_.stop.isStopRequested(); }

    void runOutOfMemory() noexcept override { lost_ = true; }

    void visit(TreeLevel& level, const TreeEntry& entry) override {
        visitEntry(static_cast<SizeLevel*>(&level), level.folder(), entry);
    }

    void visitEntry(SizeLevel* level, int folder, const TreeEntry& entry) {
        mode_t type = entry.type;
        struct stat status;
        if (type == 0) {
            if (!statusOf(folder, entry.name, AT_SYMLINK_NOFOLLOW, status)) return;
            type = status.st_mode & S_IFMT;
        }
        if (type == S_IFDIR) {
            ++count_.items;
            enterFolder(level, folder, entry.name, kReadFolder);
        } else if (type != S_IFLNK || !enterThroughLink(level, folder, entry.name)) {
            addItem(folder, entry.name);
        }
    }

    bool enterThroughLink(SizeLevel* level, int folder, const char* name) {
        return work_.follow == FollowLink::Yes && level->links < kMostLinks &&
               isFolder(folder, name) &&
               enterFolder(level, folder, name, kReadFolder & ~O_NOFOLLOW);
    }

    // False when it is not a folder. A folder that cannot be read counts as an empty one.
    bool enterFolder(SizeLevel* above, int folder, const char* name, int flags) {
        Descriptor opened(systemCalls().openat(folder, name, flags, 0));
        if (!opened) return errno != ENOTDIR && errno != ENOENT && errno != ELOOP;
        struct stat status;
        if (systemCalls().fstat(opened.get(), &status) != 0) return true;
        const bool throughLink = above != nullptr && (flags & O_NOFOLLOW) == 0;
        auto level = std::make_unique<SizeLevel>();
        level->identity = identityOf(status);
        level->above = above;
        if (above != nullptr) level->links = above->links + (throughLink ? 1 : 0);
        // Only a link can lead back up, so a tree without links is not compared.
        if (level->links > 0 && isOnTheWayDown(*level)) return true;
        level->reader.emplace(std::move(opened));
        if (level->reader->error() != 0) return true;
        if (throughLink) above->staysOpen = true;
        enter(std::move(level));
        return true;
    }

    // True when a link has led back to a folder above, which would be counted without end.
    static bool isOnTheWayDown(const SizeLevel& level) {
        for (const SizeLevel* each = level.above; each != nullptr; each = each->above)
            if (each->identity == level.identity) return true;
        return false;
    }

    void addItem(int folder, const char* name) {
        struct stat status;
        if (!statusOf(folder, name, AT_SYMLINK_NOFOLLOW, status)) return;
        ++count_.items;
        const bool counts =
            work_.follow == FollowLink::Yes ? !S_ISDIR(status.st_mode) : S_ISREG(status.st_mode);
        if (counts) count_.bytes += static_cast<std::uint64_t>(status.st_size);
    }

    // True for a link to a folder as well.
    static bool isFolder(int folder, const char* name) {
        struct stat status;
        return statusOf(folder, name, 0, status) && S_ISDIR(status.st_mode);
    }

    static bool statusOf(int folder, const char* name, int flags, struct stat& status) {
        return systemCalls().fstatat(folder, name, &status, flags) == 0;
    }

    void leaveTop() override {
        TreeLevel* const above = aboveTop();
        if (above != nullptr) above->staysOpen = false;
        lost_ = takeUpAbove(ReadOn::Yes) != 0;
        popTop();
    }

    std::unique_ptr<TreeLevel> makeBorrowedLevel(TreeLevel& owner) override {
        const auto& folder = static_cast<const SizeLevel&>(owner);
        auto level = std::make_unique<SizeLevel>();
        level->above = folder.above;
        level->links = folder.links;
        return level;
    }

    Measuring& work_;
    TreeCount count_;
    bool lost_ = false;  // a folder was moved elsewhere meanwhile
};

TreeCount measured(const DirectoryEntry& entry, FollowLink follow, const StopToken& stop) {
    Measuring work{stop, follow};
    TreeWorkPool pool(work.limits.threads, [&] { SizeWorker(pool, work).help(); });
    SizeWorker(pool, work).measure(entry.folder.get(), entry.name);
    // Other threads add their counts when they end.
    pool.end();
    return work.total;
}

}  // namespace

std::uint64_t treeSize(const std::string& path, const StopToken& stop) {
    DirectoryEntry entry;
    struct stat status;
    if (resolveParent(path, entry) != 0 || statusOf(entry, FollowLink::No, status) != 0) return 0;
    return measured(entry, FollowLink::Yes, stop).bytes;
}

TreeCount treeCount(const std::string& path, const StopToken& stop) {
    DirectoryEntry entry;
    struct stat status;
    if (resolveParent(path, entry) != 0 || statusOf(entry, FollowLink::No, status) != 0) return {};
    return measured(entry, FollowLink::No, stop);
}

}  // namespace quillmoor::platform::posix
