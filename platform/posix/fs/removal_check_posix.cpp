#include "quillmoor/platform/posix/fs/removal_check_posix.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <utility>

#include "quillmoor/platform/posix/fs/tree_worker_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// How many entries are given to another thread at once.
constexpr std::size_t kBatch = 128;

// Whether a folder's entries may be removed.
struct RemovalPermissions {
    int error = 0;         // not 0: none of them may be
    bool ownOnly = false;  // the folder is sticky: only those that this user owns
};

// Asked of "." in the open folder, since faccessat needs a name: a folder that may not be searched
// fails here as well.
RemovalPermissions permissionsIn(int folder) {
    const SystemCalls& calls = systemCalls();
    struct stat status;
    // By the effective ids, which decide about the removal; access checks use the real ones
    // otherwise.
    if (calls.faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) != 0) return {errno};
    if (calls.fstat(folder, &status) != 0) return {errno};
    const uid_t user = ::geteuid();
    return {0, (status.st_mode & S_ISVTX) != 0 && user != 0 && user != status.st_uid};
}

// One operation, shared by several threads.
struct Check {
    TreeLimits limits = treeLimits(1);
    std::atomic<int> error{0};

    void fail(int code) {
        int none = 0;
        error.compare_exchange_strong(none, code);
    }
};

// Whether its entries may be removed is noted when a folder is entered and used with its first
// entry, so that the mode of an empty folder does not matter.
struct CheckLevel : TreeLevel {
    RemovalPermissions permissions;
};

// Checks the entries that one thread meets. The first item that may not be removed ends the check.
class CheckWorker : public TreeWorker {
  public:
    CheckWorker(TreeWorkPool& pool, Check& work)
        : TreeWorker(pool, work.limits, kBatch), work_(work) {}

    void check(const DirectoryEntry& entry, const RemovalPermissions& permissions) {
        const int error = checkEntry(permissions, entry.folder.get(), {entry.name.c_str(), 0});
        if (error != 0) return work_.fail(error);
        work();
    }

  private:
    bool isEnded() const override { return work_.error.load(std::memory_order_relaxed) != 0; }

    void runOutOfMemory() noexcept override { work_.fail(ENOMEM); }

    void visit(TreeLevel& level, const TreeEntry& entry) override {
        const int error =
            checkEntry(static_cast<CheckLevel&>(level).permissions, level.folder(), entry);
        // An item that was removed meanwhile needs no removal.
        if (error != 0 && error != ENOENT) work_.fail(error);
    }

    int checkEntry(const RemovalPermissions& permissions, int folder, const TreeEntry& entry) {
        if (permissions.error != 0) return permissions.error;
        RemovalTraits traits;
        if (systemCalls().getRemovalTraits(folder, entry.name, &traits) != 0) return errno;
        // What rmdir(2) reports for a mount point, and unlink(2) for a mounted file.
        if (traits.isMountPoint) return EBUSY;
        if (traits.isFixed || (permissions.ownOnly && traits.owner != ::geteuid())) return EPERM;
        return traits.type == S_IFDIR ? enterFolder(folder, entry.name) : 0;
    }

    int enterFolder(int folder, const char* name) {
        const SystemCalls& calls = systemCalls();
        Descriptor opened(calls.openat(folder, name, kReadFolder, 0));
        struct stat status;
        if (!opened || calls.fstat(opened.get(), &status) != 0) return errno;
        auto level = std::make_unique<CheckLevel>();
        level->name = name;
        level->identity = identityOf(status);
        level->permissions = permissionsIn(opened.get());
        level->reader.emplace(std::move(opened));
        if (level->reader->error() != 0) return level->reader->error();
        enter(std::move(level));
        return 0;
    }

    void leaveTop() override {
        const int readError = top().reader->error();
        const int error =
            readError != 0 && readError != ENOENT ? readError : takeUpAbove(ReadOn::Yes);
        if (error != 0) return work_.fail(error);
        popTop();
    }

    std::unique_ptr<TreeLevel> makeBorrowedLevel(TreeLevel& owner) override {
        auto level = std::make_unique<CheckLevel>();
        level->permissions = static_cast<const CheckLevel&>(owner).permissions;
        return level;
    }

    Check& work_;
};

}  // namespace

int checkRemovable(const DirectoryEntry& entry) {
    // The top item's own folder has no level: an immutable one keeps its entries, too.
    const int folder = entry.folder.get();
    RemovalPermissions permissions = permissionsIn(folder);
    RemovalTraits traits;
    if (permissions.error == 0 && systemCalls().getRemovalTraits(folder, ".", &traits) != 0)
        permissions.error = errno;
    if (permissions.error == 0 && traits.isFixed) permissions.error = EPERM;
    if (permissions.error != 0) return permissions.error;
    Check work;
    TreeWorkPool pool(work.limits.threads, [&] { CheckWorker(pool, work).help(); });
    CheckWorker(pool, work).check(entry, permissions);
    // The other threads may still find an error.
    pool.end();
    return work.error;
}

}  // namespace quillmoor::platform::posix
