#include <string_view>

#include "quillmoor/base/format.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/files/tree_walk.h"

namespace quillmoor {
namespace {

constexpr std::string_view kFolderSettings = ".DS_Store";
constexpr std::string_view kCustomIcon = "Icon\r";
constexpr double kThousandth = 1.0 / 1024;  // a power of two: multiplying by it is exact

// The first three components; nil for a path that is not below `volumes`. The first component is /
// itself, so the mount point begins with two slashes. Kept for compatibility: the console shows it.
OptionalPath mountPoint(const OptionalPath& path, std::string_view volumes) {
    if (!path || !path->starts_with(volumes)) return std::nullopt;
    StringList components = pathComponents(*path);
    if (components.size() < 3) return std::nullopt;
    components.resize(3);
    return componentsJoined(components, "/");
}

// Files that the desktop adds to a folder automatically; they do not count as content.
bool isLitter(const std::string& name) {
    return name == kFolderSettings || name == kCustomIcon;
}

}  // namespace

bool holdsNothing(const std::string& folder, Unlisted unlisted) {
    // Every entry that is visited is content, and ends the walk.
    constexpr auto isContent = [](const std::string&, const std::string&) { return false; };
    return walkTree(folder, {isLitter, isContent, /*visitsLoops=*/true,
                             /*endsAtUnlisted=*/unlisted == Unlisted::IsNot});
}

bool KXFileManager::fileExistsAtPath(const OptionalPath& path) try {
    return path && fileManager().fileExists(*path);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager fileExistsAtPath:]", false);
}

bool KXFileManager::isDirectoryAtPath(const OptionalPath& path) try {
    return path && fileManager().isDirectory(*path);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager isDirectoryAtPath:]", false);
}

bool KXFileManager::isPackageAtPath(const OptionalPath& path) try {
    return path && platform::current().applications->isFilePackage(*path);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager isPackageAtPath:]", false);
}

bool KXFileManager::isSymbolicLinkAtPath(const OptionalPath& path) try {
    // Reads the link itself, so a dangling one counts.
    return path && fileManager().destinationOfSymbolicLink(*path);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager isSymbolicLinkAtPath:]", false);
}

bool KXFileManager::isVolumeMountedForPath(const OptionalPath& path) try {
    // Without a slash behind it, unlike below: /VolumesX/a/b counts too. Kept for compatibility.
    const OptionalPath volume = mountPoint(path, "/Volumes");
    return !volume || fileExistsAtPath(volume);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager isVolumeMountedForPath:]", false);
}

bool KXFileManager::isDriveMountedForPath(const OptionalPath& path) try {
    const OptionalPath drive = mountPoint(path, "/Volumes/");
    if (!drive) return true;
    platform::current().console->log(formatted("mountpoint: %@", drive));
    return fileExistsAtPath(drive);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager isDriveMountedForPath:]", false);
}

bool KXFileManager::isFolderEmpty(const OptionalPath& path) try {
    return !path || holdsNothing(*path, Unlisted::IsEmpty);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager isFolderEmpty:]", false);
}

std::uint64_t KXFileManager::fileSize(const OptionalPath& path) {
    return perform({"+[KXFileManager fileSize:]", path}, std::uint64_t{0}, [&]() -> std::uint64_t {
        if (!path) return noteFailure(KXFailure::Reason::MissingArgument);
        const std::uint64_t size = platform::current().fileTree->size(*path, {});
        if (size == 0 && isGone(path)) noteFailure(KXFailure::Reason::MissingItem);
        return size;
    });
}

std::string KXFileManager::formatFileSize(double bytes) try {
    const double kilobytes = bytes * kThousandth;
    const double megabytes = kilobytes * kThousandth;
    // A unit begins at exactly 1 of it, and there is none above GB.
    if (kilobytes < 1) return formatted("%0.0f B", bytes);
    if (megabytes < 1) return formatted("%0.2f KB", kilobytes);
    if (megabytes < 1024) return formatted("%0.2f MB", megabytes);
    return formatted("%0.2f GB", megabytes * kThousandth);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager formatFileSize:]", std::string());
}

platform::FileReference KXFileManager::stringToFSRef(const OptionalPath& path) {
    return perform({"+[KXFileManager stringToFSRef:]", path}, platform::FileReference(), [&] {
        platform::FileReference reference;
        if (!path || !platform::current().finderInfo->makeReference(*path, reference))
            noteFailure(KXFailure::Reason::MissingItem);
        return reference;
    });
}

OptionalPath KXFileManager::stringWithFSRef(const platform::FileReference* reference) {
    return perform({"+[KXFileManager stringWithFSRef:]"}, OptionalPath(), [&]() -> OptionalPath {
        OptionalPath path;
        if (reference != nullptr)
            path = platform::current().finderInfo->pathOfReference(*reference);
        if (!path) noteFailure(KXFailure::Reason::MissingItem);
        return path;
    });
}

bool KXFileManager::registerApplicationWithLaunchServices(const OptionalPath& path) {
    return perform({"+[KXFileManager registerApplicationWithLaunchServices:]", path}, false, [&] {
        if (!path) return noteFailure(KXFailure::Reason::MissingArgument);
        return noteStatus(platform::current().applications->registerApplication(*path));
    });
}

void KXFileManager::notifyFileSystemChanged(const OptionalPath& path) {
    perform({"+[KXFileManager notifyFileSystemChanged:]", path}, [&] {
        const platform::FileReference reference = stringToFSRef(path);
        SendFinderSyncEvent(&reference);
    });
}

std::int32_t SendFinderSyncEvent(const platform::FileReference* reference) {
    // The platform's own status for a wrong parameter.
    constexpr std::int32_t kParameterError = -50;
    return recorded("SendFinderSyncEvent", [&] {
        const std::int32_t status =
            reference != nullptr ? platform::current().finderInfo->sendUpdateEvent(*reference)
                                 : kParameterError;
        noteStatus(status);
        return status;
    });
}

}  // namespace quillmoor
