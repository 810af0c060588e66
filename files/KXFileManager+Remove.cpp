#include "files/KXFileManager.h"
#include "files/item.h"
#include "log/KXLog.h"

namespace quillmoor {

bool KXFileManager::removeFile(const OptionalPath& path) {
    return removeFile(path, ShouldAuth::Yes);
}

bool KXFileManager::removeFile(const OptionalPath& path, ShouldAuth shouldAuth) {
    unlockFile(path);
    if (!fileExistsAtPath(path)) return true;
    const Outcome removed = fileManager().removeItem(*path);
    if (removed) return true;
    KXLog::appendLog("Error removing file: %@. Authorizing...", removed.error().description);
    return shouldAuth == ShouldAuth::Yes &&
           withRights("+[KXFileManager removeFile:shouldAuth:]",
                      [&](KXAuthorization& rights) { return rights.authRemoveFile(path); });
}

bool KXFileManager::removeFile(const OptionalPath& path, std::chrono::seconds timeout) {
    return removeFile(path, ShouldAuth::Yes) &&
           waitUntil([&] { return !fileExistsAtPath(path); }, timeout);
}

bool KXFileManager::removeFolderIfEmpty(const OptionalPath& folder) {
    return isFolderEmpty(folder) && removeFile(folder);
}

}  // namespace quillmoor
