#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/log/KXLog.h"

namespace quillmoor {
namespace {

// The folder to unlock before a copy. For a link that is the folder that it leads to: unlocking the
// link itself would not let anything be created there.
std::string receivingFolder(const std::string& destination) {
    const std::string parent = parentFolder(destination);
    const bool isLinkToFolder =
        KXFileManager::isSymbolicLinkAtPath(parent) && KXFileManager::isDirectoryAtPath(parent);
    return isLinkToFolder ? *appendPathComponent(parent, ".") : parent;
}

}  // namespace

bool KXFileManager::copyFile(const OptionalPath& path, const OptionalPath& toPath) {
    return perform({"+[KXFileManager copyFile:toPath:]", path, toPath}, false,
                   [&] { return copyFile(path, toPath, ShouldAuth::Yes); });
}

bool KXFileManager::copyFile(const OptionalPath& path, const OptionalPath& toPath,
                             ShouldAuth shouldAuth) {
    return perform({"+[KXFileManager copyFile:toPath:shouldAuth:]", path, toPath}, false, [&] {
        if (!path) {
            KXLog::appendLogAndPrint("Error copying file: source path is nil");
            return noteFailure(KXFailure::Reason::MissingArgument);
        }
        if (!toPath) {
            KXLog::appendLogAndPrint("Error copying file %@: destination path is nil", path);
            return noteFailure(KXFailure::Reason::MissingArgument);
        }
        // Nothing can be created in a locked folder. It stays unlocked.
        unlockFile(receivingFolder(*toPath));
        const Outcome copied = fileManager().copyItem(*path, *toPath);
        if (copied) return true;
        noteFailure(copied.error());
        // Says so even if it may not ask. Kept for compatibility.
        KXLog::appendLog("Error copying file: %@. Authorizing...", copied.error().description);
        return shouldAuth == ShouldAuth::Yes &&
               withAuthorization(
                   "+[KXFileManager copyFile:toPath:shouldAuth:]",
                   [&](KXAuthorization& session) { return session.authCopyFile(path, toPath); });
    });
}

bool KXFileManager::copyFile(const OptionalPath& path, const OptionalPath& toPath,
                             std::chrono::seconds timeout) {
    return perform({"+[KXFileManager copyFile:toPath:timeout:]", path, toPath}, false, [&] {
        return copyFile(path, toPath) &&
               waitUntil([&] { return fileExistsAtPath(toPath); }, timeout);
    });
}

bool KXFileManager::copyContentsOfDirectory(const OptionalPath& directory,
                                            const OptionalPath& toPath,
                                            std::chrono::seconds timeout) {
    const OperationCall call{"+[KXFileManager copyContentsOfDirectory:toPath:timeout:]", directory,
                             toPath};
    return perform(call, false, [&] {
        // A folder that cannot be listed has no entries here, so the copy succeeds.
        for (const std::string& name : entriesOf(directory)) {
            // Does not wait for the log, which would delay each copy.
            KXLog::fastAppendLog("File: %@", name);
            if (!notePartDone(copyFile(appendPathComponent(directory, name),
                                       appendPathComponent(toPath, name), timeout)))
                return false;
        }
        return true;
    });
}

}  // namespace quillmoor
