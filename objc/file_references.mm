#include "objc/file_references.h"

#if defined(__APPLE__)
#include <string>

#include "quillmoor/platform/macos/desktop/system_reference_macos.h"
#include "quillmoor/platform/platform.h"
#else
#include <cstring>
#endif

namespace quillmoor::objc {

using platform::FileReference;

#if defined(__APPLE__)

// By the item's path, which both kinds can be made of.

FSRef fromReference(const FileReference& reference) {
    FSRef result{};
    const std::string path(reference.path.data());
    if (!path.empty()) static_cast<void>(platform::macos::systemReferenceOf(path, result));
    return result;
}

FileReference toReference(const FSRef& reference) {
    FileReference result;
    if (const OptionalPath path = platform::macos::pathOfSystemReference(reference))
        static_cast<void>(platform::current().finderInfo->makeReference(*path, result));
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
