#include "quillmoor/task/launch_check.h"

#include "quillmoor/platform/platform.h"

namespace quillmoor::task_detail {

bool isLaunchable(const OptionalPath& path) {
    const platform::Platform& system = platform::current();
    return path && system.fileManager->isExecutableFile(*path) &&
           !system.applications->isFilePackage(*path);
}

// An executable item always exists; the order of the queries is kept for compatibility.
bool existsAndIsLaunchable(const OptionalPath& path) {
    return path && platform::current().fileManager->fileExists(*path) && isLaunchable(path);
}

}  // namespace quillmoor::task_detail
