#include "quillmoor/platform/linux/trash/trash_linux.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <exception>
#include <string_view>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/ground/environment_linux.h"
#include "quillmoor/platform/linux/trash/trash_folder_linux.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/move_posix.h"
#include "quillmoor/platform/posix/ground/error_text_posix.h"
#include "quillmoor/platform/posix/ground/names_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_ {
namespace {

// The home of the Trash `destination`; nil when it is not the path of a Trash.
OptionalPath homeOf(const OptionalPath& destination) {
    constexpr std::string_view suffix = "/.Trash";
    if (!destination) return homeOfThisProcess();
    if (!destination->starts_with('/') || !destination->ends_with(suffix)) return std::nullopt;
    const std::string home = destination->substr(0, destination->size() - suffix.size());
    return home.empty() ? "/" : home;
}

bool isOneName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

// The real path of the open folder: links in the path may be gone when the item is put back.
std::string pathOf(int folder, const std::string& spelled) {
    char path[PATH_MAX];
    const std::string self = "/proc/self/fd/" + std::to_string(folder);
    const ssize_t size = ::readlink(self.c_str(), path, sizeof path);
    // Without /proc the path is taken as it was given, from the working folder.
    if (size > 0 && path[0] == '/') return {path, static_cast<std::size_t>(size)};
    if (spelled.starts_with('/') || ::getcwd(path, sizeof path) == nullptr) return spelled;
    return std::string(path) + "/" + spelled;
}

// Moves one item into the Trash.
class Recycling {
  public:
    Recycling(const TrashFolder& trash, const posix::DirectoryEntry& from, std::string originalPath)
        : trash_(trash), from_(from), originalPath_(std::move(originalPath)) {}

    // Returns 0 or the error number.
    int run() {
        const posix::SystemCalls& calls = posix::systemCalls();
        // A descriptor of its own: the entry closes it.
        to_.folder = posix::Descriptor(calls.openat(trash_.items(), ".", posix::kSearchFolder, 0));
        if (!to_.folder) return errno;
        // Without a record there is room for the whole name, unless it needs a number.
        if (!trash_.keepsRecords() && !isTaken(from_.name)) return result_.error;
        uniqueFilename(posix::shortenedName(from_.name, TrashFolder::kLongestName),
                       [this](const std::string& name) { return isTaken(name); });
        return result_.error;
    }

    // After a failure: the name of a complete copy that remains in the Trash; null if there is
    // none.
    const std::string* remainingCopy() const { return result_.copyRemains ? &to_.name : nullptr; }

  private:
    // Tries to move the item under that name. False ends the search: the item was moved, or cannot
    // be.
    bool isTaken(const std::string& name) {
        to_.name = name;
        result_ = {trash_.reserve(name, originalPath_)};
        if (result_.error != 0) return result_.error == EEXIST;
        result_ = posix::moveItemTo(from_, to_);
        if (result_.error == 0 || result_.copyRemains) return false;
        trash_.release(name);
        // EEXIST without an item of that name has another cause, for which another name would be no
        // help.
        return result_.error == EEXIST && destinationExists();
    }

    bool destinationExists() const {
        struct stat status;
        return posix::statusOf(to_, posix::FollowLink::No, status) == 0;
    }

