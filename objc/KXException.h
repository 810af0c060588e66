// Reports of exceptions, caught and uncaught.
//
//   } @catch (NSException *exception) {
//       // "Exception in -[Loader load]. Name - reason."
//       [KXException logException:exception forMethod:__func__];
//   }
//
// An uncaught exception needs no call: the first use of KXLog installs the handler below.
#import "KXDefines.h"

NS_ASSUME_NONNULL_BEGIN

// No state; may be used from any thread. Raises no exception.
@interface KXException : NSObject

// Writes "Exception in <method>. <name> - <reason>." to the log and to standard output, and returns
// that text; nil if it is not valid UTF-8. A format directive in the reason is rendered by the log,
// without arguments. A nil exception has "(null)" for name and reason. May wait for the log as
// +[KXLog appendLog:] does.
+ (nullable NSString*)logException:(nullable NSException*)exception
                         forMethod:(nullable const char*)method;

// Whether the exception's name is exactly "NSPortTimeoutException". NO for nil.
+ (BOOL)didTimeout:(nullable NSException*)exception;

@end

// What the process's handler for uncaught exceptions does. The first use of the log installs that
// handler, in place of any installed before. Writes the exception's reason to the log and to
// standard output, and waits until it is in the file; after the handler the process ends as it
// would without it. With nil, or without a reason, it only waits.
FOUNDATION_EXPORT void uncaughtExceptionHandler(NSException* _Nullable exception);

NS_ASSUME_NONNULL_END
