// The process-wide log: one text file per application name in the user's log folder, kept as at
// most five generations.
//
//   [KXLog createNewLog];                                          // once, at the start
//   [KXLog appendLog:@"Error: %@ is not executable", path];        // from any thread
//
//   ~/Library/Logs/Quillmoor/Name.1.log   the newest
//                            Name.2.log … Name.5.log, the oldest
//
// A process of root writes Name.1.log to /Library/Logs/Quillmoor, a folder that is not created
// here; the older generations are shifted in the console user's folder.
//
// The lines of one thread are in the order of its calls, and each is whole. The line that brings a
// file to 500,000 bytes stays in it; then the next generation is started. A message that cannot be
// written is lost alone, which is reported on standard output. Messages after +willTerminate:, in a
// child made by fork, and while the log is disabled are lost without a report.
#import "KXDefines.h"

NS_ASSUME_NONNULL_BEGIN

// Nothing here raises an exception. All methods may be called from any thread, but not from a
// signal handler. The first call of any of them makes the controller and installs the handler for
// uncaught exceptions (see KXException.h).
@interface KXLog : NSObject {
  @private
    void* _log;
}

// Appending -------------------------------------------------------------------------------------
// A message is formatted, and trimmed of white space and newlines at both ends, on the caller's
// thread. The log's own worker writes it as one line "date - message", in the order of queueing. A
// message that is empty after trimming is not written. With nil as format nothing is done. Text
// from outside belongs in an argument, not in the format. Swift has no methods with a variable
// number of arguments: there, -appendTextToLog: of the controller takes a finished message.

// Queues a message and returns at once. A call off the main thread, with a message of 1 to 99
// characters and at most 99 queued, waits until everything queued so far is written.
+ (void)appendLog:(nullable NSString*)format, ... NS_FORMAT_FUNCTION(1, 2);

// Queues a message and never waits.
+ (void)fastAppendLog:(nullable NSString*)format, ... NS_FORMAT_FUNCTION(1, 2);

// As +appendLog:, and also prints the message and a newline on standard output. In the log the
// message is used as a format itself, without arguments. On standard output "%@" is left out and
// every other percent sign is doubled. When logging is disabled nothing is printed either.
+ (void)appendLogAndPrint:(nullable NSString*)format, ... NS_FORMAT_FUNCTION(1, 2);

// Waits until everything queued before the call is written.
+ (void)finishWriting;

// Files -----------------------------------------------------------------------------------------

// Shifts the generations by one, starts an empty newest one and queues the header. `appName` is
// used only if no name was stored and the main program has none. If the user's preferences disable
// logging, it is disabled for the rest of the process. After a failure no log is open; the failure
// is reported on standard output.
+ (void)createNewLog;
+ (void)createNewLog:(nullable NSString*)appName NS_SWIFT_NAME(createNewLog(appName:));

// The paths of the generations in the user's log folder that exist, newest first.
+ (NSArray*)availableLogs;

// The controller --------------------------------------------------------------------------------
// It cannot be copied, released or counted: -retain, -autorelease and -copyWithZone: return it,
// -release does nothing, and -retainCount is 4294967295.

// The controller, which lives until the process exits. nil only if +allocWithZone: was called
// before: then nothing is logged.
+ (nullable KXLog*)sharedController;

// The one instance on the first call, afterwards nil. Products have no reason to call it.
+ (nullable instancetype)allocWithZone:(nullable NSZone*)zone;

// Waits for the queue if fewer than 20 messages are pending, closes the file and ends logging.
// Called on the main thread when the application terminates.
+ (void)willTerminate:(nullable NSNotification*)notification;

- (id)copyWithZone:(nullable NSZone*)zone;

// The stored name, else the main program's, without its extension. Counts from the next generation
// on.
@property(nonatomic, retain, nullable) NSString* appName;

// nil when no log is open; with nil, the next message opens the newest generation. The setter does
// not close the old file. The handle writes, seeks to the end and closes; nothing else.
@property(retain, nullable) NSFileHandle* fileHandle;

// The bytes written to the current file since +createNewLog: started it.
@property(assign) NSUInteger bytesWritten;

// Serial. nil after +willTerminate:, and if no thread could be started for it.
@property(retain, nullable) NSOperationQueue* writeQueue;

// Characters queued and not yet written; an estimate.
@property(assign) NSUInteger bytesInQueue;

// Messages are dropped and nothing is printed. Set by +createNewLog:, and never cleared by the log.
@property(assign) BOOL loggingDisabled;

// Trims and queues a finished message, which is not used as a format. Never waits.
- (void)appendTextToLog:(nullable NSString*)message;

// Writes one message on the calling thread, past the queue; the body of the queue's worker.
- (void)appendLogOnThread:(nullable NSString*)message;

@end

NS_ASSUME_NONNULL_END
