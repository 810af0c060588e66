#include <string_view>

#include "base/format.h"
#include "base/paths.h"
#include "files/KXFileManager.h"
#include "files/item.h"
#include "files/tree_walk.h"

namespace quillmoor {
namespace {

constexpr std::string_view kFolderSettings = ".DS_Store";
constexpr std::string_view kCustomIcon = "Icon\r";
constexpr double kThousandth = 1.0 / 1024;

// The first three components; nil for a path that is not on a volume of its own. The first
// component is / itself, so that the mount point begins with two.
OptionalPath mountPoint(const OptionalPath& path, std::string_view volumes) {
    if (!path || !path->starts_with(volumes)) return std::nullopt;
    StringList components = pathComponents(*path);
    if (components.size() < 3) return std::nullopt;
    components.resize(3);
    return componentsJoined(components, "/");
}

// Does not count as content.
bool isLitter(const std::string& name) {
    return name == kFolderSettings || name == kCustomIcon;
}

}  // namespace

bool KXFileManager::fileExistsAtPath(const OptionalPath& path) {
    return path && fileManager().fileExists(*path);
}

bool KXFileManager::isDirectoryAtPath(const OptionalPath& path) {
    return path && fileManager().isDirectory(*path);
}

bool KXFileManager::isPackageAtPath(const OptionalPath& path) {
    return path && platform::current().workspace->isFilePackage(*path);
}

bool KXFileManager::isSymbolicLinkAtPath(const OptionalPath& path) {
    return path && fileManager().destinationOfSymbolicLink(*path);
}

bool KXFileManager::isVolumeMountedForPath(const OptionalPath& path) {
    const OptionalPath volume = mountPoint(path, "/Volumes");
    return !volume || fileExistsAtPath(volume);
}

bool KXFileManager::isDriveMountedForPath(const OptionalPath& path) {
    const OptionalPath drive = mountPoint(path, "/Volumes/");
    if (!drive) return true;
    platform::current().console->log(formatted("mountpoint: %@", drive));
    return fileExistsAtPath(drive);
}

bool KXFileManager::isFolderEmpty(const OptionalPath& path) {
    if (!path) return true;
    constexpr auto isContent = [](const std::string&, const std::string&) { return false; };
    return walkTree(*path, {isLitter, isContent, /*visitsLoops=*/true});
}

std::uint64_t KXFileManager::fileSize(const OptionalPath& path) {
    return path ? platform::current().fileTree->size(*path, {}) : 0;
}

std::string KXFileManager::formatFileSize(double bytes) {
    const double kilobytes = bytes * kThousandth;
    const double megabytes = kilobytes * kThousandth;
    if (kilobytes < 1) return formatted("%0.0f B", bytes);
    if (megabytes < 1) return formatted("%0.2f KB", kilobytes);
    if (megabytes < 1024) return formatted("%0.2f MB", megabytes);
    return formatted("%0.2f GB", megabytes * kThousandth);
}

platform::FileReference KXFileManager::stringToFSRef(const OptionalPath& path) {
    platform::FileReference reference;
    if (path) platform::current().finderInfo->makeReference(*path, reference);
    return reference;
}

OptionalPath KXFileManager::stringWithFSRef(const platform::FileReference* reference) {
    if (reference == nullptr) return std::nullopt;
    return platform::current().finderInfo->pathOfReference(*reference);
}

bool KXFileManager::registerApplicationWithLaunchServices(const OptionalPath& path) {
    return path && platform::current().workspace->registerApplication(*path) == 0;
}

void KXFileManager::notifyFileSystemChanged(const OptionalPath& path) {
    const platform::FileReference reference = stringToFSRef(path);
    SendFinderSyncEvent(&reference);
}

std::int32_t SendFinderSyncEvent(const platform::FileReference* reference) {
    constexpr std::int32_t kParameterError = -50;
    if (reference == nullptr) return kParameterError;
    return platform::current().finderInfo->sendUpdateEvent(*reference);
}

}  // namespace quillmoor
