#import "objc/KXTaskEx.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "tests/objc/log_world.h"
#include "tests/objc/objc_support.h"

using namespace quillmoor::test;
using quillmoor::StringList;

// Records each call.
@interface Receiver : NSObject {
  @public
    std::mutex mutex;
    std::string output;
    int ends;
    BOOL wasOnMainThread;
    KXTaskEx* runner;
    id object;
    BOOL raises;
}
- (void)data:(NSData*)data of:(KXTaskEx*)task object:(id)given;
- (BOOL)hasEnded;
@end

namespace {
int receivers = 0;
}  // namespace

@implementation Receiver
- (instancetype)init {
    self = [super init];
    ++receivers;
    return self;
}
- (void)dealloc {
    --receivers;
    [super dealloc];
}
- (void)data:(NSData*)data of:(KXTaskEx*)task object:(id)given {
    const std::lock_guard guard(mutex);
    output.append(static_cast<const char*>([data bytes]), [data length]);
    if ([data length] == 0) ++ends;
    wasOnMainThread = wasOnMainThread || [NSThread isMainThread];
    runner = task;
    object = given;
    if (raises) [NSException raise:@"Bad" format:@"no path"];
}
- (BOOL)hasEnded {
    const std::lock_guard guard(mutex);
    return ends > 0;
}
@end

// Records which operations it is sent.
@interface RecordingTask : KXTaskEx {
  @public
    std::mutex mutex;
    std::vector<std::string> sent;
    NSNotification* lastEnvelope;
    BOOL dropsChunks;
}
- (void)note:(const std::string&)operation;
@end

@implementation RecordingTask
- (void)dealloc {
    [lastEnvelope release];
    [super dealloc];
}
- (void)note:(const std::string&)operation {
    const std::lock_guard guard(mutex);
    sent.push_back(operation);
}
- (void)launchAsyncTask {
    [self note:"launch"];
    [super launchAsyncTask];
}
- (void)asyncTaskReturnData:(NSNotification*)notification {
    NSData* data = [[notification userInfo] objectForKey:NSFileHandleNotificationDataItem];
    [self note:"data " + std::string(static_cast<const char*>([data bytes]), [data length])];
    [lastEnvelope release];
    lastEnvelope = [notification retain];
    if (!dropsChunks || [data length] == 0) [super asyncTaskReturnData:notification];
}
- (void)terminateAsyncTask {
    [self note:"terminate"];
    [super terminateAsyncTask];
}
@end

namespace {

bool eventually(const std::function<bool()>& condition) {
    for (int i = 0; i < 1000 && !condition(); ++i) usleep(10000);
    return condition();
}

NSArray* script(NSString* text) {
    return [NSArray arrayWithObjects:@"-c", text, nil];
}

const SEL kOperation = @selector(data:of:object:);

struct AsyncRun {
    AsyncRun()
        : receiver([[[Receiver alloc] init] autorelease]),
          runner([[[KXTaskEx alloc] init] autorelease]) {}
    ~AsyncRun() {
        eventually([this] { return [runner theTask] == nil; });
    }

    OpenLogWorld world;
    Receiver* receiver;
    KXTaskEx* runner;
};

// Runs the commands of a shell in the background.
void begin(KXTaskEx* runner, NSString* commands, id delegate) {
    [runner asyncDataFromTask:@"/bin/sh"
                    arguments:script(commands)
                     delegate:delegate
                     selector:kOperation
                       object:nil];
}

NSNotification* envelope(const char* text) {
    NSData* data = [NSData dataWithBytes:text length:strlen(text)];
    return [NSNotification
        notificationWithName:KXAsyncTaskDataNotification
                      object:nil
                    userInfo:[NSDictionary dictionaryWithObject:data
                                                         forKey:NSFileHandleNotificationDataItem]];
}

}  // namespace

