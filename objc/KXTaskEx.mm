#import "objc/KXTaskEx.h"

#include <chrono>

#include "objc/bridge.h"
#include "objc/tasks.h"
#include "quillmoor/base/operation.h"
#include "quillmoor/task/KXTaskEx.h"
#include "quillmoor/task/bindings.h"

using namespace quillmoor::objc;
using quillmoor::AsyncTaskNotification;
using quillmoor::LogOutput;
using quillmoor::task_detail::Bindings;
using Runner = quillmoor::KXTaskEx;

NSString* const KXAsyncTaskDataNotification = @"KXAsyncTaskDataNotification";

namespace {

Bindings::ArgumentSource argumentsOf(NSArray* list) {
    return [list] { return throwing([&] { return toArguments(list); }); };
}

Bindings::EnvironmentSource variablesOf(NSDictionary* environment) {
    return [environment] { return throwing([&] { return toEnvironment(environment); }); };
}

// Autoreleased on the calling thread, which outlives the call: a caller's strong variable can
// take the object over.
Bindings::TaskSink storeIn(NSTask** task) {
    return [task](const Runner::TaskReference& made) {
        if (task == nullptr) return;
        // Another thread may read it while the child runs.
        __atomic_store_n(reinterpret_cast<void**>(task), static_cast<void*>(fromTask(made)),
                         __ATOMIC_RELEASE);
    };
}

void noteInvalidOutput() {
    const quillmoor::Operation decoding("+[KXTaskEx stringFromTask:arguments:encoding:task:]");
    noteFailure(quillmoor::Error{0, "the output is not valid in the encoding"});
}

// By the system, which knows more encodings than the library. @"" for nil.
NSString* decoded(NSData* data, NSStringEncoding encoding) {
    if (data == nil) return @"";
    NSString* const text = [[[NSString alloc] initWithData:data encoding:encoding] autorelease];
    // A tool that was terminated may have been in the middle of a character.
    if (text == nil && !quillmoor::KXFailure::last()) noteInvalidOutput();
    return text;
}

NSNotification* envelopeOf(const AsyncTaskNotification& notification) {
    NSDictionary* information =
        [NSDictionary dictionaryWithObject:fromData(notification.fileHandleNotificationDataItem)
                                    forKey:NSFileHandleNotificationDataItem];
    return [NSNotification notificationWithName:KXAsyncTaskDataNotification
                                         object:nil
                                       userInfo:information];
}

// Calls the operation on the thread that it is called on. The delegate and the instance live at
// least as long as the run.
void notify(id delegate, SEL selector, NSData* data, KXTaskEx* instance, id object) {
    if (![delegate respondsToSelector:selector]) return;
    NSMethodSignature* signature = [delegate methodSignatureForSelector:selector];
    if (signature == nil) return;
    NSInvocation* invocation = [NSInvocation invocationWithMethodSignature:signature];
    [invocation setTarget:delegate];
    [invocation setSelector:selector];
    [invocation setArgument:&data atIndex:2];
    [invocation setArgument:&instance atIndex:3];
    if (object != nil) [invocation setArgument:&object atIndex:4];
    [invocation invoke];
}

Runner::Selector operationOf(id delegate, SEL selector, KXTaskEx* instance) {
    if (delegate == nil || selector == nullptr) return nullptr;
    return [=](const quillmoor::Data& data, Runner&, const Runner::Object& object) {
        throwing([&] { notify(delegate, selector, fromData(data), instance, fromObject(object)); });
    };
}

// The library's part of an instance. What the library calls itself is sent to the instance, whose
// class may be a subclass that replaces it.
class MessagingRunner final : public Runner {
  public:
    explicit MessagingRunner(::KXTaskEx* owner) : owner_(owner) {}

