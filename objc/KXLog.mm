#import "objc/KXLog.h"

#include <cstdarg>
#include <mutex>

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

using Append = void (*)(const quillmoor::OptionalString& message);

// An argument may raise when it is asked for its description.
void appendFormatted(const char* method, NSString* format, va_list arguments, Append append) {
    [KXLog sharedController];
    perform(method, [&] {
        NSString* const message = [[[NSString alloc] initWithFormat:format
                                                          arguments:arguments] autorelease];
        append(toString(message));
    });
}

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

+ (void)appendLog:(NSString*)format, ... {
    if (format == nil) return;
    va_list arguments;
    va_start(arguments, format);
    appendFormatted(__func__, format, arguments,
                    [](const auto& message) { Log::appendLog("%@", message); });
    va_end(arguments);
}

+ (void)fastAppendLog:(NSString*)format, ... {
    if (format == nil) return;
    va_list arguments;
    va_start(arguments, format);
    appendFormatted(__func__, format, arguments,
                    [](const auto& message) { Log::fastAppendLog("%@", message); });
    va_end(arguments);
}

+ (void)appendLogAndPrint:(NSString*)format, ... {
    if (format == nil) return;
    va_list arguments;
    va_start(arguments, format);
    appendFormatted(__func__, format, arguments,
                    [](const auto& message) { Log::appendLogAndPrint("%@", message); });
    va_end(arguments);
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
    return objectFor(Log::sharedController());
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
