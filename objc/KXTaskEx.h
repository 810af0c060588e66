// Command-line tools as child processes, run while the caller waits or in the background.
//
//   NSString *text = [KXTaskEx stringFromTask:@"/usr/bin/uname" arguments:@[@"-r"]];
//   NSInteger code = [KXTaskEx terminationCodeFromTask:tool arguments:list timeout:30];
#import "KXDefines.h"

NS_ASSUME_NONNULL_BEGIN

// The notification in which -asyncTaskReturnData: takes a chunk of output, in its user information
// under NSFileHandleNotificationDataItem. Never posted.
FOUNDATION_EXPORT NSString* const KXAsyncTaskDataNotification;

// Class methods may be called from any thread and block it until the tool has ended, except where
// they say otherwise.
//
// The tool is named by its path and is not searched for. A path that is nil, missing, not
// executable or a package (an application, for example) is refused with "Error: %@ is not
// executable", and nothing is started. A tool's exit status other than 0 is not a failure; only the
// methods that return the status show it. +[KXFailure lastFailure] is the reason of a failure.
// Arguments and the environment hold strings only; with anything else the tool cannot be started.
// nil starts it with no arguments, and lets it inherit the process's environment.
//
// If a task out-parameter is given, the child is stored there, autoreleased, before it starts, so
// that another thread can terminate it. The object has -launchPath, -arguments, -environment,
// -standardOutput (the pipe, nil without one), -launch, -processIdentifier, -isRunning,
// -terminationStatus, -terminate, -interrupt and -waitUntilExit; other methods of NSTask raise an
// exception, or do nothing. As long as it lives, the pipe of the child's standard input stays open.
// Where the compiler counts references (ARC), `&task` of a strong variable is the address of a
// copy, which is assigned after the call: no other thread sees the child in time. Use a form with a
// time-out on an instance, whose -theTask is the child meanwhile.
//
// A time-out is in seconds, cut to whole ones. A tool that still runs after it is sent one SIGTERM;
// the method then ends as it would have without it, and the time-out is reported on the console, in
// the log, and as the failure of the thread that waited. The termination is performed on the main
// thread, so it waits until that thread services its run loop. A time-out of less than a second
// terminates the tool at once if it runs already, and never if it does not. Each time-out has a
// thread, which sleeps to its end. A form with a time-out raises an exception when no thread can be
// started for it.
//
// The library sends -setupTimeout:, -timeout, -launchAsyncTask, -asyncTaskReturnData: and
// -terminateAsyncTask to the instance itself, so that a subclass may extend them.
@interface KXTaskEx : NSObject {
  @private
    void* _runner;
}

// Discarding the output -------------------------------------------------------------------------
// Standard output and error go to the null device, standard input is inherited.

// YES when the tool was started and waited for, whatever its status. A refused path is logged and
// printed; a failed start is logged.
+ (BOOL)runTask:(nullable NSString*)path arguments:(nullable NSArray*)arguments;
+ (BOOL)runTask:(nullable NSString*)path
      arguments:(nullable NSArray*)arguments
           task:(NSTask* _Nullable* _Nullable)task;
+ (void)runTask:(nullable NSString*)path
      arguments:(nullable NSArray*)arguments
        timeout:(double)timeout;

// Starts the tool and returns at once. A refused path is reported on the console and in the log.
// Raises an exception when the tool cannot be started.
+ (void)runTaskAndReturn:(nullable NSString*)path arguments:(nullable NSArray*)arguments;

// The exit status; for a tool ended by a signal, the signal's number; -1 when the path was refused,
// which is reported on the console and in the log. Raises an exception when the tool cannot be
// started.
+ (NSInteger)terminationCodeFromTask:(nullable NSString*)path
                           arguments:(nullable NSArray*)arguments;
+ (NSInteger)terminationCodeFromTask:(nullable NSString*)path
                           arguments:(nullable NSArray*)arguments
                                task:(NSTask* _Nullable* _Nullable)task;
+ (NSInteger)terminationCodeFromTask:(nullable NSString*)path
                           arguments:(nullable NSArray*)arguments
                             timeout:(double)timeout;

// Capturing the output --------------------------------------------------------------------------
// These wait for the end of the tool's output, not for its exit. Standard input is a pipe to which
// nothing is written. Standard output is read to its end first: a tool that meanwhile fills the
// pipe of its standard error blocks, and the caller with it. The whole output is held in memory.

// What the tool wrote to standard output; if that is nothing, what it wrote to standard error;
// empty data if it wrote nothing at all. nil when the path was refused, which is logged and
// printed, or when the tool could not be started or read, which is reported on the console only.
// The environment replaces the whole of the process's own. With logOutput NO, standard output is
// that of the process; nothing is logged in either case.
+ (nullable NSData*)dataFromTask:(nullable NSString*)path
                       arguments:(nullable NSArray*)arguments
                            task:(NSTask* _Nullable* _Nullable)task;
