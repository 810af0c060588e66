#include "base/paths.h"
#include "files/KXFileManager.h"
#include "paths/KXLocalPaths.h"
#include "platform/platform.h"
#include "task/KXTaskEx.h"

namespace quillmoor {
namespace {

constexpr char kArchivingTool[] = "/usr/bin/ditto";

bool exists(const OptionalPath& path) {
    return path && platform::current().fileManager->fileExists(*path);
}

// Up to the first nil, as the tool's argument list ends there.
StringList upToFirstNil(std::initializer_list<OptionalString> values) {
    StringList list;
    for (const OptionalString& value : values) {
        if (!value) break;
        list.push_back(*value);
    }
    return list;
}

}  // namespace

bool KXFileManager::decompressFile(const OptionalPath& path,
                                   const OptionalPath& toDestinationFolder) {
    platform::Workspace& workspace = *platform::current().workspace;
    if (exists(toDestinationFolder)) {
        workspace.recycle(deleteLastPathComponent(*toDestinationFolder),
                          KXLocalPaths::trashDirectory(),
                          {lastPathComponent(*toDestinationFolder)});
    }
    KXTaskEx::runTask(workspace.toolPath(kArchivingTool),
                      upToFirstNil({"-xk", path, toDestinationFolder}));
    return exists(toDestinationFolder);
}

}  // namespace quillmoor
