#include "quillmoor/platform/posix/fs/tree_copy_posix.h"

#include <errno.h>
#include <fcntl.h>

#include <atomic>
#include <new>
#include <utility>

#include "quillmoor/platform/posix/fs/item_copy_posix.h"
#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "quillmoor/platform/posix/fs/rename_posix.h"
#include "quillmoor/platform/posix/fs/tree_remove_posix.h"
#include "quillmoor/platform/posix/fs/tree_worker_posix.h"
#include "quillmoor/platform/posix/ground/names_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// How many entries are passed to another thread at once.
constexpr std::size_t kBatch = 16;

// One operation, shared by several threads.
struct Copying {
    const CopyControl& control;
    TreeLimits limits = treeLimits(2);
    Identity top{};        // the folder at the top of the copy
    bool topMade = false;  // set before other threads are started
    std::atomic<int> error{0};

    void fail(int code) {
        int none = 0;
        error.compare_exchange_strong(none, code);
    }
};

// A folder of the original together with the folder that is made of it.
struct CopyLevel : TreeLevel {
    int copyFolder() const { return copy ? copy.get() : borrowedCopy; }

    struct stat status {};
    // Which folder the copy is, to recognise it when it is opened again from below.
    Identity copyIdentity;
    Descriptor copy;
    // The copy where another thread owns it. That thread keeps it open until this one has reported
    // the entries done.
    int borrowedCopy = -1;
};

// Copies the entries that one thread meets.
class CopyWorker : public TreeWorker {
  public:
    CopyWorker(TreeWorkPool& pool, Copying& work)
        : TreeWorker(pool, work.limits, kBatch), work_(work), copier_(work.control) {}

    CopyResult copy(int folder, const std::string& name, int newFolder,
                    const std::string& newName) {
        try {
            // work() handles a lack of memory for all entries but this one.
            copyEntry(folder, {name.c_str(), 0}, newFolder, newName.c_str());
        } catch (const std::bad_alloc&) {
            runOutOfMemory();
        }
        work();
        return {work_.error, copier_.somethingMade() || work_.topMade};
    }

  private:
    bool isEnded() const override {
        // The first error ends the whole copy, unlike a removal: an incomplete copy is removed
        // again.
        if (work_.control.stop.isStopRequested()) work_.fail(ECANCELED);
        return work_.error.load(std::memory_order_relaxed) != 0;
    }

    void runOutOfMemory() noexcept override { work_.fail(ENOMEM); }

    void visit(TreeLevel& level, const TreeEntry& entry) override {
        copyEntry(level.folder(), entry, static_cast<CopyLevel&>(level).copyFolder(), entry.name);
    }

    void copyEntry(int folder, const TreeEntry& entry, int newFolder, const char* newName) {
        mode_t type = entry.type;
        struct stat status;
        if (type == 0) {
            if (systemCalls().fstatat(folder, entry.name, &status, AT_SYMLINK_NOFOLLOW) != 0)
                return work_.fail(errno);
            type = status.st_mode & S_IFMT;
        }
        const int error = type == S_IFDIR
                              ? enterFolder(folder, entry.name, newFolder, newName)
                              : copier_.copy(folder, entry.name, type, newFolder, newName);
        if (error != 0) work_.fail(error);
    }

    int enterFolder(int folder, const char* name, int newFolder, const char* newName) {
        const SystemCalls& calls = systemCalls();
        auto level = std::make_unique<CopyLevel>();
        Descriptor original(calls.openat(folder, name, kReadFolder, 0));
        if (!original || calls.fstat(original.get(), &level->status) != 0) return errno;
        level->identity = identityOf(level->status);
        // The copy itself, found in the tree that is being copied: it would never end.
        if (work_.topMade && level->identity == work_.top) return EINVAL;
        const int error = makeFolder(newFolder, newName, S_IRWXU, level->copy);
        if (error != 0) return error;
        // Written before other threads are started, which read it without a lock.
        const bool isTop = !work_.topMade;
        if (isTop) work_.topMade = true;
        struct stat copyStatus;
        if (calls.fstat(level->copy.get(), &copyStatus) != 0) return errno;
        level->copyIdentity = identityOf(copyStatus);
        if (isTop) work_.top = level->copyIdentity;
        level->reader.emplace(std::move(original));
        if (level->reader->error() != 0) return level->reader->error();
        enter(std::move(level));
        return 0;
    }