    const TrashFolder& trash_;
    const posix::DirectoryEntry& from_;
    const std::string originalPath_;
    posix::DirectoryEntry to_;
    posix::MoveResult result_;
};

// The path to which the item is to be put back. This process may not be able to reach the item
// itself.
std::string originalPathOf(const std::string& item) {
    std::string parent = deleteLastPathComponent(item);
    if (parent.empty()) parent = ".";
    const posix::Descriptor folder(
        posix::systemCalls().openat(AT_FDCWD, parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0));
    if (!folder) return item;
    const std::string path = pathOf(folder.get(), parent);
    return (path == "/" ? "" : path) + "/" + lastPathComponent(item);
}

std::optional<TrashFolder> openTrash(const OptionalPath& destination, int& error) {
    const OptionalPath home = homeOf(destination);
    if (!home) {
        error = EINVAL;
        return std::nullopt;
    }
    return TrashFolder::open(withoutTrailingSlashes(*home), error);
}

bool leadsTo(const std::string& path, const TrashFolder& trash) {
    struct stat byPath;
    struct stat open;
    return ::stat(path.c_str(), &byPath) == 0 && ::fstat(trash.items(), &open) == 0 &&
           posix::identityOf(byPath) == posix::identityOf(open);
}

// False for root in another user's home, for whom root acts.
bool isOwnHome(const std::string& home) {
    struct stat status;
    return ::stat(home.c_str(), &status) == 0 && (::geteuid() != 0 || status.st_uid == 0);
}

OptionalPath realPath(const std::string& path) {
    char real[PATH_MAX];
    const bool isThere = posix::systemCalls().realpath(path.c_str(), real) != nullptr;
    return isThere ? OptionalPath(real) : std::nullopt;
}

// The real path, as far as this process can resolve it: an item behind a folder that it may not
// search counts as in that folder. nil for a missing item, or when the rest has a component that
// leads out again.
OptionalPath nearestRealPath(std::string path) {
    for (;;) {
        if (OptionalPath real = realPath(path)) return real;
        if (errno != EACCES || !isOneName(lastPathComponent(path))) return std::nullopt;
        path = deleteLastPathComponent(path);
    }
}

// True when ~/.Trash is a folder, or a link that leads to an item in the home.
bool staysInHome(const std::string& home, const std::string& path) {
    struct stat status;
    if (::lstat(path.c_str(), &status) != 0) return false;
    if (!S_ISLNK(status.st_mode)) return S_ISDIR(status.st_mode);
    char target[PATH_MAX];
    const ssize_t size = ::readlink(path.c_str(), target, sizeof target);
    if (size <= 0) return false;
    const std::string spelled(target, static_cast<std::size_t>(size));
    const OptionalPath inside = realPath(home);
    const OptionalPath real =
        nearestRealPath(spelled.starts_with('/') ? spelled : home + "/" + spelled);
    return inside && real && real->starts_with(*inside + "/");
}

// Returns 0 or the error number. `items` is the caller's path of the Trash. noexcept, since the
// outcome of the items before this one must be reported.
int recycleOne(const TrashFolder& trash, const std::string& items, const std::string& folderPath,
               const std::string& name, RecycleOutcome& outcome) noexcept try {
    const std::string source = folderPath.empty() ? "." : folderPath;
    posix::DirectoryEntry from;
    struct stat status;
    if (!isOneName(name)) return EINVAL;
    int error = posix::openFolder(source, from.folder);
    from.name = name;
    if (error == 0) error = posix::statusOf(from, posix::FollowLink::No, status);
    if (error != 0) return error;
    if (trash.holds(from.folder.get())) return 0;
    std::string folder = pathOf(from.folder.get(), source);
    if (folder == "/") folder.clear();
    Recycling recycling(trash, from, folder + "/" + name);
    // Made first, so that a copy that remains can be reported without memory.
    RecycleOutcome::RemainingCopy remaining{folder + "/" + name,
                                            pathOf(trash.items(), items) + "/"};
    remaining.copy.reserve(remaining.copy.size() + NAME_MAX);
    outcome.remainingCopies.reserve(outcome.remainingCopies.size() + 1);
    error = recycling.run();
    if (const std::string* const copy = recycling.remainingCopy()) {
        remaining.copy += *copy;
        outcome.remainingCopies.push_back(std::move(remaining));
    }
    return error;
} catch (const std::bad_alloc&) {
    return ENOMEM;
} catch (const std::exception&) {
    return EIO;
}

// Without memory for the text the error has its number only.
void addFailure(RecycleOutcome& outcome, const std::string& name, int error,
                bool copyRemains) noexcept {
    outcome.allMoved = false;
    outcome.error = {error, {}, copyRemains};
    try {
        outcome.error.description =
            posix::fileError(posix::FileVerb::Trashed, name, error).description;
    } catch (const std::bad_alloc&) {
        return;
    }
}

}  // namespace

RecycleOutcome recycleToTrash(const std::string& source, const OptionalPath& destination,
                              const StringList& names) {
    RecycleOutcome outcome;
    int error = 0;
    const auto trash = openTrash(destination, error);
    if (!trash) {
        addFailure(outcome, names.empty() ? "" : names.back(), error, false);
        return outcome;
    }
    const std::string items = destination.value_or(homeOfThisProcess() + "/.Trash");
    outcome.allMoved = true;
    for (const std::string& name : names) {
        const std::size_t copies = outcome.remainingCopies.size();
        error = recycleOne(*trash, items, source, name, outcome);
        if (error != 0) addFailure(outcome, name, error, outcome.remainingCopies.size() != copies);
    }
    return outcome;
}

// The tool moves items by the path: a record is right only where the path leads to the folder that
// is open here.
bool prepareTrash(const std::string& destination) {
    int error = 0;
    const auto trash = openTrash(destination, error);
    if (trash && leadsTo(destination, *trash)) return true;
    const OptionalPath home = homeOf(destination);
    if (!home || !isOwnHome(*home) || (!trash && error != EACCES)) return false;
    // A real folder is made only where the user's own Trash cannot be reached, and not after other
    // errors, since it replaces that Trash from then on.
    if (!trash && ::mkdir(destination.c_str(), S_IRWXU) == 0) return true;
    return staysInHome(*home, destination);
}

bool recordPendingTrash(const std::string& destination, const std::string& name,
                        const std::string& item) {
    int error = 0;
    const auto trash = openTrash(destination, error);
    if (!trash || !isOneName(name) || !leadsTo(destination, *trash)) return false;
    if (!trash->keepsRecords()) return false;
    // The record of an item that is here already belongs to that item.
    return trash->hasItem(name) || trash->record(name, originalPathOf(item)) == 0;
}

void discardTrashRecord(const std::string& destination, const std::string& name) {
    int error = 0;
    const auto trash = openTrash(destination, error);
    if (trash && isOneName(name) && leadsTo(destination, *trash) && !trash->hasItem(name))
        trash->release(name);
}

}  // namespace quillmoor::platform::linux_

namespace quillmoor::platform {
namespace {

class LinuxTrash : public Trash {
  public:
    RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                           const StringList& names) override {
        return linux_::recycleToTrash(source, destination, names);
    }

    bool prepareTrash(const std::string& destination) override {
        return linux_::prepareTrash(destination);
    }

    bool recordPendingTrash(const std::string& destination, const std::string& name,
                            const std::string& item) override {
        return linux_::recordPendingTrash(destination, name, item);
    }

    void discardTrashRecord(const std::string& destination, const std::string& name) override {
        linux_::discardTrashRecord(destination, name);
    }
};

}  // namespace

Trash* nativeTrash() {
    static auto* const trash = new LinuxTrash;
    return trash;
}

}  // namespace quillmoor::platform
