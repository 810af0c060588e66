// What the privileged operations look at before they start a tool.
#pragma once

#include "quillmoor/base/types.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {

inline bool isSuperUser() {
    return platform::current().processInfo->realUserId() == 0;
}

// A folder that must not be removed, put into the Trash or moved.
inline bool isProtected(const OptionalPath& path) {
    return KXLocalPaths::isPathSystemDirectory(path, ExactMatch::Yes);
}

// Follows links.
inline bool somethingAt(const OptionalPath& path) {
    return path && platform::current().fileManager->fileExists(*path);
}

// Names in listing order, hidden ones included; none when the folder cannot be listed.
inline StringList folderEntries(const OptionalPath& folder) {
    if (!folder) return {};
    return platform::current().fileManager->contentsOfDirectory(*folder).value_or(StringList{});
}

}  // namespace quillmoor
