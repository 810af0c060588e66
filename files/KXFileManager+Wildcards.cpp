#include "base/paths.h"
#include "files/KXFileManager.h"
#include "files/item.h"

namespace quillmoor {
namespace {

bool isWildcard(const std::string& text) {
    return text.find('*') != std::string::npos;
}

// The candidates that have an item of that name.
StringList withItem(const StringList& candidates, const std::string& name) {
    StringList found;
    for (const std::string& candidate : candidates) {
        std::string item = *appendPathComponent(candidate, name);
        if (fileManager().fileExists(item)) found.push_back(std::move(item));
    }
    return found;
}

}  // namespace

StringList KXFileManager::filesMatchingWildcardPath(const OptionalPath& path) {
    return filesMatchingWildcardPath(path, std::nullopt);
}

StringList KXFileManager::filesMatchingWildcardPath(const OptionalPath& path,
                                                    const OptionalPath& fromBasePath) {
    if (!path) return {};
    if (!isWildcard(*path))
        return {fromBasePath ? *appendPathComponent(fromBasePath, path) : *path};
    const StringList start{fromBasePath.value_or("/")};
    StringList candidates = start;
    for (const std::string& component : pathComponents(*path)) {
        if (isWildcard(component))
            candidates = platform::current().fileTree->match(candidates, component);
        else
            candidates = component == "/" ? start : withItem(candidates, component);
    }
    return candidates;
}

OptionalPath KXFileManager::decodeWildcardPath(const OptionalPath& path,
                                               const OptionalPath& fromBasePath) {
    const StringList found = filesMatchingWildcardPath(path, fromBasePath);
    if (!found.empty()) return found.front();
    return appendPathComponent(fromBasePath, path);
}

OptionalString KXFileManager::validateFilename(const OptionalString& name) {
    if (!name) return std::nullopt;
    return quillmoor::validateFilename(*name);
}

OptionalPath KXFileManager::uniqueFilename(const OptionalPath& path) {
    if (!path) return std::nullopt;
    return quillmoor::uniqueFilename(
        *path, [](const std::string& candidate) { return fileManager().fileExists(candidate); });
}

}  // namespace quillmoor
