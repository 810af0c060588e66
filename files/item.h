// What the file operations share: questions about one item, the fall-back to administrator rights,
// and the wait for a result.
#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <string>
#include <string_view>

#include "quillmoor/auth/KXAuthorization.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/base/types.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {

inline platform::FileManager& fileManager() {
    return *platform::current().fileManager;
}

// What cannot be looked at may be there.
inline bool isGone(const OptionalPath& path) {
    return !path || fileManager().isMissing(*path);
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

// The last step of an operation that something was thrown out of: nothing leaves a file operation
// but its answer. Reported under the name of `method`, if there is memory for that.
void reportCaught(const std::exception& exception, const char* method) noexcept;

template <typename Answer>
Answer afterException(const std::exception& exception, const char* method, Answer failed) noexcept {
    reportCaught(exception, method);
    return failed;
}

// How a folder that cannot be listed counts in holdsNothing.
enum class Unlisted : bool { IsEmpty, IsNot };

// As isFolderEmpty. What cannot be listed must not be removed as empty.
bool holdsNothing(const std::string& folder, Unlisted unlisted);

// Names in listing order, hidden ones included; none when the folder cannot be listed.
inline StringList entriesOf(const OptionalPath& folder) {
    if (!folder) return {};
    return fileManager().contentsOfDirectory(*folder).value_or(StringList{});
}

// Waits until `condition` holds, at most `timeout` and the length of one pass more. Answers whether
// it holds in the end. On the main thread events are sent meanwhile.
bool waitUntil(const std::function<bool()>& condition, std::chrono::seconds timeout);

}  // namespace quillmoor
