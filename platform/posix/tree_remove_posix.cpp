#include "platform/posix/tree_remove_posix.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <optional>
#include <set>
#include <vector>

#include "platform/posix/directory_posix.h"
#include "platform/posix/place_posix.h"
#include "platform/posix/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

// How many folders are open at once, the deepest ones.
constexpr std::size_t kOpenFolders = 32;

// How often one folder is read, which somebody may be filling meanwhile.
constexpr int kMostPasses = 64;

// unlinkat's answers when the item is a folder: Linux's, and everybody else's. Both have other
// reasons as well.
bool mayBeFolder(int error) {
    return error == EISDIR || error == EPERM;
}

class TreeRemoval {
  public:
    TreeRemoval(int folder, TreeKind kind) : base_(folder), kind_(kind) {}

    RemovalResult run(const std::string& name) {
        removeEntry(base_, name, 0);
        while (!levels_.empty() && !lost_) step();
        return {error_, removedSomething_};
    }

  private:
    // A folder that is being emptied.
    struct Level {
        std::string name;
        Identity identity;
        std::optional<DirectoryReader> reader;  // none while the folder is put aside
        std::set<std::string> leftFolders;      // those that could not be emptied or removed
        bool leftSomething = false;
        bool removedInThisPass = false;
        int passes = 1;
    };

    int parentOfTop() const {
        return levels_.size() < 2 ? base_ : levels_[levels_.size() - 2].reader->folder();
    }

    void step() {
        Level& level = levels_.back();
        const dirent* entry = level.reader->next();
        if (entry == nullptr) return finishPass();
        const std::string name = entry->d_name;
        if (!level.leftFolders.contains(name))
            removeEntry(level.reader->folder(), name, typeOf(*entry));
    }

    // Removes the entry, or puts its folder on top of the stack.
    void removeEntry(int folder, const std::string& name, mode_t type) {
        if (type != S_IFDIR) {
            if (unlink(folder, name, 0)) return;
            const int error = errno;
            if (error == ENOENT && !levels_.empty()) return;
            if (!mayBeFolder(error)) return noteFailure(error);
            if (!isFolder(folder, name)) return noteFailure(error);
        }
        const int error = enter(folder, name);
        if (error == 0 || error == ENOENT) return;
        // It is no folder any more, or one that may not be read but perhaps is empty.
        const bool replaced = error == ENOTDIR || error == ELOOP;
        if (unlink(folder, name, replaced ? 0 : AT_REMOVEDIR)) return;
        if (!levels_.empty()) levels_.back().leftFolders.insert(name);
        noteFailure(error);
    }

    static bool isFolder(int folder, const std::string& name) {
        struct stat status;
        return systemCalls().fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
               S_ISDIR(status.st_mode);
    }

    bool unlink(int folder, const std::string& name, int flags) {
        if (systemCalls().unlinkat(folder, name.c_str(), flags) != 0) return false;
        removedSomething_ = true;
        if (!levels_.empty()) levels_.back().removedInThisPass = true;
        return true;
    }

    int enter(int folder, const std::string& name) {
        Descriptor opened;
        struct stat status;
        int error = openForReading(folder, name, opened, status);
        if (error != 0) return error;
        DirectoryReader reader(std::move(opened));
        if (reader.error() != 0) return reader.error();
        if (levels_.size() >= kOpenFolders) levels_[levels_.size() - kOpenFolders].reader.reset();
        levels_.push_back({name, identityOf(status), std::move(reader), {}});
        return 0;
    }

    int openForReading(int folder, const std::string& name, Descriptor& opened,
                       struct stat& status) const {
        const SystemCalls& calls = systemCalls();
        opened = Descriptor(calls.openat(folder, name.c_str(), kReadFolder, 0));
        if (!opened && errno == EACCES && kind_ == TreeKind::OurOwn) {
            if (calls.fchmodat(folder, name.c_str(), S_IRWXU, 0) != 0) return errno;
            opened = Descriptor(calls.openat(folder, name.c_str(), kReadFolder, 0));
        }
        if (!opened || calls.fstat(opened.get(), &status) != 0) return errno;
        const bool closed = (status.st_mode & S_IRWXU) != S_IRWXU;
        if (closed && kind_ == TreeKind::OurOwn && calls.fchmod(opened.get(), S_IRWXU) != 0)
            return errno;
        return 0;
    }

    // The folder on top has been read to its end.
    void finishPass() {
        Level& level = levels_.back();
        if (level.reader->error() != 0 && level.reader->error() != ENOENT) {
            noteFailure(level.reader->error());
        } else if (!level.leftSomething) {
            if (!reopenParent()) return;
            if (unlinkTop()) return;
            const int error = errno;
            // Entries may be passed over while others are removed under the reader's hands.
            const bool notEmpty = error == ENOTEMPTY || error == EEXIST;
            if (notEmpty && level.removedInThisPass && level.passes < kMostPasses) {
                level.removedInThisPass = false;
                ++level.passes;
                return level.reader->rewind();
            }
            noteFailure(error);
        }
        leaveTop();
    }

    // Removes the emptied folder on top and takes it off the stack.
    bool unlinkTop() {
        Level& level = levels_.back();
        const int folder = parentOfTop();
        const bool gone = systemCalls().unlinkat(folder, level.name.c_str(), AT_REMOVEDIR) == 0;
        if (!gone && errno != ENOENT) return false;
        removedSomething_ = removedSomething_ || gone;
        levels_.pop_back();
        if (!levels_.empty()) levels_.back().removedInThisPass = true;
        return true;
    }

    // Takes a folder off the stack that stays.
    void leaveTop() {
        if (!reopenParent()) return;
        std::string name = std::move(levels_.back().name);
        levels_.pop_back();
        if (levels_.empty()) return;
        levels_.back().leftFolders.insert(std::move(name));
        levels_.back().leftSomething = true;
    }

    // Opens the folder above the one on top if it was put aside. It is read from its start again:
    // what was removed there is gone, what could not be is in leftFolders or fails once more.
    bool reopenParent() {
        if (levels_.size() < 2 || levels_[levels_.size() - 2].reader) return true;
        Level& parent = levels_[levels_.size() - 2];
        const SystemCalls& calls = systemCalls();
        Descriptor opened(calls.openat(levels_.back().reader->folder(), "..", kReadFolder, 0));
        struct stat status;
        if (!opened || calls.fstat(opened.get(), &status) != 0) return loseTheWay(errno);
        if (identityOf(status) != parent.identity) return loseTheWay(EBUSY);
        DirectoryReader reader(std::move(opened));
        if (reader.error() != 0) return loseTheWay(reader.error());
        parent.reader = std::move(reader);
        return true;
    }

    bool loseTheWay(int error) {
        noteFailure(error);
        lost_ = true;
        return false;
    }

    void noteFailure(int error) {
        if (error_ == 0) error_ = error;
        if (!levels_.empty()) levels_.back().leftSomething = true;
    }

    const int base_;
    const TreeKind kind_;
    std::vector<Level> levels_;
    int error_ = 0;
    bool removedSomething_ = false;
    bool lost_ = false;
};

}  // namespace

RemovalResult removeTree(int folder, const std::string& name, TreeKind kind) {
    return TreeRemoval(folder, kind).run(name);
}

}  // namespace quillmoor::platform::posix
