#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/log/KXLog.h"

namespace quillmoor {

bool KXFileManager::removeFile(const OptionalPath& path) try {
    return removeFile(path, ShouldAuth::Yes);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager removeFile:]", false);
}

bool KXFileManager::removeFile(const OptionalPath& path, ShouldAuth shouldAuth) try {
    // A locked item cannot be removed. For a missing one this only logs that it cannot be unlocked.
    unlockFile(path);
    if (isGone(path)) return true;
    const Outcome removed = fileManager().removeItem(*path);
    if (removed) return true;
    // Says so even if it may not ask. Kept for compatibility.
    KXLog::appendLog("Error removing file: %@. Authorizing...", removed.error().description);
    return shouldAuth == ShouldAuth::Yes &&
           withAuthorization(
               "+[KXFileManager removeFile:shouldAuth:]",
               [&](KXAuthorization& session) { return session.authRemoveFile(path); });
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager removeFile:shouldAuth:]", false);
}

bool KXFileManager::removeFile(const OptionalPath& path, std::chrono::seconds timeout) try {
    return removeFile(path, ShouldAuth::Yes) && waitUntil([&] { return isGone(path); }, timeout);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager removeFile:timeout:]", false);
}

bool KXFileManager::removeFolderIfEmpty(const OptionalPath& folder) try {
    // Unlike isFolderEmpty: a folder that cannot be listed must not be removed with what is in it.
    return (!folder || holdsNothing(*folder, Unlisted::IsNot)) && removeFile(folder);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager removeFolderIfEmpty:]", false);
}

}  // namespace quillmoor
