#include "tests/failures/failure_scenarios.h"

namespace quillmoor::test {
namespace {

using namespace std::chrono_literals;
using Reason = KXFailure::Reason;
using Authorization = KXFailure::Authorization;
using Call = std::function<void(RefusingWorld&)>;
using Files = KXFileManager;

// Refused by the system, and then for a lack of rights.
FailureScenario refused(const std::string& operation, Call call,
                        std::function<OptionalPath(RefusingWorld&)> path = theFile) {
    return {"KXFileManager " + operation, std::move(call), Reason::System, std::move(path),
            Authorization::Canceled};
}

// Without a request for rights.
FailureScenario failing(const std::string& operation, Call call, Reason reason = Reason::System,
                        std::function<OptionalPath(RefusingWorld&)> path = theMissing) {
    return {"KXFileManager " + operation, std::move(call), reason, std::move(path)};
}

OptionalPath newItem(RefusingWorld& world) {
    return world.path("new");
}

std::vector<FailureScenario> removing() {
    return {
        refused("removeFile:", [](auto& world) { Files::removeFile(world.file); }),
        refused("removeFile:shouldAuth:",
                [](auto& world) { Files::removeFile(world.file, ShouldAuth::Yes); }),
        refused("removeFile:timeout:", [](auto& world) { Files::removeFile(world.file, 1s); }),
        refused(
            "removeFolderIfEmpty:",
            [](auto& world) {
                std::filesystem::create_directory(world.path("empty"));
                Files::removeFolderIfEmpty(world.path("empty"));
            },
            [](auto& world) { return world.path("empty"); }),
        refused("trashFile:", [](auto& world) { Files::trashFile(world.file); }),
        refused("trashFile:shouldAuth:",
                [](auto& world) { Files::trashFile(world.file, ShouldAuth::Yes); }),
        refused("trashFile:timeout:", [](auto& world) { Files::trashFile(world.file, 1s); }),
        refused("trashDirectoryContents:",
                [](auto& world) { Files::trashDirectoryContents(world.folder); }),
        refused("trashDirectoryContents:shouldAuth:",
                [](auto& world) { Files::trashDirectoryContents(world.folder, ShouldAuth::Yes); }),
        refused("trashFilesNamed:inFolder:",
                [](auto& world) { Files::trashFilesNamed("file", world.folder); }),
        refused("trashFilesOfType:inFolder:",
                [](auto& world) { Files::trashFilesOfType("", world.folder); }),
    };
}

std::vector<FailureScenario> making() {
    return {
        refused(
            "createDirectory:", [](auto& world) { Files::createDirectory(world.path("new")); },
            newItem),
        refused(
            "createDirectory:shouldAuth:",
            [](auto& world) { Files::createDirectory(world.path("new"), ShouldAuth::Yes); },
            newItem),
        refused(
            "createDirectory:timeout:",
            [](auto& world) { Files::createDirectory(world.path("new"), 1s); }, newItem),
        refused(
            "createDirectoryStructure:destination:",
            [](auto& world) { Files::createDirectoryStructure("/a/b", world.path("new")); },
            [](auto& world) { return world.path("new/a"); }),
        {"KXFileManager createEmptyFile:",
         [](auto& world) { Files::createEmptyFile(world.path("new")); }, Reason::System,
         [](auto& world) { return world.moved(); }, Authorization::Canceled, /*isHalfDone=*/true},
        refused("copyFile:toPath:",
                [](auto& world) { Files::copyFile(world.file, world.path("new")); }),
        refused(
            "copyFile:toPath:shouldAuth:",
            [](auto& world) { Files::copyFile(world.file, world.path("new"), ShouldAuth::Yes); }),
        refused("copyFile:toPath:timeout:",
                [](auto& world) { Files::copyFile(world.file, world.path("new"), 1s); }),
        refused("copyContentsOfDirectory:toPath:timeout:",
                [](auto& world) {
                    Files::copyContentsOfDirectory(world.folder, world.path("new"), 1s);
                }),
        refused("moveFile:toPath:",
                [](auto& world) { Files::moveFile(world.file, world.path("new")); }),
        refused(
            "moveFile:toPath:shouldAuth:",
            [](auto& world) { Files::moveFile(world.file, world.path("new"), ShouldAuth::Yes); }),
        refused("moveFile:toPath:timeout:",
                [](auto& world) { Files::moveFile(world.file, world.path("new"), 1s); }),
        failing(
            "copyFileWithProgress:destination:delegate:object:",
            [](auto& world) {
                Files::copyFileWithProgress(world.missing, world.path("new"), nullptr, nullptr);
            },
            Reason::MissingItem),
        failing(
            "copyFileWithProgress:destination:delegate:object:object2:",
            [](auto& world) {
                Files::copyFileWithProgress(world.missing, world.path("new"), nullptr, nullptr,
                                            nullptr);
            },
            Reason::MissingItem),
        failing(
            "compressFile:toDestinationFile:",
            [](auto& world) { Files::compressFile(world.missing, world.path("new")); },
            Reason::MissingItem),
        failing(
            "compressFile:toDestinationFile:includeParent:",
            [](auto& world) {
                Files::compressFile(world.file, world.path("new"), IncludeParent::No);
            },
            Reason::ToolFailed, newItem),
        failing(
            "decompressFile:toDestinationFolder:",
            [](auto& world) { Files::decompressFile(world.file, std::nullopt); },
            Reason::MissingArgument, theFile),
    };
}

std::vector<FailureScenario> changing() {
    const auto now = std::chrono::system_clock::time_point();
    return {
        failing("lockFile:", [](auto& world) { Files::lockFile(world.missing); }),
        failing("unlockFile:", [](auto& world) { Files::unlockFile(world.missing); }),
        failing(
            "lockFolder:", [](auto& world) { Files::lockFolder(world.folder); }, Reason::System,
            theFile),
        failing(
            "unlockFolder:", [](auto& world) { Files::unlockFolder(world.folder); }, Reason::System,
            theFile),
        failing("setPosixPermissions:forFile:",
                [](auto& world) { Files::setPosixPermissions(0644, world.missing); }),
        failing("setModificationDate:forFile:",
                [now](auto& world) { Files::setModificationDate(now, world.missing); }),
        {"KXFileManager touchFile:", [](auto& world) { Files::touchFile(world.missing); },
         Reason::NotAuthorized, theMissing, Authorization::Canceled},
        {"KXFileManager touchFile:setCreationDate:",
         [](auto& world) { Files::touchFile(world.missing, SetCreationDate::Yes); },
         Reason::NotAuthorized, theMissing, Authorization::Canceled},
        failing(
            "setFinderColorIndex:forPath:",
            [](auto& world) { Files::setFinderColorIndex(2, world.missing); }, Reason::MissingItem),
        failing("registerApplicationWithLaunchServices:",
                [](auto& world) { Files::registerApplicationWithLaunchServices(world.missing); }),
        failing(
            "notifyFileSystemChanged:",
            [](auto& world) { Files::notifyFileSystemChanged(world.missing); },
            Reason::MissingItem),
        {"SendFinderSyncEvent", [](auto&) { SendFinderSyncEvent(nullptr); }, Reason::System,
         noPath},
    };
}

std::vector<FailureScenario> asking() {
    return {
        failing(
            "fileSize:", [](auto& world) { Files::fileSize(world.missing); }, Reason::MissingItem),
        failing(
            "stringToFSRef:", [](auto& world) { Files::stringToFSRef(world.missing); },
            Reason::MissingItem),
        failing(
            "stringWithFSRef:", [](auto&) { Files::stringWithFSRef(nullptr); }, Reason::MissingItem,
            noPath),
        failing(
            "finderColorIndexForPath:",
            [](auto& world) { Files::finderColorIndexForPath(world.missing); },
            Reason::MissingItem),
        failing(
            "finderColorForPath:", [](auto& world) { Files::finderColorForPath(world.missing); },
            Reason::MissingItem),
    };
}

}  // namespace

std::vector<FailureScenario> fileFailures() {
    std::vector<FailureScenario> all;
    for (const auto& part : {removing, making, changing, asking}) {
        const std::vector<FailureScenario> scenarios = part();
        all.insert(all.end(), scenarios.begin(), scenarios.end());
    }
    return all;
}

}  // namespace quillmoor::test
