#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/paths/KXLocalPaths.h"

namespace quillmoor {

bool KXFileManager::createDirectory(const OptionalPath& path) try {
    return createDirectory(path, ShouldAuth::Yes);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager createDirectory:]", false);
}

bool KXFileManager::createDirectory(const OptionalPath& path, ShouldAuth shouldAuth) try {
    // Otherwise the folder would be created on the system's disk, in place of the mount point.
    if (!isDriveMountedForPath(path)) {
        platform::current().console->log("Unable to create directory. Drive is not mounted.");
        return false;
    }
    const Outcome created = fileManager().createDirectoryWithIntermediates(path.value_or(""));
    if (created) return true;
    // Says so even if it may not ask. Kept for compatibility.
    KXLog::appendLog("Error creating folder: %@. Authorizing...", created.error().description);
    return shouldAuth == ShouldAuth::Yes &&
           withAuthorization("+[KXFileManager createDirectory:shouldAuth:]",
                             [&](KXAuthorization& session) { return session.authCreateDir(path); });
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager createDirectory:shouldAuth:]", false);
}

bool KXFileManager::createDirectory(const OptionalPath& path, std::chrono::seconds timeout) try {
    return createDirectory(path) && waitUntil([&] { return fileExistsAtPath(path); }, timeout);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager createDirectory:timeout:]", false);
}

OptionalPath KXFileManager::createDirectoryStructure(const OptionalPath& path,
                                                     const OptionalPath& destination) try {
    if (!path) return std::nullopt;
    // A package counts as a file: its name is not part of the structure.
    const bool isFolder = isDirectoryAtPath(path) && !isPackageAtPath(path);
    OptionalPath mirrored =
        appendPathComponent(destination, isFolder ? *path : deleteLastPathComponent(*path));
    if (mirrored && !fileExistsAtPath(mirrored)) createDirectory(mirrored);
    return mirrored;
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager createDirectoryStructure:destination:]",
                          OptionalPath());
}

// Created elsewhere and moved, because a move never replaces an existing file.
bool KXFileManager::createEmptyFile(const OptionalPath& path) try {
    const std::string scratch = KXLocalPaths::tempFile();
    return fileManager().writeAtomically(scratch, "") && moveFile(scratch, path);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager createEmptyFile:]", false);
}

}  // namespace quillmoor
