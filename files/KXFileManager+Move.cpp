#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/log/KXLog.h"

namespace quillmoor {
namespace {

// After a change of case only. On a volume that folds case the old name still finds the item, so
// its disappearance cannot be waited for.
constexpr std::chrono::microseconds kPauseAfterRename{500};

bool onlyCaseChanges(const OptionalPath& path, const OptionalPath& toPath) {
    platform::Text& text = *platform::current().text;
    return path && toPath && text.lowercase(*path) == text.lowercase(*toPath);
}

Outcome moveOnce(const std::string& path, const std::string& toPath) {
    Outcome moved = fileManager().moveItem(path, toPath);
    if (!moved && moved.error().copyRemains) reportRemainingCopy(path, toPath);
    return moved;
}

// On a volume that folds case the destination exists already: it is the item itself, and a direct
// move would be refused.
Outcome moveByWayOfAFreeName(const std::string& path, const std::string& toPath) {
    const std::string between = KXFileManager::uniqueFilename(toPath).value_or(toPath);
    Outcome moved = moveOnce(path, between);
    // The item keeps the free name if the second move fails.
    return notePartDone(static_cast<bool>(moved)) ? moveOnce(between, toPath) : moved;
}

Outcome moveAsUser(const OptionalPath& path, const OptionalPath& toPath) {
    if (onlyCaseChanges(path, toPath)) {
        Outcome moved = moveByWayOfAFreeName(*path, *toPath);
        // Else tried directly, whose error is the one that is reported.
        if (moved || moved.error().copyRemains) return moved;
    }
    return moveOnce(path.value_or(""), toPath.value_or(""));
}

}  // namespace

bool KXFileManager::moveFile(const OptionalPath& path, const OptionalPath& toPath) {
    return perform({"+[KXFileManager moveFile:toPath:]", path, toPath}, false,
                   [&] { return moveFile(path, toPath, ShouldAuth::Yes); });
}

bool KXFileManager::moveFile(const OptionalPath& path, const OptionalPath& toPath,
                             ShouldAuth shouldAuth) {
    return perform({"+[KXFileManager moveFile:toPath:shouldAuth:]", path, toPath}, false, [&] {
        if (fileExistsAtPath(toPath)) unlockFile(toPath);
        // As if the destination were the folder that receives the item. Kept for compatibility.
        if (path) unlockFolder(appendPathComponent(toPath, lastPathComponent(*path)));
        const Outcome moved = moveAsUser(path, toPath);
        if (moved) return true;
        noteFailure(moved.error());
        KXLog::appendLog("Error moving file: %@.", moved.error().description);
        // With copyRemains the destination is this call's own copy: a tool must not move the rest
        // of the source into it.
        if (moved.error().copyRemains || shouldAuth == ShouldAuth::No) return false;
        KXLog::appendLog("Authorizing...");
        return withAuthorization(
            "+[KXFileManager moveFile:toPath:shouldAuth:]",
            [&](KXAuthorization& session) { return session.authMoveFile(path, toPath); });
    });
}

bool KXFileManager::moveFile(const OptionalPath& path, const OptionalPath& toPath,
                             std::chrono::seconds timeout) {
    return perform({"+[KXFileManager moveFile:toPath:timeout:]", path, toPath}, false, [&] {
        if (!moveFile(path, toPath)) return false;
        if (onlyCaseChanges(path, toPath)) {
            platform::current().clock->sleep(kPauseAfterRename);
            return true;
        }
        return waitUntil([&] { return isGone(path); }, timeout);
    });
}

}  // namespace quillmoor
