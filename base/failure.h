// Why an operation of this thread failed.
//
//   if (!KXFileManager::removeFile(path)) {
//       const auto failure = KXFailure::last();
//       show(failure->description);   // “name” couldn’t be removed: Permission denied
//   }
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor {

// The operations of KXFileManager, KXAuthorization and KXTaskEx return bare values: false, nil, 0
// or an empty list. This is the reason behind such a value.
//
// Each operation that fails records its failure for the thread that called it; each that succeeds
// clears that thread's record. An operation without a result, as lockFile, records a failure too.
// Queries whose result is not a failure, as fileExistsAtPath, leave the record as it is, unless
// they meet an exception. What another thread does, and what is called meanwhile by events that an
// operation sends, does not count.
//
// An operation that returns true by its contract has succeeded here as well: a tool that was
// started with administrator rights, the contents of a folder that cannot be listed, an archiving
// tool that failed while an old item is still at the destination.
struct KXFailure {
    enum class Reason {
        System,           // the system refused: systemError or platformStatus says why, if it does
        MissingItem,      // nothing exists at `path`, or this user cannot reach it
        MissingArgument,  // a path, or another argument that is needed, is nil
        ProtectedFolder,  // `path` is a folder that KXLocalPaths protects
        NotMounted,       // the volume of `path` is not mounted
        NotEmpty,         // `path` holds something, or it or a folder of it cannot be listed
        NotExecutable,    // the tool `path` is missing, not executable or a package
        NotAuthorized,    // administrator rights were not granted
        ToolFailed,       // the tool was started, and its result does not exist
        TimedOut,         // a tool was terminated, or the result did not show within the time-out
        Exception,        // `description` is the exception's reason
        OutOfMemory
    };

    // Whether administrator rights were tried, and how that ended.
    enum class Authorization {
        NotTried,     // not needed, or not allowed by the caller
        Protected,    // not requested, because the item is a folder that KXLocalPaths protects
        Unavailable,  // the user could not be asked: no user interface, or no dialog can appear
        Denied,       // refused
        Canceled,     // dismissed by the user
        Failed,       // another error, or the tool could not be started
        Granted       // a tool was started; what failed is something else, as a wait for its effect
    };

    // The operation that was called, as in "+[KXFileManager removeFile:shouldAuth:]". Never null.
    const char* operation = "";
    Reason reason = Reason::System;
    // The item that the failure concerns: of an operation on many items, the last that failed, but
    // for missing rights the item that was named. nil without one, and after a lack of memory.
    OptionalPath path;
    // The destination, of operations that have one; nil for others.
    OptionalPath toPath;
    // The system's error number (errno); 0 where the failure has none.
    int systemError = 0;
    // The platform's status, of calls that return one instead; 0 for the others.
    std::int32_t platformStatus = 0;
    // A sentence for people. Programs compare the fields above. Empty after a lack of memory.
    std::string description;
    Authorization authorization = Authorization::NotTried;
    // The status that the platform gave for it; 0 for none.
    std::int32_t authorizationStatus = 0;
    // A part was done and remains: a folder that was partly removed, some of many items, a copy
    // whose source could not be removed completely. False where the platform does not report it.
    bool isHalfDone = false;

    // The calling thread's; nil when its last operation succeeded, and before the first. Throws
    // std::bad_alloc.
    static std::optional<KXFailure> last();
    // Forgets it.
    static void clear() noexcept;
};

}  // namespace quillmoor