+ (nullable NSData*)dataFromTask:(nullable NSString*)path
                       arguments:(nullable NSArray*)arguments
                            task:(NSTask* _Nullable* _Nullable)task
                     environment:(nullable NSDictionary*)environment;
+ (nullable NSData*)dataFromTask:(nullable NSString*)path
                       arguments:(nullable NSArray*)arguments
                            task:(NSTask* _Nullable* _Nullable)task
                     environment:(nullable NSDictionary*)environment
                       logOutput:(BOOL)logOutput;
// On the main thread the tool is terminated only after its output has ended.
+ (nullable NSData*)dataFromTask:(nullable NSString*)path
                       arguments:(nullable NSArray*)arguments
                         timeout:(double)timeout;

// The same output as text. @"" when there is no data or no output; nil when the bytes are not valid
// in the encoding, which is ASCII unless another is given, or the system does not know it.
+ (nullable NSString*)stringFromTask:(nullable NSString*)path
                           arguments:(nullable NSArray*)arguments;
+ (nullable NSString*)stringFromTask:(nullable NSString*)path
                           arguments:(nullable NSArray*)arguments
                             timeout:(double)timeout;
+ (nullable NSString*)stringFromTask:(nullable NSString*)path
                           arguments:(nullable NSArray*)arguments
                            encoding:(NSStringEncoding)encoding
                             timeout:(double)timeout;
+ (nullable NSString*)stringFromTask:(nullable NSString*)path
                           arguments:(nullable NSArray*)arguments
                                task:(NSTask* _Nullable* _Nullable)task;
+ (nullable NSString*)stringFromTask:(nullable NSString*)path
                           arguments:(nullable NSArray*)arguments
                            encoding:(NSStringEncoding)encoding
                                task:(NSTask* _Nullable* _Nullable)task;

// One instance, for the forms with a time-out ---------------------------------------------------
// If an instance is used again while an earlier time-out still sleeps, that time-out terminates the
// second tool if it runs then.

- (instancetype)init;
- (void)runTask:(nullable NSString*)path
      arguments:(nullable NSArray*)arguments
        timeout:(double)timeout;
- (nullable NSData*)dataFromTask:(nullable NSString*)path
                       arguments:(nullable NSArray*)arguments
                         timeout:(double)timeout;
- (NSInteger)terminationCodeFromTask:(nullable NSString*)path
                           arguments:(nullable NSArray*)arguments
                             timeout:(double)timeout;

// The body of the time-out's thread. Sleeps, not at all for zero, less and nil, then has the main
// thread call -timeout and waits until that has returned.
- (void)setupTimeout:(nullable NSNumber*)seconds;

// Sends the tool of this instance one SIGTERM if it runs, and reports that.
- (void)timeout;

// The tool of this instance, nil when there is none. May be used from any thread.
@property(retain, nullable) NSTask* theTask;

// In the background -----------------------------------------------------------------------------
// One run at a time for each instance. Every method may be called from any thread.

// Prepares a run, starts its thread and returns. That thread starts the tool and calls the
// delegate's `selector` for each chunk of its output as it arrives, and once with empty data at the
// end, never on the main thread:
//
//   - (void)output:(NSData *)data of:(KXTaskEx *)task object:(id)object;
//
// Standard error is discarded, standard input inherited. The delegate and the object are retained
// until the run has ended, and the instance until its thread has. After the empty chunk the
// instance cleans up as -terminateAsyncTask does, and may be used again.
//
// Without a delegate or a selector, or when the delegate does not respond to it, the output is read
// and discarded. A tool that is missing or not executable is reported in the log only. A tool that
// cannot be started, and what the delegate raises, is reported as an exception; the delegate is not
// called again then. Raises an exception when the process has no descriptors or threads left, and
// for arguments or an environment that hold anything but strings.
- (void)asyncDataFromTask:(nullable NSString*)path
                arguments:(nullable NSArray*)arguments
                 delegate:(nullable id)delegate
                 selector:(nullable SEL)selector
                   object:(nullable id)object;
- (void)asyncDataFromTask:(nullable NSString*)path
                arguments:(nullable NSArray*)arguments
                 delegate:(nullable id)delegate
                 selector:(nullable SEL)selector
                   object:(nullable id)object
              environment:(nullable NSDictionary*)environment;

// The body of the run's thread. Reports what is raised in it.
- (void)launchAsyncTask;

// Passes the notification's chunk to the delegate, on the calling thread; after an empty one, and
// without one, it ends the run. What the delegate raises reaches the caller.
- (void)asyncTaskReturnData:(nullable NSNotification*)notification;

// Ends the run: stops the reading, releases the delegate and the object, and sends the tool one
// SIGTERM if it runs. Waits neither for the tool nor for a call of the delegate that is in
// progress.
- (void)terminateAsyncTask;

@end

NS_ASSUME_NONNULL_END
