#import "objc/KXFailure.h"

#include "objc/bridge.h"
#include "quillmoor/base/failure.h"

using namespace quillmoor::objc;
using Failure = quillmoor::KXFailure;

namespace {

// The numbers are passed on.
template <typename Enum, typename Other>
constexpr bool areEqual(Enum objc, Other cpp) {
    return static_cast<NSInteger>(objc) == static_cast<NSInteger>(cpp);
}

using Reason = Failure::Reason;
static_assert(areEqual(KXFailureReasonSystem, Reason::System));
static_assert(areEqual(KXFailureReasonMissingItem, Reason::MissingItem));
static_assert(areEqual(KXFailureReasonMissingArgument, Reason::MissingArgument));
static_assert(areEqual(KXFailureReasonProtectedFolder, Reason::ProtectedFolder));
static_assert(areEqual(KXFailureReasonNotMounted, Reason::NotMounted));
static_assert(areEqual(KXFailureReasonNotEmpty, Reason::NotEmpty));
static_assert(areEqual(KXFailureReasonNotExecutable, Reason::NotExecutable));
static_assert(areEqual(KXFailureReasonNotAuthorized, Reason::NotAuthorized));
static_assert(areEqual(KXFailureReasonToolFailed, Reason::ToolFailed));
static_assert(areEqual(KXFailureReasonTimedOut, Reason::TimedOut));
static_assert(areEqual(KXFailureReasonException, Reason::Exception));
static_assert(areEqual(KXFailureReasonOutOfMemory, Reason::OutOfMemory));

using Authorization = Failure::Authorization;
static_assert(areEqual(KXFailureAuthorizationNotTried, Authorization::NotTried));
static_assert(areEqual(KXFailureAuthorizationProtected, Authorization::Protected));
static_assert(areEqual(KXFailureAuthorizationUnavailable, Authorization::Unavailable));
static_assert(areEqual(KXFailureAuthorizationDenied, Authorization::Denied));
static_assert(areEqual(KXFailureAuthorizationCanceled, Authorization::Canceled));
static_assert(areEqual(KXFailureAuthorizationFailed, Authorization::Failed));
static_assert(areEqual(KXFailureAuthorizationGranted, Authorization::Granted));

}  // namespace

@implementation KXFailure

@synthesize operation = _operation;
@synthesize reason = _reason;
@synthesize path = _path;
@synthesize toPath = _toPath;
@synthesize systemError = _systemError;
@synthesize platformStatus = _platformStatus;
@synthesize failureDescription = _failureDescription;
@synthesize authorization = _authorization;
@synthesize authorizationStatus = _authorizationStatus;
@synthesize halfDone = _halfDone;

+ (KXFailure*)lastFailure {
    return guarded(__func__, static_cast<KXFailure*>(nil), [&]() -> KXFailure* {
        const auto failure = Failure::last();
        if (!failure) return nil;
        KXFailure* const made = [[[KXFailure alloc] init] autorelease];
        made->_operation = [fromString(std::string_view(failure->operation)) retain];
        made->_reason = static_cast<KXFailureReason>(failure->reason);
        made->_path = [fromString(failure->path) retain];
        made->_toPath = [fromString(failure->toPath) retain];
        made->_systemError = failure->systemError;
        made->_platformStatus = failure->platformStatus;
        made->_failureDescription = [fromString(std::string_view(failure->description)) retain];
        made->_authorization = static_cast<KXFailureAuthorization>(failure->authorization);
        made->_authorizationStatus = failure->authorizationStatus;
        made->_halfDone = failure->isHalfDone;
        return made;
    });
}

+ (void)clearLastFailure {
    Failure::clear();
}

- (void)dealloc {
    [_operation release];
    [_path release];
    [_toPath release];
    [_failureDescription release];
    [super dealloc];
}

- (NSString*)description {
    return _failureDescription;
}

@end
