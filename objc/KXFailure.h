// Why an operation of this thread failed.
//
//   if (![KXFileManager removeFile:path]) {
//       KXFailure *failure = [KXFailure lastFailure];
//       NSLog(@"%@", failure);   // “name” couldn’t be removed: Permission denied
//   }
//
// Each operation of KXFileManager, KXAuthorization and KXTaskEx that fails records its failure for
// the thread that called it; each that succeeds clears that thread's record. An operation without a
// result, as lockFile:, records a failure too. Queries whose result is not a failure, as
// fileExistsAtPath:, leave the record as it is.
#import "KXDefines.h"
#import "KXPlatformTypes.h"

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSInteger, KXFailureReason) {
    KXFailureReasonSystem,  // the system refused: systemError or platformStatus, if it gives one
    KXFailureReasonMissingItem,      // nothing exists at the path, or this user cannot reach it
    KXFailureReasonMissingArgument,  // a path, or another argument that is needed, is nil
    KXFailureReasonProtectedFolder,  // the path is a folder that KXLocalPaths protects
    KXFailureReasonNotMounted,       // the volume of the path is not mounted
    KXFailureReasonNotEmpty,         // the folder holds something, or cannot be listed
    KXFailureReasonNotExecutable,    // the tool is missing, not executable or a package
    KXFailureReasonNotAuthorized,    // administrator rights were not granted
    KXFailureReasonToolFailed,       // the tool was started, and its result does not exist
    KXFailureReasonTimedOut,         // a tool was terminated, or the result did not show in time
    KXFailureReasonException,        // the description is the exception's reason
    KXFailureReasonOutOfMemory
};

// Whether administrator rights were tried, and how that ended.
typedef NS_ENUM(NSInteger, KXFailureAuthorization) {
    KXFailureAuthorizationNotTried,     // not needed, or not allowed by the caller
    KXFailureAuthorizationProtected,    // not requested: the item is a folder that is protected
    KXFailureAuthorizationUnavailable,  // the user could not be asked
    KXFailureAuthorizationDenied,       // refused
    KXFailureAuthorizationCanceled,     // dismissed by the user
    KXFailureAuthorizationFailed,       // another error, or the tool could not be started
    KXFailureAuthorizationGranted       // a tool was started; what failed is something else
};

// A value that does not change; may be passed to other threads.
@interface KXFailure : NSObject {
  @private
    NSString* _operation;
    NSString* _path;
    NSString* _toPath;
    NSString* _failureDescription;
    KXFailureReason _reason;
    KXFailureAuthorization _authorization;
    int _systemError;
    OSStatus _platformStatus;
    OSStatus _authorizationStatus;
    BOOL _halfDone;
}

// The calling thread's; nil when its last operation succeeded, and before the first.
+ (nullable KXFailure*)lastFailure;
// Forgets it.
+ (void)clearLastFailure;

// The operation that was called, as in +[KXFileManager removeFile:]; of KXTaskEx the form with all
// arguments that does the work.
@property(nonatomic, readonly) NSString* operation;
@property(nonatomic, readonly) KXFailureReason reason;
// The item that the failure concerns: of an operation on many items, the last that failed, but for
// missing rights the item that was named. nil without one, and for a path that is not valid UTF-8.
@property(nonatomic, readonly, nullable) NSString* path;
// The destination, of operations that have one.
@property(nonatomic, readonly, nullable) NSString* toPath;
// The system's error number (errno); 0 where the failure has none.
@property(nonatomic, readonly) int systemError;
// The platform's status, of calls that return one instead; 0 for the others.
@property(nonatomic, readonly) OSStatus platformStatus;
// A sentence for people.
@property(nonatomic, readonly, nullable) NSString* failureDescription;
@property(nonatomic, readonly) KXFailureAuthorization authorization;
// The status that the platform gave for it; 0 for none.
@property(nonatomic, readonly) OSStatus authorizationStatus;
// A part was done and remains. NO where the platform does not report it.
@property(nonatomic, readonly, getter=isHalfDone) BOOL halfDone;

@end

NS_ASSUME_NONNULL_END