    void setupTimeout(std::chrono::seconds seconds) override {
        throwing([&] { [owner_ setupTimeout:[NSNumber numberWithLongLong:seconds.count()]]; });
    }
    void timeout() override {
        throwing([&] { [owner_ timeout]; });
    }
    void launchAsyncTask() override {
        throwing([&] { [owner_ launchAsyncTask]; });
    }
    void asyncTaskReturnData(const AsyncTaskNotification& notification) override {
        throwing([&] { [owner_ asyncTaskReturnData:envelopeOf(notification)]; });
    }
    void terminateAsyncTask() override {
        throwing([&] { [owner_ terminateAsyncTask]; });
    }

  protected:
    Object reference() override { return toObject(owner_); }

  private:
    ::KXTaskEx* const owner_;  // not retained: it owns this
};

}  // namespace

@implementation KXTaskEx

static Runner& runnerOf(KXTaskEx* object) {
    return **static_cast<std::shared_ptr<Runner>*>(object->_runner);
}

+ (BOOL)runTask:(NSString*)path arguments:(NSArray*)arguments {
    return [self runTask:path arguments:arguments task:nullptr];
}

+ (BOOL)runTask:(NSString*)path arguments:(NSArray*)arguments task:(NSTask**)task {
    return guarded(__func__, NO, [&] {
        return Bindings::runTask(toString(path), argumentsOf(arguments), storeIn(task));
    });
}

+ (void)runTask:(NSString*)path arguments:(NSArray*)arguments timeout:(double)timeout {
    [[[[self alloc] init] autorelease] runTask:path arguments:arguments timeout:timeout];
}

+ (void)runTaskAndReturn:(NSString*)path arguments:(NSArray*)arguments {
    raising([&] { Bindings::runTaskAndReturn(toString(path), argumentsOf(arguments)); });
}

+ (NSInteger)terminationCodeFromTask:(NSString*)path arguments:(NSArray*)arguments {
    return [self terminationCodeFromTask:path arguments:arguments task:nullptr];
}

+ (NSInteger)terminationCodeFromTask:(NSString*)path
                           arguments:(NSArray*)arguments
                                task:(NSTask**)task {
    return raising([&] {
        return Bindings::terminationCodeFromTask(toString(path), argumentsOf(arguments),
                                                 storeIn(task));
    });
}

+ (NSInteger)terminationCodeFromTask:(NSString*)path
                           arguments:(NSArray*)arguments
                             timeout:(double)timeout {
    return [[[[self alloc] init] autorelease] terminationCodeFromTask:path
                                                            arguments:arguments
                                                              timeout:timeout];
}

+ (NSData*)dataFromTask:(NSString*)path arguments:(NSArray*)arguments task:(NSTask**)task {
    return [self dataFromTask:path arguments:arguments task:task environment:nil];
}

+ (NSData*)dataFromTask:(NSString*)path
              arguments:(NSArray*)arguments
                   task:(NSTask**)task
            environment:(NSDictionary*)environment {
    return [self dataFromTask:path
                    arguments:arguments
                         task:task
                  environment:environment
                    logOutput:YES];
}

+ (NSData*)dataFromTask:(NSString*)path
              arguments:(NSArray*)arguments
                   task:(NSTask**)task
            environment:(NSDictionary*)environment
              logOutput:(BOOL)logOutput {
    return guarded(__func__, static_cast<NSData*>(nil), [&] {
        return fromData(Bindings::dataFromTask(toString(path), argumentsOf(arguments),
                                               storeIn(task), variablesOf(environment),
                                               flag<LogOutput>(logOutput)));
    });
}

+ (NSData*)dataFromTask:(NSString*)path arguments:(NSArray*)arguments timeout:(double)timeout {
    return [[[[self alloc] init] autorelease] dataFromTask:path
                                                 arguments:arguments
                                                   timeout:timeout];
}

+ (NSString*)stringFromTask:(NSString*)path arguments:(NSArray*)arguments {
    return [self stringFromTask:path
                      arguments:arguments
                       encoding:NSASCIIStringEncoding
                           task:nullptr];
}

+ (NSString*)stringFromTask:(NSString*)path arguments:(NSArray*)arguments timeout:(double)timeout {
    return [self stringFromTask:path
                      arguments:arguments
                       encoding:NSASCIIStringEncoding
                        timeout:timeout];
}