    // Everything in the folder is copied. Its attributes come last: new entries change its dates,
    // and its mode may forbid adding them.
    void leaveTop() override {
        auto& level = static_cast<CopyLevel&>(top());
        int error = level.reader->error();
        if (error == 0) error = takeUp(level);
        if (error == 0) error = copyAttributes(level.folder(), level.copy.get(), level.status);
        if (error != 0) return work_.fail(error);
        work_.control.add(0, 1);
        popTop();
    }

    int takeUp(const CopyLevel& level) {
        auto* const above = static_cast<CopyLevel*>(aboveTop());
        if (above == nullptr || above->isOpen()) return 0;
        const int error = takeUpAbove(ReadOn::Yes);
        return error != 0 ? error : openParent(level.copy.get(), above->copyIdentity, above->copy);
    }

    void putAside(TreeLevel& level) override {
        static_cast<CopyLevel&>(level).copy.reset();
        TreeWorker::putAside(level);
    }

    std::unique_ptr<TreeLevel> makeBorrowedLevel(TreeLevel& owner) override {
        auto level = std::make_unique<CopyLevel>();
        level->borrowedCopy = static_cast<CopyLevel&>(owner).copyFolder();
        return level;
    }

    Copying& work_;
    ItemCopier copier_;
};

// Copies `from` under the temporary name `temporary` into the folder of `to`.
int copyBeside(const DirectoryEntry& from, const DirectoryEntry& to, const CopyControl& control,
               std::string& temporary) {
    for (int attempt = 0; attempt < kTemporaryNameAttempts; ++attempt) {
        temporary = temporaryName(to.name);
        const CopyResult result =
            copyTree(from.folder.get(), from.name, to.folder.get(), temporary, control);
        if (result.error == 0) return 0;
        // EEXIST without anything made: only the temporary name was taken, and another one may be
        // free. What was made is removed, whatever ended the copy.
        if (result.somethingMade) removeTree(to.folder.get(), temporary, TreeKind::OurOwn);
        if (result.somethingMade || result.error != EEXIST) return result.error;
    }
    return EEXIST;
}

// Finds in advance what would make a long copy fail at its end. It decides nothing: the name may be
// taken meanwhile, which the renaming reports.
int checkPlaces(const DirectoryEntry& from, const DirectoryEntry& to) {
    struct stat status;
    struct stat other;
    const int error = statusOf(from, FollowLink::No, status);
    if (error != 0) return error;
    if (systemCalls().fstatat(to.folder.get(), to.name.c_str(), &other, AT_SYMLINK_NOFOLLOW) == 0)
        return EEXIST;
    if (errno != ENOENT) return errno;
    if (!S_ISDIR(status.st_mode)) return to.asFolder ? ENOTDIR : 0;
    return isSameOrBelow(to.folder.get(), identityOf(status)) ? EINVAL : 0;
}

}  // namespace

CopyResult copyTree(int folder, const std::string& name, int newFolder, const std::string& newName,
                    const CopyControl& control) {
    if (control.stop.isStopRequested()) return {ECANCELED, false};
    Copying work{control};
    TreeWorkPool pool(work.limits.threads, [&] { CopyWorker(pool, work).help(); });
    return CopyWorker(pool, work).copy(folder, name, newFolder, newName);
}

int copyItemTo(const DirectoryEntry& from, const DirectoryEntry& to, Identity& copy,
               const CopyControl& control) {
    const int folder = to.folder.get();
    std::string temporary;
    int error = checkPlaces(from, to);
    if (error == 0) error = copyBeside(from, to, control, temporary);
    if (error != 0) return error;
    struct stat status;
    // Under the temporary name, since another process may replace the item as soon as it has its
    // final one.
    if (systemCalls().fstatat(folder, temporary.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        error = errno;
    else
        copy = identityOf(status);
    if (error == 0) error = renameWithoutReplacing(folder, temporary, folder, to.name);
    if (error != 0) removeTree(folder, temporary, TreeKind::OurOwn);
    return error;
}

}  // namespace quillmoor::platform::posix
