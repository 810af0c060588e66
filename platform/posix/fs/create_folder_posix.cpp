#include "quillmoor/platform/posix/fs/create_folder_posix.h"

#include <errno.h>

#include <optional>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

constexpr mode_t kUsualMode = 0777;

// Walks down a path and makes the folders that are missing.
class FolderMaker {
  public:
    int run(const StringList& components) {
        // For searching only: no folder on the way has to be readable.
        const int error = openFolder(components.front() == "/" ? "/" : ".", at_);
        if (error != 0) return error;
        for (const std::string& component : components) {
            if (component == "/") continue;
            const int stepError = enter(component, &component == &components.back());
            if (stepError != 0) return stepError;
        }
        return 0;
    }

    bool hasMadeSomething() const { return hasMadeSomething_; }

  private:
    int enter(const std::string& name, bool last) {
        int error = open(name);
        // A file with the last name is the same failure as one that createFolders() finds at once.
        if (error != ENOENT) return error == ENOTDIR && last ? EEXIST : error;
        error = make(name, last);
        // Another process has made it meanwhile, or it is a dangling link.
        return error == EEXIST && open(name) == 0 ? 0 : error;
    }

    // Links to existing folders are followed, as in any path.
    int open(const std::string& name, int flags = 0) {
        Descriptor next(systemCalls().openat(at_.get(), name.c_str(), kSearchFolder | flags, 0));
        if (!next) return errno;
        at_ = std::move(next);
        return 0;
    }

    // Makes the folder, and enters it unless it is the last one. Links are not followed: a hostile
    // user may put one in the place of the new folder.
    int make(const std::string& name, bool last) {
        if (const std::optional<Owner> owner = ownerOfNewItemsIn(at_.get())) {
            Descriptor made;
            const int error = makeFolderFor(*owner, at_.get(), name, kUsualMode, made);
            if (error != 0) return error;
            hasMadeSomething_ = true;
            at_ = std::move(made);
            return 0;
        }
        if (systemCalls().mkdirat(at_.get(), name.c_str(), kUsualMode) != 0) return errno;
        hasMadeSomething_ = true;
        return last ? 0 : open(name, O_NOFOLLOW);
    }

    Descriptor at_;
    bool hasMadeSomething_ = false;
};

}  // namespace

int createFolders(const std::string& path, bool* madeSomething) {
    if (path.empty() || path.find('\0') != std::string::npos) return ENOENT;
    struct stat status;
    if (statusAt(path, status) == 0) return S_ISDIR(status.st_mode) ? 0 : EEXIST;
    FolderMaker maker;
    const int error = maker.run(pathComponents(path));
    if (madeSomething != nullptr) *madeSomething = maker.hasMadeSomething();
    return error;
}

}  // namespace quillmoor::platform::posix
