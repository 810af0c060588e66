#include "quillmoor/auth/authorization_request.h"

#include "quillmoor/base/operation.h"

namespace quillmoor {
namespace {

using Authorization = KXFailure::Authorization;

Authorization resultOf(platform::AuthorizationStatus status) {
    switch (status) {
        case platform::kAuthorizationDenied:
            return Authorization::Denied;
        case platform::kAuthorizationCanceled:
            return Authorization::Canceled;
        case platform::kAuthorizationInteractionNotAllowed:
            return Authorization::Unavailable;
        default:
            return Authorization::Failed;
    }
}

}  // namespace

bool noteRequest(platform::AuthorizationStatus status) {
    if (status == platform::kAuthorizationSuccess) return true;
    const Authorization result = resultOf(status);
    noteAuthorization(result, status);
    return result == Authorization::Failed ? noteStatus(status)
                                           : noteFailure(KXFailure::Reason::NotAuthorized);
}

}  // namespace quillmoor