TEST(KXTaskExObject, asyncDataFromTask_arguments_delegate_selector_object_) {
    AsyncRun run;
    [run.runner asyncDataFromTask:@"/bin/sh"
                        arguments:script(@"printf one; printf err >&2")
                         delegate:run.receiver
                         selector:kOperation
                           object:@"mine"];
    ASSERT_TRUE(eventually([&] { return [run.receiver hasEnded]; }));
    EXPECT_EQ(run.receiver->output, "one");
    EXPECT_EQ(run.receiver->ends, 1);
    EXPECT_FALSE(run.receiver->wasOnMainThread);
    EXPECT_EQ(run.receiver->runner, run.runner);
    EXPECT_EQ(textOf(run.receiver->object), "mine");
}

TEST(KXTaskExObject, asyncDataFromTask_arguments_delegate_selector_object_environment_) {
    AsyncRun run;
    [run.runner asyncDataFromTask:@"/bin/sh"
                        arguments:script(@"printf \"$KX_VALUE\"")
                         delegate:run.receiver
                         selector:kOperation
                           object:nil
                      environment:[NSDictionary dictionaryWithObject:@"own" forKey:@"KX_VALUE"]];
    ASSERT_TRUE(eventually([&] { return [run.receiver hasEnded]; }));
    EXPECT_EQ(run.receiver->output, "own");
    EXPECT_EQ(run.receiver->object, nil);
    [run.runner asyncDataFromTask:nil
                        arguments:nil
                         delegate:nil
                         selector:nullptr
                           object:nil
                      environment:nil];
    ASSERT_TRUE(eventually([&] { return !run.world.written().empty(); }));
    EXPECT_EQ(run.world.written().back(),
              "Unable to launch async task - task does not exist or is not executable");
    [run.runner terminateAsyncTask];
}

TEST(KXTaskExObject, launchAsyncTask) {
    AsyncRun run;
    [run.runner launchAsyncTask];
    EXPECT_EQ(run.world.written(), StringList{"Unable to launch async task - no task set"});
    NSTask* task = [[[NSTask alloc] init] autorelease];
    NSPipe* pipe = [NSPipe pipe];
    [task setLaunchPath:@"/bin/sh"];
    [task setArguments:script(@"exit 3")];
    [task setStandardOutput:pipe];
    [run.runner setTheTask:task];
    [run.runner launchAsyncTask];
    [task waitUntilExit];
    // GNUstep may report the end before the status.
    EXPECT_TRUE(eventually([&] { return [task terminationStatus] == 3; }));
}

TEST(KXTaskExObject, asyncTaskReturnData_) {
    AsyncRun run;
    [run.runner asyncDataFromTask:@"/bin/sh"
                        arguments:script(@"exec sleep 100")
                         delegate:run.receiver
                         selector:kOperation
                           object:@"mine"];
    [run.runner asyncTaskReturnData:envelope("chunk")];
    EXPECT_EQ(run.receiver->output, "chunk");
    EXPECT_TRUE(run.receiver->wasOnMainThread);
    EXPECT_EQ(run.receiver->ends, 0);
    [run.runner asyncTaskReturnData:nil];
    EXPECT_EQ(run.receiver->ends, 1);
    EXPECT_EQ([run.runner theTask], nil);
}

TEST(KXTaskExObject, terminateAsyncTask) {
    AsyncRun run;
    [run.runner terminateAsyncTask];
    begin(run.runner, @"echo started; exec sleep 100", run.receiver);
    NSTask* task = [run.runner theTask];
    ASSERT_TRUE(eventually([&] { return [task isRunning]; }));
    [run.runner terminateAsyncTask];
    EXPECT_EQ([run.runner theTask], nil);
    [task waitUntilExit];
    EXPECT_EQ([task terminationStatus], SIGTERM);
    EXPECT_EQ(run.receiver->ends, 0);
}

TEST(ObjcAsyncTask, KeepsTheInstanceAndTheDelegateWhileItRuns) {
    OpenLogWorld world;
    TempFolder folder;
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    KXTaskEx* const runner = [[KXTaskEx alloc] init];
    Receiver* const receiver = [[Receiver alloc] init];
    [runner asyncDataFromTask:@"/bin/sh"
                    arguments:[NSArray arrayWithObjects:@"-c",
                                                        @"until [ -e \"$0\" ]; do sleep 0.01; done",
                                                        string(folder / "go"), nil]
                     delegate:receiver
                     selector:kOperation
                       object:nil];
    [runner release];
    [receiver release];
    [pool drain];
    EXPECT_EQ(receivers, 1);
    folder.writeFile("go");
    EXPECT_TRUE(eventually([] { return receivers == 0; }));
}

