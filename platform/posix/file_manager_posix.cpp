#include "quillmoor/platform/file_manager.h"

#include <errno.h>
#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/fs/atomic_write_posix.h"
#include "quillmoor/platform/posix/fs/create_folder_posix.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/directory_posix.h"
#include "quillmoor/platform/posix/fs/move_posix.h"
#include "quillmoor/platform/posix/fs/tree_remove_posix.h"
#include "quillmoor/platform/posix/ground/error_text_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform {
namespace posix {
namespace {

// access(2). By the real ids, since the flags are 0.
bool permits(const std::string& path, int mode) {
    if (fitsOneCall(path)) return systemCalls().faccessat(AT_FDCWD, path.c_str(), mode, 0) == 0;
    DirectoryEntry entry;
    struct stat status;
    if (resolveParent(path, entry) != 0 || statusOf(entry, FollowLink::Yes, status) != 0)
        return false;
    return systemCalls().faccessat(entry.folder.get(), entry.name.c_str(), mode, 0) == 0;
}

// Errors of an item that does not exist or that this user cannot reach.
bool saysMissing(int error) {
    constexpr int kMissing[] = {ENOENT, ENOTDIR, EACCES, ELOOP, ENAMETOOLONG, EINVAL};
    return std::find(std::begin(kMissing), std::end(kMissing), error) != std::end(kMissing);
}

class PosixFileManager : public FileManager {
  public:
    bool fileExists(const std::string& path) override {
        struct stat status;
        return statusAt(path, status) == 0;
    }

    // Not the opposite of fileExists: after another error, such as one of the disk, the item may
    // well exist.
    bool isMissing(const std::string& path) override {
        struct stat status;
        return saysMissing(statusAt(path, status));
    }

    bool isDirectory(const std::string& path) override {
        struct stat status;
        return statusAt(path, status) == 0 && S_ISDIR(status.st_mode);
    }

    std::optional<FileIdentity> identityOfItem(const std::string& path) override {
        struct stat status;
        if (statusAt(path, status) != 0) return std::nullopt;
        return FileIdentity{static_cast<std::uint64_t>(status.st_dev), status.st_ino};
    }

    bool isExecutableFile(const std::string& path) override { return permits(path, X_OK); }

    bool isWritableFile(const std::string& path) override { return permits(path, W_OK); }

    OptionalString destinationOfSymbolicLink(const std::string& path) override {
        DirectoryEntry entry;
        struct stat status;
        if (resolveParent(path, entry) != 0 || statusOf(entry, FollowLink::No, status) != 0 ||
            !S_ISLNK(status.st_mode))
            return std::nullopt;
        // No link has a longer target: symlink(2) refuses it.
        std::string target(PATH_MAX, '\0');
        const ssize_t size = systemCalls().readlinkat(entry.folder.get(), entry.name.c_str(),
                                                      target.data(), target.size());
        if (size < 0) return std::nullopt;
        target.resize(static_cast<std::size_t>(size));
        return target;
    }

    std::optional<StringList> contentsOfDirectory(const std::string& path) override {
        Descriptor folder;
        if (openForReading(path, folder) != 0) return std::nullopt;
        DirectoryReader reader(std::move(folder));
        StringList names;
        while (const dirent* entry = reader.next()) names.emplace_back(entry->d_name);
        if (reader.error() != 0) return std::nullopt;
        return names;
    }

    Outcome createDirectoryWithIntermediates(const std::string& path) override {
        bool madeSomething = false;
        const int error = createFolders(path, &madeSomething);
        return fileOutcome(FileVerb::Created, path, error, madeSomething);
    }

    Outcome removeItem(const std::string& path) override {
        const RemovalResult result = removePath(path);
        return fileOutcome(FileVerb::Removed, path, result.error, result.removedSomething);
    }

    Outcome moveItem(const std::string& path, const std::string& destination) override {
        const MoveResult result = movePath(path, destination);
        if (result.error == 0) return Outcome::success();
        Error error{result.error, {}, result.copyRemains};
        try {
            error.description = fileError(FileVerb::Moved, path, result.error).description;
        } catch (const std::bad_alloc&) {
            // copyRemains must be reported also without a text.
        }
        return Outcome::failure(std::move(error));
    }

    Outcome copyItem(const std::string& path, const std::string& destination) override {
        return fileOutcome(FileVerb::Copied, path, copyPath(path, destination));
    }

    Outcome writeAtomically(const std::string& path, std::string_view contents) override {
        return fileOutcome(FileVerb::Written, path, writeFileAtomically(path, contents));
    }
};

}  // namespace
}  // namespace posix

FileManager* nativeFileManager() {
    static auto* const manager = new posix::PosixFileManager;
    return manager;
}

}  // namespace quillmoor::platform
