#include "quillmoor/base/arguments.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/task/KXTaskEx.h"

namespace quillmoor {
namespace {

constexpr char kArchivingTool[] = "/usr/bin/ditto";

// Returns whether the tool was run. Its exit status is not examined: the operations return whether
// something exists at the destination, for compatibility. Systems without the tool have one that
// the library brings.
bool runArchivingTool(const StringList& arguments) {
    return KXTaskEx::runTask(platform::current().toolPaths->toolPath(kArchivingTool), arguments);
}

// The result after the tool; `ran` is false when it was not started, which is noted then.
bool resultOfTool(bool ran, const OptionalPath& path, const OptionalPath& destination) {
    if (KXFileManager::fileExistsAtPath(destination)) return true;
    if (!ran) return false;
    if (!path || !destination) return noteFailure(KXFailure::Reason::MissingArgument);
    if (!KXFileManager::fileExistsAtPath(path)) return noteFailure(KXFailure::Reason::MissingItem);
    return noteFailure(KXFailure::Reason::ToolFailed, destination);
}

}  // namespace

bool KXFileManager::compressFile(const OptionalPath& path, const OptionalPath& toDestinationFile) {
    const OperationCall call{"+[KXFileManager compressFile:toDestinationFile:]", path,
                             toDestinationFile};
    return perform(call, false,
                   [&] { return compressFile(path, toDestinationFile, IncludeParent::Yes); });
}

bool KXFileManager::compressFile(const OptionalPath& path, const OptionalPath& toDestinationFile,
                                 IncludeParent includeParent) {
    const OperationCall call{"+[KXFileManager compressFile:toDestinationFile:includeParent:]", path,
                             toDestinationFile};
    return perform(call, false, [&] {
        // The tool would replace it, and it could not be restored.
        if (fileExistsAtPath(toDestinationFile)) notePartDone(trashFile(toDestinationFile));
        StringList arguments = upToFirstNil({"-ck", path, toDestinationFile});
        // Behind -ck, wherever a nil path has ended the list.
        if (includeParent == IncludeParent::Yes)
            arguments.insert(arguments.begin() + 1, "--keepParent");
        return resultOfTool(runArchivingTool(arguments), path, toDestinationFile);
    });
}

// To the Trash without a fall-back to administrator rights, unlike packing. Kept for compatibility.
bool KXFileManager::decompressFile(const OptionalPath& path,
                                   const OptionalPath& toDestinationFolder) {
    const OperationCall call{"+[KXFileManager decompressFile:toDestinationFolder:]", path,
                             toDestinationFolder};
    return perform(call, false, [&] {
        if (fileExistsAtPath(toDestinationFolder))
            notePartDone(static_cast<bool>(moveToTrash(*toDestinationFolder)));
        const bool ran = runArchivingTool(upToFirstNil({"-xk", path, toDestinationFolder}));
        return resultOfTool(ran, path, toDestinationFolder);
    });
}

}  // namespace quillmoor
