#import "objc/KXLog.h"

#include <mutex>

#import "objc/KXException.h"
#include "objc/bridge.h"
#include "objc/file_handles.h"
#include "objc/write_queues.h"
#include "quillmoor/log/KXLog.h"

using namespace quillmoor::objc;
using Log = quillmoor::KXLog;

namespace {

KXLog* controller = nil;

std::recursive_mutex& classLock() {
    static auto* const lock = new std::recursive_mutex;
    return *lock;
}

// The message of a format, whose arguments follow `format` in the calling method; retained.
#define MESSAGE_OF(format)                                                             \
    va_list list;                                                                      \
    va_start(list, format);                                                            \
    NSString* const message = [[NSString alloc] initWithFormat:format arguments:list]; \
    va_end(list)

}  // namespace

@implementation KXLog

// The one object for the library's controller; nil for null.
static KXLog* objectFor(Log* log) {
    if (log == nullptr) return nil;
    const std::lock_guard guard(classLock());
    if (controller == nil) {
        controller = static_cast<KXLog*>(NSAllocateObject([KXLog class], 0, nullptr));
        controller->_log = log;
    }
    return controller;
}

static Log& logOf(KXLog* object) {
    return *static_cast<Log*>(object->_log);
}

// Installed once, as the library's own handler is: a later one of the product stays.
static void installHandler() {
    static std::once_flag installed;
    std::call_once(installed, [] { NSSetUncaughtExceptionHandler(uncaughtExceptionHandler); });
}

+ (void)appendLog:(NSString*)format, ... {
    if (format == nil) return;
    [KXLog sharedController];
    MESSAGE_OF(format);
    perform(__func__, [&] { Log::appendLog("%@", toString(message)); });
    [message release];
}

+ (void)fastAppendLog:(NSString*)format, ... {
    if (format == nil) return;
    [KXLog sharedController];
    MESSAGE_OF(format);
    perform(__func__, [&] { Log::fastAppendLog("%@", toString(message)); });
    [message release];
}

+ (void)appendLogAndPrint:(NSString*)format, ... {
    if (format == nil) return;
    [KXLog sharedController];
    MESSAGE_OF(format);
    perform(__func__, [&] { Log::appendLogAndPrint("%@", toString(message)); });
    [message release];
}

+ (void)finishWriting {
    [KXLog sharedController];
    Log::finishWriting();
}

+ (void)createNewLog {
    [KXLog sharedController];
    Log::createNewLog();
}

+ (void)createNewLog:(NSString*)appName {
    [KXLog sharedController];
    perform(__func__, [&] { Log::createNewLog(toString(appName)); });
}

+ (NSArray*)availableLogs {
    [KXLog sharedController];
    return guarded(__func__, [NSMutableArray array], [] { return fromList(Log::availableLogs()); });
}

+ (KXLog*)sharedController {
    Log* const log = Log::sharedController();
    installHandler();
    return objectFor(log);
}

+ (instancetype)allocWithZone:(NSZone*)zone {
    return objectFor(Log::allocWithZone());
}

+ (void)willTerminate:(NSNotification*)notification {
    Log::willTerminate();
}

- (id)copyWithZone:(NSZone*)zone {
    return self;
}

- (instancetype)retain {
    return self;
}

- (NSUInteger)retainCount {
    return logOf(self).retainCount();
}

- (oneway void)release {
}

- (instancetype)autorelease {
    return self;
}

- (void)dealloc {
    logOf(self).dealloc();
    {
        const std::lock_guard guard(classLock());
        if (controller == self) controller = nil;
    }
    [super dealloc];
}

- (NSString*)appName {
    return guarded(__func__, static_cast<NSString*>(nil),
                   [&] { return fromString(logOf(self).appName()); });
}

- (void)setAppName:(NSString*)name {
    perform(__func__, [&] { logOf(self).setAppName(toString(name)); });
}

- (NSFileHandle*)fileHandle {
    return guarded(__func__, static_cast<NSFileHandle*>(nil),
                   [&] { return fromFileHandle(logOf(self).fileHandle()); });
}

- (void)setFileHandle:(NSFileHandle*)handle {
    perform(__func__, [&] { logOf(self).setFileHandle(toFileHandle(handle)); });
}

- (NSUInteger)bytesWritten {
    return logOf(self).bytesWritten();
}

- (void)setBytesWritten:(NSUInteger)bytes {
    logOf(self).setBytesWritten(bytes);
}

- (NSOperationQueue*)writeQueue {
    return guarded(__func__, static_cast<NSOperationQueue*>(nil),
                   [&] { return fromWriteQueue(logOf(self).writeQueue()); });
}

- (void)setWriteQueue:(NSOperationQueue*)queue {
    perform(__func__, [&] { logOf(self).setWriteQueue(toWriteQueue(queue)); });
}

- (NSUInteger)bytesInQueue {
    return logOf(self).bytesInQueue();
}

- (void)setBytesInQueue:(NSUInteger)units {
    logOf(self).setBytesInQueue(units);
}

- (BOOL)loggingDisabled {
    return logOf(self).loggingDisabled();
}

- (void)setLoggingDisabled:(BOOL)disabled {
    logOf(self).setLoggingDisabled(disabled);
}

- (void)appendTextToLog:(NSString*)message {
    perform(__func__, [&] { logOf(self).appendTextToLog(toString(message).value_or("")); });
}

- (void)appendLogOnThread:(NSString*)message {
    if (message == nil) return;
    perform(__func__, [&] { logOf(self).appendLogOnThread(*toString(message)); });
}

@end
