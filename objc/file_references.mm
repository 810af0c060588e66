#include "objc/file_references.h"

#include <cstring>

#include "objc/bridge.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor::objc {

using platform::FileReference;

#if defined(__APPLE__)

// By the item's path, which both kinds can be made of.

FSRef fromReference(const FileReference& reference) {
    FSRef result{};
    NSString* path = fromString(std::string_view(reference.path.data()));
    if ([path length] != 0) CFURLGetFSRef((CFURLRef)[NSURL fileURLWithPath:path], &result);
    return result;
}

FileReference toReference(const FSRef& reference) {
    FileReference result;
    const CFURLRef url = CFURLCreateFromFSRef(kCFAllocatorDefault, &reference);
    if (url == nullptr) return result;
    const OptionalString path = toString([(NSURL*)url path]);
    CFRelease(url);
    if (path) static_cast<void>(platform::current().finderInfo->makeReference(*path, result));
    return result;
}

#else

static_assert(sizeof(FSRef) == sizeof(FileReference));

FSRef fromReference(const FileReference& reference) {
    FSRef result;
    std::memcpy(&result, &reference, sizeof result);
    return result;
}

FileReference toReference(const FSRef& reference) {
    FileReference result;
    std::memcpy(&result, &reference, sizeof result);
    return result;
}

#endif

}  // namespace quillmoor::objc
