#include "platform/file_manager.h"

#include <errno.h>
#include <unistd.h>

#include "platform/native_services.h"
#include "platform/posix/atomic_write_posix.h"
#include "platform/posix/create_folder_posix.h"
#include "platform/posix/directory_posix.h"
#include "platform/posix/error_text_posix.h"
#include "platform/posix/move_posix.h"
#include "platform/posix/place_posix.h"
#include "platform/posix/system_calls_posix.h"
#include "platform/posix/tree_remove_posix.h"

namespace quillmoor::platform {
namespace posix {
namespace {

int removePath(const std::string& path) {
    Place place;
    struct stat status;
    int error = locate(path, place);
    if (error == 0 && !place.hasNameOfItsOwn()) error = EINVAL;
    if (error == 0 && place.asFolder) error = statusOf(place, FollowLink::No, status);
    if (error != 0) return error;
    return removeTree(place.folder.get(), place.name, TreeKind::Given).error;
}

class PosixFileManager : public FileManager {
  public:
    bool fileExists(const std::string& path) override {
        struct stat status;
        return statusAt(path, status) == 0;
    }

    bool isDirectory(const std::string& path) override {
        struct stat status;
        return statusAt(path, status) == 0 && S_ISDIR(status.st_mode);
    }

    bool isExecutableFile(const std::string& path) override {
        if (fitsOneCall(path)) return systemCalls().faccessat(AT_FDCWD, path.c_str(), X_OK, 0) == 0;
        Place place;
        struct stat status;
        if (locate(path, place) != 0 || statusOf(place, FollowLink::Yes, status) != 0) return false;
        return systemCalls().faccessat(place.folder.get(), place.name.c_str(), X_OK, 0) == 0;
    }

    std::optional<StringList> contentsOfDirectory(const std::string& path) override {
        Descriptor folder;
        if (openFolder(path, folder) != 0) return std::nullopt;
        DirectoryReader reader(Descriptor(systemCalls().openat(folder.get(), ".", kReadFolder, 0)));
        StringList names;
        while (const dirent* entry = reader.next()) names.emplace_back(entry->d_name);
        if (reader.error() != 0) return std::nullopt;
        return names;
    }

    Outcome createDirectoryWithIntermediates(const std::string& path) override {
        return fileOutcome(FileVerb::Created, path, createFolders(path));
    }

    Outcome removeItem(const std::string& path) override {
        return fileOutcome(FileVerb::Removed, path, removePath(path));
    }

    Outcome moveItem(const std::string& path, const std::string& destination) override {
        return fileOutcome(FileVerb::Moved, path, movePath(path, destination));
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