TEST(ObjcAsyncTask, DropsTheOutputForADelegateWithoutTheOperation) {
    AsyncRun run;
    begin(run.runner, @"printf one", @"no operation");
    EXPECT_TRUE(eventually([&] { return [run.runner theTask] == nil; }));
    EXPECT_EQ(run.world.written(), StringList());
}

TEST(ObjcAsyncTask, ReportsWhatTheDelegateRaises) {
    AsyncRun run;
    run.receiver->raises = YES;
    begin(run.runner, @"printf one", run.receiver);
    ASSERT_TRUE(eventually([&] { return !run.world.written().empty(); }));
    EXPECT_EQ(run.world.written(),
              StringList{"Exception in -[KXTaskEx launchAsyncTask]. Bad - no path."});
    EXPECT_EQ(nameOfRaised([&] { [run.runner asyncTaskReturnData:envelope("chunk")]; }), "Bad");
    [run.runner terminateAsyncTask];
}

TEST(ObjcAsyncTask, SendsItsStepsToTheInstance) {
    AsyncRun run;
    RecordingTask* runner = [[[RecordingTask alloc] init] autorelease];
    begin(runner, @"printf one", run.receiver);
    ASSERT_TRUE(eventually([&] { return [runner theTask] == nil; }));
    const std::lock_guard guard(runner->mutex);
    EXPECT_EQ(runner->sent, (StringList{"launch", "data one", "data ", "terminate"}));
    EXPECT_EQ(textOf([runner->lastEnvelope name]), "KXAsyncTaskDataNotification");
    EXPECT_EQ([runner->lastEnvelope object], nil);
    EXPECT_EQ([[runner->lastEnvelope userInfo] count], 1U);
    EXPECT_EQ(run.receiver->output, "one");
    EXPECT_EQ(run.receiver->ends, 1);
}

TEST(ObjcAsyncTask, LetsASubclassReplaceTheDelivery) {
    AsyncRun run;
    RecordingTask* runner = [[[RecordingTask alloc] init] autorelease];
    runner->dropsChunks = YES;
    begin(runner, @"printf one", run.receiver);
    ASSERT_TRUE(eventually([&] { return [runner theTask] == nil; }));
    EXPECT_EQ(run.receiver->output, "");
    EXPECT_EQ(run.receiver->ends, 1);
}

// The end of an earlier run's output must not end the run that was begun meanwhile.
TEST(ObjcAsyncTask, EndsOnlyTheRunWhoseOutputHasEnded) {
    AsyncRun run;
    RecordingTask* runner = [[[RecordingTask alloc] init] autorelease];
    runner->dropsChunks = YES;
    begin(runner, @"exec sleep 1000", run.receiver);
    NSTask* first = [runner theTask];
    ASSERT_TRUE(eventually([&] { return [first isRunning]; }));
    [runner terminateAsyncTask];
    begin(runner, @"exec sleep 1000", run.receiver);
    NSTask* second = [runner theTask];
    const auto ends = [&] {
        const std::lock_guard guard(runner->mutex);
        return std::count(runner->sent.begin(), runner->sent.end(), "data ");
    };
    ASSERT_TRUE(eventually([&] { return ends() == 1 && [second isRunning]; }));
    EXPECT_EQ([runner theTask], second);
    EXPECT_EQ(run.receiver->ends, 0);
    [runner terminateAsyncTask];
    EXPECT_TRUE(eventually([&] { return ends() == 2; }));
}

TEST(ObjcAsyncTask, NamesTheNotification) {
    EXPECT_EQ(textOf(KXAsyncTaskDataNotification), "KXAsyncTaskDataNotification");
}
