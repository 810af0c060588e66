// What the operations of KXFileManager share: queries of one item, the fall-back to administrator
// rights, reports, and the wait for a result.
#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>

#include "quillmoor/auth/KXAuthorization.h"
#include "quillmoor/base/operation.h"
#include "quillmoor/base/paths.h"
#include "quillmoor/base/types.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {

inline platform::FileManager& fileManager() {
    return *platform::current().fileManager;
}

// Whether nothing exists at the path. False for what cannot be examined: it may exist.
inline bool isGone(const OptionalPath& path) {
    return !path || fileManager().isMissing(*path);
}

// Performs `operation` with administrator rights, through the process's session. If a process of
// root cannot start the tool, false and a report with the name `method`.
bool withAuthorization(const char* method, const std::function<bool(KXAuthorization&)>& operation);

// The folder that contains the item at `path`; the current folder for a name without a folder part.
inline std::string parentFolder(std::string_view path) {
    std::string parent = deleteLastPathComponent(path);
    return parent.empty() && !path.empty() ? "." : parent;
}

// Reports on the console that `item` was copied to `copy` and could not be removed completely.
void reportRemainingCopy(const std::string& item, const std::string& copy);

// Moves the item into the user's Trash as the process's own user. Copies that remain are reported,
// and a failure is noted.
platform::RecycleOutcome moveToTrash(const std::string& path);

// Reports an exception that a file operation has caught, with the name `method`, if there is memory
// for that. No exception leaves a file operation.
void reportCaught(const std::exception& exception, const char* method) noexcept;

// The result of `body`, a file operation, or `failure` after an exception, which is reported and
// recorded. Each form of an operation catches, so that the report names the one that was called.
template <typename Result, typename Body>
Result perform(const OperationCall& call, Result failure, const Body& body) {
    Operation operation(call);
    try {
        Result result = body();
        if constexpr (std::is_same_v<Result, bool>) operation.end(result);
        return result;
    } catch (const std::exception& exception) {
        operation.note(exception);
        reportCaught(exception, call.name);
        return failure;
    } catch (...) {
        operation.noteUnknownException();
        throw;
    }
}

// The same without a result.
template <typename Body>
void perform(const OperationCall& call, const Body& body) {
    perform(call, 0, [&] {
        body();
        return 0;
    });
}

// The result of a query, which returns `failure` after an exception: reports and records that.
template <typename Result>
Result afterException(const std::exception& exception, const char* method,
                      Result failure) noexcept {
    perform(method, [&] { noteFailure(exception); });
    reportCaught(exception, method);
    return failure;
}

// How a folder that cannot be listed counts in holdsNothing.
enum class Unlisted : bool { IsEmpty, IsNot };

// As isFolderEmpty, with a choice for folders that cannot be listed: they must not be removed as
// empty.
bool holdsNothing(const std::string& folder, Unlisted unlisted);

// The names of the entries in listing order, hidden ones included; empty when the folder cannot be
// listed.
inline StringList entriesOf(const OptionalPath& folder) {
    if (!folder) return {};
    return fileManager().contentsOfDirectory(*folder).value_or(StringList{});
}

// Waits until `condition` holds, but not longer than `timeout` and one pass more (10 ms and the
// handling of one event, or 0.3 s). Returns whether it holds in the end; notes that it does not. On
// the main thread user-interface events are sent meanwhile.
bool waitUntil(const std::function<bool()>& condition, std::chrono::seconds timeout);

}  // namespace quillmoor
