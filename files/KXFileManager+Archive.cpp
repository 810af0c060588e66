#include "base/arguments.h"
#include "base/paths.h"
#include "files/KXFileManager.h"
#include "files/item.h"
#include "paths/KXLocalPaths.h"
#include "task/KXTaskEx.h"

namespace quillmoor {
namespace {

constexpr char kArchivingTool[] = "/usr/bin/ditto";

void runArchivingTool(const StringList& arguments) {
    KXTaskEx::runTask(platform::current().workspace->toolPath(kArchivingTool), arguments);
}

}  // namespace

bool KXFileManager::compressFile(const OptionalPath& path, const OptionalPath& toDestinationFile) {
    return compressFile(path, toDestinationFile, IncludeParent::Yes);
}

bool KXFileManager::compressFile(const OptionalPath& path, const OptionalPath& toDestinationFile,
                                 IncludeParent includeParent) {
    if (fileExistsAtPath(toDestinationFile)) trashFile(toDestinationFile);
    StringList arguments = upToFirstNil({"-ck", path, toDestinationFile});
    if (includeParent == IncludeParent::Yes)
        arguments.insert(arguments.begin() + 1, "--keepParent");
    runArchivingTool(arguments);
    return fileExistsAtPath(toDestinationFile);
}

// Straight to the user's Trash, where packing falls back to administrator rights.
bool KXFileManager::decompressFile(const OptionalPath& path,
                                   const OptionalPath& toDestinationFolder) {
    if (fileExistsAtPath(toDestinationFolder))
        moveToTrash(*toDestinationFolder);
    runArchivingTool(upToFirstNil({"-xk", path, toDestinationFolder}));
    return fileExistsAtPath(toDestinationFolder);
}

}  // namespace quillmoor
