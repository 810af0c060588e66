#include "base/paths.h"
#include "files/KXFileManager.h"
#include "files/item.h"
#include "log/KXLog.h"
#include "paths/KXLocalPaths.h"

namespace quillmoor {

bool KXFileManager::createDirectory(const OptionalPath& path) {
    return createDirectory(path, ShouldAuth::Yes);
}

bool KXFileManager::createDirectory(const OptionalPath& path, ShouldAuth shouldAuth) {
    if (!isDriveMountedForPath(path)) {
        platform::current().console->log("Unable to create directory. Drive is not mounted.");
        return false;
    }
    const Outcome created = fileManager().createDirectoryWithIntermediates(path.value_or(""));
    if (created) return true;
    KXLog::appendLog("Error creating folder: %@. Authorizing...", created.error().description);
    return shouldAuth == ShouldAuth::Yes &&
           withRights("+[KXFileManager createDirectory:shouldAuth:]",
                      [&](KXAuthorization& rights) { return rights.authCreateDir(path); });
}

bool KXFileManager::createDirectory(const OptionalPath& path, std::chrono::seconds timeout) {
    return createDirectory(path) && waitUntil([&] { return fileExistsAtPath(path); }, timeout);
}

OptionalPath KXFileManager::createDirectoryStructure(const OptionalPath& path,
                                                     const OptionalPath& destination) {
    if (!path) return std::nullopt;
    const bool isFolder = isDirectoryAtPath(path) && !isPackageAtPath(path);
    OptionalPath mirrored =
        appendPathComponent(destination, isFolder ? *path : deleteLastPathComponent(*path));
    if (mirrored && !fileExistsAtPath(mirrored)) createDirectory(mirrored);
    return mirrored;
}

bool KXFileManager::createEmptyFile(const OptionalPath& path) {
    const std::string scratch = KXLocalPaths::tempFile();
    return fileManager().writeAtomically(scratch, "") && moveFile(scratch, path);
}

}  // namespace quillmoor
