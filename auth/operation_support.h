// What the operations of KXAuthorization share: the checks before a tool is started.
#pragma once

#include "quillmoor/base/operation.h"
#include "quillmoor/base/types.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {

// Whether this is a process of root. The real user id counts, not the effective one.
inline bool isRoot() {
    return platform::current().processInfo->realUserId() == 0;
}

// Whether the path names a folder that must not be removed, put into the Trash or moved. Compares
// the text only.
inline bool isProtected(const OptionalPath& path) {
    return KXLocalPaths::isPathSystemDirectory(path, ExactMatch::Yes);
}

// Notes that an operation is refused because its path is protected. Returns false.
inline bool noteProtected() {
    noteAuthorization(KXFailure::Authorization::Protected);
    return noteFailure(KXFailure::Reason::ProtectedFolder);
}

// Whether an item exists at the path. Follows links: false for a dangling one, and for nil.
inline bool somethingAt(const OptionalPath& path) {
    return path && platform::current().fileManager->fileExists(*path);
}

// The names of the entries in listing order, hidden ones included; empty when the folder cannot be
// listed.
inline StringList folderEntries(const OptionalPath& folder) {
    if (!folder) return {};
    return platform::current().fileManager->contentsOfDirectory(*folder).value_or(StringList{});
}

}  // namespace quillmoor
