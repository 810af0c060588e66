#include <functional>

#include "quillmoor/base/paths.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/files/operation_support.h"
#include "quillmoor/files/tree_walk.h"

namespace quillmoor {
namespace {

using NameTest = std::function<bool(const std::string& name)>;

// Trashes every file whose name matches, and returns the paths of all of them, trashed or not.
StringList trashMatchingFiles(const OptionalPath& folder, const NameTest& matches) {
    StringList found;
    if (!folder) return found;
    TreeWalk walk;
    walk.visit = [&](const std::string& item, const std::string& name) {
        if (matches(name)) {
            // Listed whether or not it could be trashed. Kept for compatibility.
            notePartDone(KXFileManager::trashFile(item));
            found.push_back(item);
        }
        return true;
    };
    walkTree(*folder, walk);
    return found;
}

}  // namespace

bool KXFileManager::trashFile(const OptionalPath& path) {
    return perform({"+[KXFileManager trashFile:]", path}, false,
                   [&] { return trashFile(path, ShouldAuth::Yes); });
}

bool KXFileManager::trashFile(const OptionalPath& path, ShouldAuth shouldAuth) {
    return perform({"+[KXFileManager trashFile:shouldAuth:]", path}, false, [&] {
        // A locked item cannot be moved.
        unlockFile(path);
        if (isGone(path)) return true;
        const platform::RecycleOutcome outcome = moveToTrash(*path);
        if (outcome) return true;
        // The complete copy is in the Trash already: a tool would add the rest as a second item.
        if (!outcome.remainingCopies.empty()) return false;
        return shouldAuth == ShouldAuth::Yes &&
               withAuthorization(
                   "+[KXFileManager trashFile:shouldAuth:]",
                   [&](KXAuthorization& session) { return session.authTrashFile(path); });
    });
}

bool KXFileManager::trashFile(const OptionalPath& path, std::chrono::seconds timeout) {
    return perform({"+[KXFileManager trashFile:timeout:]", path}, false, [&] {
        return trashFile(path) && waitUntil([&] { return isGone(path); }, timeout);
    });
}

bool KXFileManager::trashDirectoryContents(const OptionalPath& folder) {
    return perform({"+[KXFileManager trashDirectoryContents:]", folder}, false,
                   [&] { return trashDirectoryContents(folder, ShouldAuth::Yes); });
}

bool KXFileManager::trashDirectoryContents(const OptionalPath& folder, ShouldAuth shouldAuth) {
    return perform({"+[KXFileManager trashDirectoryContents:shouldAuth:]", folder}, false, [&] {
        bool allTrashed = true;
        for (const std::string& name : entriesOf(folder))
            // trashFile on the left of &&: every entry is tried after a failure, too.
            allTrashed = notePartDone(trashFile(appendPathComponent(folder, name), shouldAuth)) &&
                         allTrashed;
        return allTrashed;
    });
}

StringList KXFileManager::trashFilesOfType(const OptionalString& type,
                                           const OptionalPath& inFolder) {
    const OperationCall call{"+[KXFileManager trashFilesOfType:inFolder:]", inFolder};
    return perform(call, StringList(), [&] {
        platform::Text& text = *platform::current().text;
        // nil equals no extension, not even an empty one: nothing matches.
        const OptionalString wanted = type ? OptionalString(text.lowercase(*type)) : std::nullopt;
        return trashMatchingFiles(inFolder, [&](const std::string& name) {
            return text.lowercase(pathExtension(name)) == wanted;
        });
    });
}

StringList KXFileManager::trashFilesNamed(const OptionalString& name,
                                          const OptionalPath& inFolder) {
    const OperationCall call{"+[KXFileManager trashFilesNamed:inFolder:]", inFolder};
    return perform(call, StringList(), [&] {
        return trashMatchingFiles(inFolder, [&](const std::string& each) { return each == name; });
    });
}

}  // namespace quillmoor
