#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"

namespace quillmoor {
namespace {

// A ? alone does not make a pattern. Kept for compatibility.
bool isWildcard(const std::string& text) {
    return text.find('*') != std::string::npos;
}

// The paths of the existing items with that name in the candidates.
StringList withItem(const StringList& candidates, const std::string& name) {
    StringList found;
    for (const std::string& candidate : candidates) {
        std::string item = *appendPathComponent(candidate, name);
        if (fileManager().fileExists(item)) found.push_back(std::move(item));
    }
    return found;
}

}  // namespace

StringList KXFileManager::filesMatchingWildcardPath(const OptionalPath& path) try {
    return filesMatchingWildcardPath(path, std::nullopt);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager filesMatchingWildcardPath:]", StringList());
}

StringList KXFileManager::filesMatchingWildcardPath(const OptionalPath& path,
                                                    const OptionalPath& fromBasePath) try {
    if (!path) return {};
    // Returned without a look at the file system. Kept for compatibility.
    if (!isWildcard(*path))
        return {fromBasePath ? *appendPathComponent(fromBasePath, path) : *path};
    const StringList start{fromBasePath.value_or("/")};
    StringList candidates = start;
    for (const std::string& component : pathComponents(*path)) {
        if (isWildcard(component))
            candidates = platform::current().fileTree->match(candidates, component);
        else  // the root restarts at the base, so an absolute pattern is relative to it as well
            candidates = component == "/" ? start : withItem(candidates, component);
    }
    return candidates;
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager filesMatchingWildcardPath:fromBasePath:]",
                          StringList());
}

OptionalPath KXFileManager::decodeWildcardPath(const OptionalPath& path,
                                               const OptionalPath& fromBasePath) try {
    // The first in listing order, which is not sorted.
    const StringList found = filesMatchingWildcardPath(path, fromBasePath);
    if (!found.empty()) return found.front();
    return appendPathComponent(fromBasePath, path);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager decodeWildcardPath:fromBasePath:]",
                          OptionalPath());
}

OptionalString KXFileManager::validateFilename(const OptionalString& name) try {
    if (!name) return std::nullopt;
    return quillmoor::validateFilename(*name);
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager validateFilename:]", OptionalString());
}

OptionalPath KXFileManager::uniqueFilename(const OptionalPath& path) try {
    if (!path) return std::nullopt;
    return quillmoor::uniqueFilename(
        *path, [](const std::string& candidate) { return fileManager().fileExists(candidate); });
} catch (const std::exception& exception) {
    return afterException(exception, "+[KXFileManager uniqueFilename:]", OptionalPath());
}

}  // namespace quillmoor
