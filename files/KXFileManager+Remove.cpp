#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/log/KXLog.h"

namespace quillmoor {

bool KXFileManager::removeFile(const OptionalPath& path) {
    return perform({"+[KXFileManager removeFile:]", path}, false,
                   [&] { return removeFile(path, ShouldAuth::Yes); });
}

bool KXFileManager::removeFile(const OptionalPath& path, ShouldAuth shouldAuth) {
    return perform({"+[KXFileManager removeFile:shouldAuth:]", path}, false, [&] {
        // A locked item cannot be removed. For a missing one this only logs that it cannot be
        // unlocked.
        unlockFile(path);
        if (isGone(path)) return true;
        const Outcome removed = fileManager().removeItem(*path);
        if (removed) return true;
        noteFailure(removed.error());
        // Says so even if it may not ask. Kept for compatibility.
        KXLog::appendLog("Error removing file: %@. Authorizing...", removed.error().description);
        return shouldAuth == ShouldAuth::Yes &&
               withAuthorization(
                   "+[KXFileManager removeFile:shouldAuth:]",
                   [&](KXAuthorization& session) { return session.authRemoveFile(path); });
    });
}

bool KXFileManager::removeFile(const OptionalPath& path, std::chrono::seconds timeout) {
    return perform({"+[KXFileManager removeFile:timeout:]", path}, false, [&] {
        return removeFile(path, ShouldAuth::Yes) &&
               waitUntil([&] { return isGone(path); }, timeout);
    });
}

bool KXFileManager::removeFolderIfEmpty(const OptionalPath& folder) {
    return perform({"+[KXFileManager removeFolderIfEmpty:]", folder}, false, [&] {
        // Unlike isFolderEmpty: a folder that cannot be listed must not be removed with what is in
        // it.
        if (folder && !holdsNothing(*folder, Unlisted::IsNot))
            return noteFailure(KXFailure::Reason::NotEmpty);
        return removeFile(folder);
    });
}

}  // namespace quillmoor
