#include <exception>
#include <utility>

#include "quillmoor/auth/KXAuthorization.h"
#include "quillmoor/auth/operation_support.h"
#include "quillmoor/base/format.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {
namespace {

// 14 digits of local time, as in 20240131235959.
std::string stamp() {
    platform::Clock& clock = *platform::current().clock;
    const std::tm now = clock.localTime(clock.now());
    return formatted("%04d%02d%02d%02d%02d%02d", now.tm_year + 1900, now.tm_mon + 1, now.tm_mday,
                     now.tm_hour, now.tm_min, now.tm_sec);
}

// Removes the record of an item that was not moved, also after an exception.
class PendingRecord {
  public:
    PendingRecord(std::string trash, std::string name)
        : trash_(std::move(trash)), name_(std::move(name)) {}
    ~PendingRecord() {
        if (isMoved) return;
        try {
            platform::current().trash->discardTrashRecord(trash_, name_);
        } catch (const std::exception&) {
            return;  // without memory the record remains, and the next item of that name replaces
                     // it
        }
    }
    PendingRecord(const PendingRecord&) = delete;
    PendingRecord& operator=(const PendingRecord&) = delete;

    bool isMoved = false;

  private:
    std::string trash_;
    std::string name_;
};

enum class NamesSeen : bool { No, Yes };

// The item's new path. If the names in the Trash cannot be read, the name counts as taken: the
// tool, which runs as root, would replace an item of that name.
OptionalPath trashDestination(const OptionalPath& trash, const OptionalPath& path,
                              NamesSeen seen = NamesSeen::Yes) {
    if (!path) return std::nullopt;
    OptionalPath destination = appendPathComponent(trash, lastPathComponent(*path));
    if (seen == NamesSeen::Yes && !somethingAt(destination)) return destination;
    return stampedPath(*destination, stamp(), pathExtension(*path));
}

}  // namespace

bool KXAuthorization::authTrashFile(const OptionalPath& path) {
    return recorded({"-[KXAuthorization authTrashFile:]", path},
                    [&] { return authTrashFile(path, DeleteOnRootAccount::No); });
}

bool KXAuthorization::authTrashFile(const OptionalPath& path,
                                    DeleteOnRootAccount deleteOnRootAccount) {
    return recorded({"-[KXAuthorization authTrashFile:deleteOnRootAccount:]", path}, [&] {
        if (isProtected(path)) {
            platform::current().console->log(
                formatted("Unable to trash path %@ because it is a system directory.", path));
            return noteProtected();
        }
        // Removes the item in the Trash that has the new name, not the item itself. Kept for
        // compatibility.
        if (isOwnAccountOfRoot(deleteOnRootAccount))
            return authRemoveFile(trashDestination(trashFolder(), path));
        return moveToTrash(path);
    });
}

bool KXAuthorization::authTrashFolderContents(const OptionalPath& folder) {
    return recorded({"-[KXAuthorization authTrashFolderContents:]", folder},
                    [&] { return authTrashFolderContents(folder, DeleteOnRootAccount::No); });
}

bool KXAuthorization::authTrashFolderContents(const OptionalPath& folder,
                                              DeleteOnRootAccount deleteOnRootAccount) {
    const OperationCall call{"-[KXAuthorization authTrashFolderContents:deleteOnRootAccount:]",
                             folder};
    return recorded(call, [&] {
        if (isProtected(folder)) {
            platform::current().console->log(formatted(
                "Unable to trash folder contents of path %@ because it is a system directory.",
                folder));
            return noteProtected();
        }
        const StringList names = folderEntries(folder);
        const bool removes = isOwnAccountOfRoot(deleteOnRootAccount);
        bool allStarted = true;
        for (const std::string& name : names) {
            const OptionalPath entry = appendPathComponent(folder, name);
            const bool started =
                removes ? authExecTask("/bin/rm", {"-R", "-f", *entry}) == 0 : authTrashFile(entry);
            allStarted = notePartDone(started) && allStarted;
        }
        return allStarted;
    });
}

bool KXAuthorization::isOwnAccountOfRoot(DeleteOnRootAccount deleteOnRootAccount) const {
    return deleteOnRootAccount == DeleteOnRootAccount::Yes && !userDirectory_ && isRoot();
}

OptionalPath KXAuthorization::trashFolder() const {
    if (isRoot() && userDirectory_) return *userDirectory_ + "/.Trash";
    return KXLocalPaths::trashDirectory();
}

// The tool only moves, and knows nothing of the desktop's Trash. So the back-end prepares the Trash
// first, which decides in which folder the name must be free, and the record is written before the
// move, because an item without one could not be restored.
bool KXAuthorization::moveToTrash(const OptionalPath& path) {
    platform::Trash& desktopTrash = *platform::current().trash;
    const OptionalPath trash = trashFolder();
    if (!path || !trash) return authMoveFile(path, trashDestination(trash, path));
    if (!somethingAt(path)) return noteFailure(KXFailure::Reason::MissingItem);
    platform::Console& console = *platform::current().console;
    if (!desktopTrash.prepareTrash(*trash)) {
        const std::string report =
            formatted("Unable to trash path %@ because the Trash %@ cannot be used.", path, trash);
        console.log(report);
        return noteFailure(Error{0, report});
    }
    const NamesSeen seen{somethingAt(*trash + "/.")};
    const OptionalPath destination = trashDestination(trash, path, seen);
    const std::string name = lastPathComponent(*destination);
    const bool canBeRestored = desktopTrash.recordPendingTrash(*trash, name, *path);
    PendingRecord pending{*trash, name};
    pending.isMoved = authMoveFile(path, destination);
    if (pending.isMoved && !canBeRestored)
        console.log(
            formatted("The desktop cannot restore %@ because its Trash has no record of %@.", path,
                      destination));
    return pending.isMoved;
}

}  // namespace quillmoor
