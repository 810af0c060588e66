#include "quillmoor/platform/linux/desktop/entry_folder_linux.h"

#include <errno.h>
#include <sys/stat.h>

#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/linux/ground/environment_linux.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/fs/atomic_write_posix.h"
#include "quillmoor/platform/posix/fs/create_folder_posix.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::linux_ {
namespace {

using posix::Descriptor;
using posix::Owner;
using posix::systemCalls;

constexpr mode_t kUsualMode = 0777;

// Opens the folder `name` in `at`, made for `owner` where it is missing. A link in place of the
// folder is refused by kReadFolder.
int enter(const Owner& owner, const char* name, Descriptor& at) {
    Descriptor next(systemCalls().openat(at.get(), name, posix::kReadFolder, 0));
    int error = next ? 0 : errno;
    if (error == ENOENT) error = posix::makeFolderFor(owner, at.get(), name, kUsualMode, next);
    if (error == 0) at = std::move(next);
    return error;
}

}  // namespace

int openOwnEntryFolder(std::string& path, Descriptor& folder) {
    const OptionalPath data = absolutePathInEnvironment("XDG_DATA_HOME");
    path = *appendPathComponent(
        data ? *data : *appendPathComponent(homeOfThisProcess(), ".local/share"), "applications");
    const int error = posix::createFolders(path);
    return error != 0 ? error : posix::openFolder(path, folder);
}

int openConsoleUsersEntryFolder(Descriptor& folder) {
    Locations& locations = *current().locations;
    const OptionalString user = locations.consoleUser();
    const OptionalPath home = user ? locations.homeDirectoryForUser(user) : std::nullopt;
    if (!home) return ENOENT;
    Descriptor at;
    struct stat status;
    int error = posix::openFolder(*home, at);
    if (error == 0 && systemCalls().fstat(at.get(), &status) != 0) error = errno;
    if (error != 0) return error;
    // Not by XDG_DATA_HOME: root's environment is not the user's. Step by step, since that user may
    // put a link in any of these places.
    for (const char* name : {".local", "share", "applications"}) {
        error = enter({status.st_uid, status.st_gid}, name, at);
        if (error != 0) return error;
    }
    folder = std::move(at);
    return 0;
}

int writeEntry(const Descriptor& folder, const std::string& name, const std::string& text) {
    // By its descriptor: its path may lead elsewhere by now.
    const std::string path = "/proc/self/fd/" + std::to_string(folder.get());
    return posix::writeFileAtomically(path + "/" + name, text);
}

}  // namespace quillmoor::platform::linux_
