#include "quillmoor/base/arguments.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/task/KXTaskEx.h"

namespace quillmoor {
namespace {

constexpr char kArchivingTool[] = "/usr/bin/ditto";

// The tool's exit status is not examined: the operations return whether something exists at the
// destination, for compatibility. Systems without the tool have one that the library brings.
void runArchivingTool(const StringList& arguments) {
    KXTaskEx::runTask(platform::current().toolPaths->toolPath(kArchivingTool), arguments);
}

}  // namespace

bool KXFileManager::compressFile(const OptionalPath& path,
                                 const OptionalPath& toDestinationFile) try {
    return compressFile(path, toDestinationFile, IncludeParent::Yes);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager compressFile:toDestinationFile:]", false);
}

bool KXFileManager::compressFile(const OptionalPath& path, const OptionalPath& toDestinationFile,
                                 IncludeParent includeParent) try {
    // The tool would replace it, and it could not be restored.
    if (fileExistsAtPath(toDestinationFile)) trashFile(toDestinationFile);
    StringList arguments = upToFirstNil({"-ck", path, toDestinationFile});
    // Behind -ck, wherever a nil path has ended the list.
    if (includeParent == IncludeParent::Yes)
        arguments.insert(arguments.begin() + 1, "--keepParent");
    runArchivingTool(arguments);
    return fileExistsAtPath(toDestinationFile);
} catch (const std::exception& exception) {
    return afterException(exception,
                          "+[KXFileManager compressFile:toDestinationFile:includeParent:]", false);
}

// To the Trash without a fall-back to administrator rights, unlike packing. Kept for compatibility.
bool KXFileManager::decompressFile(const OptionalPath& path,
                                   const OptionalPath& toDestinationFolder) try {
    if (fileExistsAtPath(toDestinationFolder)) moveToTrash(*toDestinationFolder);
    runArchivingTool(upToFirstNil({"-xk", path, toDestinationFolder}));
    return fileExistsAtPath(toDestinationFolder);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager decompressFile:toDestinationFolder:]", false);
}

}  // namespace quillmoor
