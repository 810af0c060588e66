#include "auth/KXAuthorization.h"
#include "auth/checks.h"
#include "base/format.h"
#include "base/paths.h"
#include "paths/KXLocalPaths.h"
#include "platform/platform.h"

namespace quillmoor {
namespace {

// 14 digits of local time, as in 20240131235959.
std::string stamp() {
    platform::Clock& clock = *platform::current().clock;
    const std::tm now = clock.localTime(clock.now());
    return formatted("%04d%02d%02d%02d%02d%02d", now.tm_year + 1900, now.tm_mon + 1, now.tm_mday,
                     now.tm_hour, now.tm_min, now.tm_sec);
}

}  // namespace

bool KXAuthorization::authTrashFile(const OptionalPath& path) {
    return authTrashFile(path, DeleteOnRootAccount::No);
}

bool KXAuthorization::authTrashFile(const OptionalPath& path,
                                    DeleteOnRootAccount deleteOnRootAccount) {
    if (isProtected(path)) {
        platform::current().console->log(
            formatted("Unable to trash path %@ because it is a system directory.", path));
        return false;
    }
    // What has the item's name in the Trash is removed, and the item stays. Kept so.
    if (isOwnAccountOfSuperUser(deleteOnRootAccount)) return authRemoveFile(trashDestination(path));
    return moveToTrash(path);
}

bool KXAuthorization::authTrashFolderContents(const OptionalPath& folder) {
    return authTrashFolderContents(folder, DeleteOnRootAccount::No);
}

bool KXAuthorization::authTrashFolderContents(const OptionalPath& folder,
                                              DeleteOnRootAccount deleteOnRootAccount) {
    if (isProtected(folder)) {
        platform::current().console->log(formatted(
            "Unable to trash folder contents of path %@ because it is a system directory.",
            folder));
        return false;
    }
    const StringList names = folderEntries(folder);
    const bool removes = isOwnAccountOfSuperUser(deleteOnRootAccount);
    bool allStarted = true;
    for (const std::string& name : names) {
        const OptionalPath entry = appendPathComponent(folder, name);
        const bool started =
            removes ? authExecTask("/bin/rm", {"-R", "-f", *entry}) == 0 : authTrashFile(entry);
        allStarted = started && allStarted;
    }
    return allStarted;
}

bool KXAuthorization::isOwnAccountOfSuperUser(DeleteOnRootAccount deleteOnRootAccount) const {
    return deleteOnRootAccount == DeleteOnRootAccount::Yes && !userDirectory_ && isSuperUser();
}

OptionalPath KXAuthorization::trashFolder() const {
    if (isSuperUser() && userDirectory_) return *userDirectory_ + "/.Trash";
    return KXLocalPaths::trashDirectory();
}

OptionalPath KXAuthorization::trashDestination(const OptionalPath& path) const {
    if (!path) return std::nullopt;
    OptionalPath destination = appendPathComponent(trashFolder(), lastPathComponent(*path));
    if (!somethingAt(destination)) return destination;
    return stampedPath(*destination, stamp(), pathExtension(*path));
}

// The tool knows nothing of the Trash: the back-end makes it ready first, so that the name is
// looked for where the item will come to.
bool KXAuthorization::moveToTrash(const OptionalPath& path) {
    platform::Workspace& workspace = *platform::current().workspace;
    const OptionalPath trash = trashFolder();
    if (!somethingAt(path) || !trash) return authMoveFile(path, trashDestination(path));
    if (!workspace.prepareTrash(*trash)) return false;
    const OptionalPath destination = trashDestination(path);
    const std::string name = lastPathComponent(*destination);
    if (!workspace.announceTrash(*trash, name, *path)) return false;
    if (authMoveFile(path, destination)) return true;
    workspace.abandonTrash(*trash, name);
    return false;
}

}  // namespace quillmoor