+ (NSString*)stringFromTask:(NSString*)path
                  arguments:(NSArray*)arguments
                   encoding:(NSStringEncoding)encoding
                    timeout:(double)timeout {
    return decoded([self dataFromTask:path arguments:arguments timeout:timeout], encoding);
}

+ (NSString*)stringFromTask:(NSString*)path arguments:(NSArray*)arguments task:(NSTask**)task {
    return [self stringFromTask:path arguments:arguments encoding:NSASCIIStringEncoding task:task];
}

+ (NSString*)stringFromTask:(NSString*)path
                  arguments:(NSArray*)arguments
                   encoding:(NSStringEncoding)encoding
                       task:(NSTask**)task {
    return decoded([self dataFromTask:path arguments:arguments task:task], encoding);
}

- (instancetype)init {
    self = [super init];
    if (self != nil)
        raising([&] {
            _runner = new std::shared_ptr<Runner>(std::make_shared<MessagingRunner>(self));
        });
    return self;
}

- (void)dealloc {
    delete static_cast<std::shared_ptr<Runner>*>(_runner);
    [super dealloc];
}

- (void)runTask:(NSString*)path arguments:(NSArray*)arguments timeout:(double)timeout {
    raising([&] {
        Bindings::runTask(runnerOf(self), toString(path), argumentsOf(arguments),
                          Runner::Timeout(timeout));
    });
}

- (NSData*)dataFromTask:(NSString*)path arguments:(NSArray*)arguments timeout:(double)timeout {
    return raising([&] {
        return fromData(Bindings::dataFromTask(runnerOf(self), toString(path),
                                               argumentsOf(arguments), Runner::Timeout(timeout)));
    });
}

- (NSInteger)terminationCodeFromTask:(NSString*)path
                           arguments:(NSArray*)arguments
                             timeout:(double)timeout {
    return raising([&] {
        return Bindings::terminationCodeFromTask(runnerOf(self), toString(path),
                                                 argumentsOf(arguments), Runner::Timeout(timeout));
    });
}

- (void)setupTimeout:(NSNumber*)seconds {
    raising([&] {
        runnerOf(self).Runner::setupTimeout(std::chrono::seconds([seconds longLongValue]));
    });
}

- (void)timeout {
    raising([&] { runnerOf(self).Runner::timeout(); });
}

- (NSTask*)theTask {
    return raising([&] { return fromTask(runnerOf(self).theTask()); });
}

- (void)setTheTask:(NSTask*)task {
    raising([&] { runnerOf(self).setTheTask(toTask(task)); });
}

- (void)asyncDataFromTask:(NSString*)path
                arguments:(NSArray*)arguments
                 delegate:(id)delegate
                 selector:(SEL)selector
                   object:(id)object {
    [self asyncDataFromTask:path
                  arguments:arguments
                   delegate:delegate
                   selector:selector
                     object:object
                environment:nil];
}

- (void)asyncDataFromTask:(NSString*)path
                arguments:(NSArray*)arguments
                 delegate:(id)delegate
                 selector:(SEL)selector
                   object:(id)object
              environment:(NSDictionary*)environment {
    raising([&] {
        runnerOf(self).asyncDataFromTask(toString(path), toArguments(arguments), toObject(delegate),
                                         operationOf(delegate, selector, self), toObject(object),
                                         toEnvironment(environment));
    });
}

- (void)launchAsyncTask {
    raising([&] { runnerOf(self).Runner::launchAsyncTask(); });
}

- (void)asyncTaskReturnData:(NSNotification*)notification {
    raising([&] {
        NSData* data = [[notification userInfo] objectForKey:NSFileHandleNotificationDataItem];
        runnerOf(self).Runner::asyncTaskReturnData(
            {toString([notification name]).value_or(""), toData(data)});
    });
}

- (void)terminateAsyncTask {
    raising([&] { runnerOf(self).Runner::terminateAsyncTask(); });
}

@end
