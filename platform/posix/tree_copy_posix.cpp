#include "platform/posix/tree_copy_posix.h"

#include <errno.h>
#include <fcntl.h>

#include <optional>
#include <utility>
#include <vector>

#include "platform/posix/directory_posix.h"
#include "platform/posix/item_copy_posix.h"
#include "platform/posix/names_posix.h"
#include "platform/posix/ownership_posix.h"
#include "platform/posix/rename_posix.h"
#include "platform/posix/system_calls_posix.h"
#include "platform/posix/tree_remove_posix.h"

namespace quillmoor::platform::posix {
namespace {

// How many folders are open at once on either side, the deepest ones.
constexpr std::size_t kOpenFolders = 32;

class TreeCopy {
  public:
    CopyResult run(int folder, const std::string& name, int newFolder, const std::string& newName) {
        int error = copyEntry(folder, name, 0, newFolder, newName);
        while (error == 0 && !levels_.empty()) error = step();
        return {error, copier_.somethingMade() || folderMade_};
    }

  private:
    // A folder that is being copied. Put aside, it has no reader and its copy is closed.
    struct Level {
        std::string name;
        struct stat status;
        Identity copyIdentity;
        std::optional<DirectoryReader> reader;
        Descriptor copy;
    };

    int step() {
        Level& level = levels_.back();
        const dirent* entry = level.reader->next();
        if (entry != nullptr) {
            const std::string name = entry->d_name;
            return copyEntry(level.reader->folder(), name, typeOf(*entry), level.copy.get(), name);
        }
        if (level.reader->error() != 0) return level.reader->error();
        return leave();
    }

    int copyEntry(int folder, const std::string& name, mode_t type, int newFolder,
                  const std::string& newName) {
        if (type == 0) {
            struct stat status;
            if (systemCalls().fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
                return errno;
            type = status.st_mode & S_IFMT;
        }
        return type == S_IFDIR ? enter(folder, name, newFolder, newName)
                               : copier_.copy(folder, name, type, newFolder, newName);
    }

    int enter(int folder, const std::string& name, int newFolder, const std::string& newName) {
        const SystemCalls& calls = systemCalls();
        Level level;
        level.name = name;
        Descriptor original(calls.openat(folder, name.c_str(), kReadFolder, 0));
        if (!original || calls.fstat(original.get(), &level.status) != 0) return errno;
        // The copy itself, come upon in the tree that is being copied.
        if (folderMade_ && identityOf(level.status) == top_) return EINVAL;
        const int error = makeFolder(newFolder, newName, S_IRWXU, level.copy);
        if (error != 0) return error;
        const bool isTop = !std::exchange(folderMade_, true);
        struct stat copyStatus;
        if (calls.fstat(level.copy.get(), &copyStatus) != 0) return errno;
        level.copyIdentity = identityOf(copyStatus);
        if (isTop) top_ = level.copyIdentity;
        level.reader.emplace(std::move(original));
        if (level.reader->error() != 0) return level.reader->error();
        if (levels_.size() >= kOpenFolders) putAside(levels_[levels_.size() - kOpenFolders]);
        levels_.push_back(std::move(level));
        return 0;
    }

    static void putAside(Level& level) {
        level.reader.reset();
        level.copy.reset();
    }

    // The folder on top is copied but for its own attributes.
    int leave() {
        Level& level = levels_.back();
        if (levels_.size() > 1 && !levels_[levels_.size() - 2].reader) {
            const int error = takeUp(levels_[levels_.size() - 2], level);
            if (error != 0) return error;
        }
        const int error = copyAttributes(level.reader->folder(), level.copy.get(), level.status);
        levels_.pop_back();
        return error;
    }

    // Opens again, from the folder `child` in it, a folder that was put aside, and goes on reading
    // behind that child.
    static int takeUp(Level& level, const Level& child) {
        Descriptor original;
        int error = openParent(child.reader->folder(), identityOf(level.status), original);
        if (error == 0) error = openParent(child.copy.get(), level.copyIdentity, level.copy);
        if (error != 0) return error;
        level.reader.emplace(std::move(original));
        while (const dirent* entry = level.reader->next())
            if (child.name == entry->d_name) return 0;
        return level.reader->error() != 0 ? level.reader->error() : ENOENT;
    }

    static int openParent(int folder, const Identity& expected, Descriptor& parent) {
        const SystemCalls& calls = systemCalls();
        Descriptor opened(calls.openat(folder, "..", kReadFolder, 0));
        struct stat status;
        if (!opened || calls.fstat(opened.get(), &status) != 0) return errno;
        if (identityOf(status) != expected) return EBUSY;
        parent = std::move(opened);
        return 0;
    }

    std::vector<Level> levels_;
    ItemCopier copier_;
    Identity top_;
    bool folderMade_ = false;
};

// Under the temporary name `temporary`, beside its place.
int copyBeside(const Place& from, const Place& to, std::string& temporary) {
    for (int attempt = 0; attempt < kTemporaryNameAttempts; ++attempt) {
        temporary = temporaryName(to.name);
        const CopyResult result =
            copyTree(from.folder.get(), from.name, to.folder.get(), temporary);
        if (result.error == 0) return 0;
        if (result.somethingMade) removeTree(to.folder.get(), temporary, TreeKind::OurOwn);
        if (result.somethingMade || result.error != EEXIST) return result.error;
    }
    return EEXIST;
}

int checkPlaces(const Place& from, const Place& to) {
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

CopyResult copyTree(int folder, const std::string& name, int newFolder,
                    const std::string& newName) {
    return TreeCopy().run(folder, name, newFolder, newName);
}

int copyItemTo(const Place& from, const Place& to, Identity& copy) {
    const int folder = to.folder.get();
    std::string temporary;
    int error = checkPlaces(from, to);
    if (error == 0) error = copyBeside(from, to, temporary);
    if (error != 0) return error;
    struct stat status;
    if (systemCalls().fstatat(folder, temporary.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        error = errno;
    else
        copy = identityOf(status);
    if (error == 0) error = renameWithoutReplacing(folder, temporary, folder, to.name);
    if (error != 0) removeTree(folder, temporary, TreeKind::OurOwn);
    return error;
}

}  // namespace quillmoor::platform::posix
