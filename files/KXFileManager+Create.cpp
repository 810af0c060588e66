#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/paths/KXLocalPaths.h"

namespace quillmoor {

bool KXFileManager::createDirectory(const OptionalPath& path) {
    return perform({"+[KXFileManager createDirectory:]", path}, false,
                   [&] { return createDirectory(path, ShouldAuth::Yes); });
}

bool KXFileManager::createDirectory(const OptionalPath& path, ShouldAuth shouldAuth) {
    return perform({"+[KXFileManager createDirectory:shouldAuth:]", path}, false, [&] {
        // Otherwise the folder would be created on the system's disk, in place of the mount point.
        if (!isDriveMountedForPath(path)) {
            platform::current().console->log("Unable to create directory. Drive is not mounted.");
            return noteFailure(KXFailure::Reason::NotMounted);
        }
        const Outcome created = fileManager().createDirectoryWithIntermediates(path.value_or(""));
        if (created) return true;
        noteFailure(created.error());
        // Says so even if it may not ask. Kept for compatibility.
        KXLog::appendLog("Error creating folder: %@. Authorizing...", created.error().description);
        return shouldAuth == ShouldAuth::Yes &&
               withAuthorization(
                   "+[KXFileManager createDirectory:shouldAuth:]",
                   [&](KXAuthorization& session) { return session.authCreateDir(path); });
    });
}

bool KXFileManager::createDirectory(const OptionalPath& path, std::chrono::seconds timeout) {
    return perform({"+[KXFileManager createDirectory:timeout:]", path}, false, [&] {
        return createDirectory(path) && waitUntil([&] { return fileExistsAtPath(path); }, timeout);
    });
}

OptionalPath KXFileManager::createDirectoryStructure(const OptionalPath& path,
                                                     const OptionalPath& destination) {
    const OperationCall call{"+[KXFileManager createDirectoryStructure:destination:]", path,
                             destination};
    return perform(call, OptionalPath(), [&] {
        OptionalPath mirrored;
        if (path) {
            // A package counts as a file: its name is not part of the structure.
            const bool isFolder = isDirectoryAtPath(path) && !isPackageAtPath(path);
            mirrored =
                appendPathComponent(destination, isFolder ? *path : deleteLastPathComponent(*path));
        }
        if (!mirrored) noteFailure(KXFailure::Reason::MissingArgument);
        if (mirrored && !fileExistsAtPath(mirrored)) createDirectory(mirrored);
        return mirrored;
    });
}

// Created elsewhere and moved, because a move never replaces an existing file.
bool KXFileManager::createEmptyFile(const OptionalPath& path) {
    return perform({"+[KXFileManager createEmptyFile:]", path}, false, [&] {
        const std::string scratch = KXLocalPaths::tempFile();
        const Outcome written = fileManager().writeAtomically(scratch, "");
        if (!written) return noteFailure(written.error(), scratch);
        // What remains if the move fails.
        notePartDone();
        return moveFile(scratch, path);
    });
}

}  // namespace quillmoor
