// What the file operations share: questions about one item, the fall-back to administrator rights,
// and the wait for a result.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

#include "auth/KXAuthorization.h"
#include "base/paths.h"
#include "base/types.h"
#include "platform/platform.h"

namespace quillmoor {

inline platform::FileManager& fileManager() {
    return *platform::current().fileManager;
}

// An operation with administrator rights, through the process's session. NO, and a report under the
// name of `method`, when a tool of the super-user's cannot be started.
bool withRights(const char* method, const std::function<bool(KXAuthorization&)>& operation);

// The folder that holds the item `path` names: the current folder for a name without a folder part.
inline std::string parentFolder(std::string_view path) {
    std::string parent = deleteLastPathComponent(path);
    return parent.empty() && !path.empty() ? "." : parent;
}

// Tells on the console that `item` was copied and could not be removed completely.
void reportRemainingCopy(const std::string& item, const std::string& copy);

// Moves the item into the user's Trash with the process's own rights. Copies that remain are
// reported.
platform::RecycleOutcome moveToTrash(const std::string& path);

// Names in listing order, hidden ones included; none when the folder cannot be listed.
inline StringList entriesOf(const OptionalPath& folder) {
    if (!folder) return {};
    return fileManager().contentsOfDirectory(*folder).value_or(StringList{});
}

// Waits until `condition` holds, at most `timeout` and the length of one pass more. Answers whether
// it holds in the end. On the main thread events are sent meanwhile.
bool waitUntil(const std::function<bool()>& condition, std::chrono::seconds timeout);

}  // namespace quillmoor
