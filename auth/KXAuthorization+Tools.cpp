#include "quillmoor/auth/KXAuthorization.h"
#include "quillmoor/auth/authorization_request.h"
#include "quillmoor/auth/operation_support.h"
#include "quillmoor/base/format.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/task/KXTaskEx.h"

namespace quillmoor {

std::int32_t KXAuthorization::authExecTask(const OptionalPath& path, const StringList& parameters) {
    return recorded({"-[KXAuthorization authExecTask:parameters:]", path},
                    [&] { return authExecTask(path, parameters, Async::Yes); });
}

std::int32_t KXAuthorization::authExecTask(const OptionalPath& path, const StringList& parameters,
                                           Async async) {
    return recorded({"-[KXAuthorization authExecTask:parameters:async:]", path},
                    [&] { return execTask(path, parameters, async); });
}

std::int32_t KXAuthorization::execTask(const OptionalPath& path, const StringList& parameters,
                                       Async async) {
    const platform::Platform& system = platform::current();
    if (!somethingAt(path)) {
        system.console->log(formatted("Unable to execute task: path %@ doesn't exist", path));
        noteFailure(KXFailure::Reason::MissingItem);
        noteAuthorization(KXFailure::Authorization::Failed);
        return kToolMissing;
    }
    if (isRoot()) {
        // Counts as started whatever the task runner reports. Kept for compatibility.
        if (async == Async::Yes)
            KXTaskEx::runTaskAndReturn(path, parameters);
        else
            KXTaskEx::runTask(path, parameters);
        noteAuthorization(KXFailure::Authorization::Granted);
        return platform::kAuthorizationSuccess;
    }
    if (!isAuthorized()) authStart();
    if (!isAuthorized()) return kNotAuthorized;
    // The stream is never closed here: a tool that still writes must not be ended by SIGPIPE.
    std::shared_ptr<platform::AuthorizedToolStream> stream;
    const std::int32_t status = system.authorization->executeWithPrivileges(
        authRef_, *path, platform::kAuthorizationFlagDefaults, parameters, stream);
    if (!noteRequest(status)) return status;
    noteAuthorization(KXFailure::Authorization::Granted);
    // The end of the output stands for the end of the tool, whose exit status is not available.
    if (async == Async::No)
        while (stream->readCharacter() >= 0) {
        }
    return status;
}

}  // namespace quillmoor
