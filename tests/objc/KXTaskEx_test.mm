#import "objc/KXTaskEx.h"

#include <mutex>

#include "quillmoor/platform/platform.h"
#include "tests/objc/log_world.h"
#include "tests/objc/objc_support.h"
#include "tests/task/held_time.h"

using namespace quillmoor::test;
using quillmoor::StringList;

namespace {

NSString* const kShell = @"/bin/sh";

// The arguments with which the shell runs a script.
NSArray* script(NSString* text) {
    return [NSArray arrayWithObjects:@"-c", text, nil];
}

std::string bytesOf(NSData* data) {
    return data == nil ? "nil" : std::string(static_cast<const char*>([data bytes]), [data length]);
}

NSDictionary* environment(NSString* value) {
    return [NSDictionary dictionaryWithObject:value forKey:@"KX_VALUE"];
}

// Each path is refused, the nil one too.
NSArray* refusedPaths() {
    return [NSArray arrayWithObjects:@"/nowhere/tool", @"/etc/passwd", nil];
}

}  // namespace

TEST(KXTaskEx, runTask_arguments_) {
    OpenLogWorld world;
    EXPECT_TRUE([KXTaskEx runTask:kShell arguments:script(@"exit 3")]);
    EXPECT_TRUE([KXTaskEx runTask:@"/bin/true" arguments:nil]);
    EXPECT_FALSE([KXTaskEx runTask:@"/nowhere/tool" arguments:nil]);
    EXPECT_FALSE([KXTaskEx runTask:nil arguments:nil]);
    EXPECT_EQ(world.written(), (StringList{"Error: /nowhere/tool is not executable",
                                           "Error: (null) is not executable"}));
}

TEST(KXTaskEx, runTask_arguments_task_) {
    OpenLogWorld world;
    NSTask* task = nil;
    EXPECT_TRUE([KXTaskEx runTask:kShell arguments:script(@"exit 3") task:&task]);
    EXPECT_EQ(textOf([task launchPath]), "/bin/sh");
    EXPECT_FALSE([task isRunning]);
    EXPECT_EQ([task terminationStatus], 3);
    EXPECT_FALSE([KXTaskEx runTask:nil arguments:nil task:nullptr]);
}

TEST(KXTaskEx, runTaskAndReturn_arguments_) {
    OpenLogWorld world;
    TempFolder folder;
    [KXTaskEx runTaskAndReturn:kShell
                     arguments:[NSArray arrayWithObjects:@"-c", @"sleep 0.2; echo x > \"$0\"",
                                                         string(folder / "made"), nil]];
    EXPECT_FALSE(somethingAt(folder / "made"));
    for (int i = 0; i < 1000 && readFile(folder / "made").empty(); ++i) usleep(10000);
    EXPECT_EQ(readFile(folder / "made"), "x\n");
    [KXTaskEx runTaskAndReturn:nil arguments:nil];
    EXPECT_EQ(world.console_.logged(), "Error: (null) is not executable");
}

TEST(KXTaskEx, runTask_arguments_timeout_) {
    OpenLogWorld world;
    const HeldTime time(world.platform_);
    TempFolder folder;
    [KXTaskEx
          runTask:kShell
        arguments:[NSArray arrayWithObjects:@"-c", @"echo x > \"$0\"", string(folder / "made"), nil]
          timeout:30];
    EXPECT_EQ(readFile(folder / "made"), "x\n");
    [KXTaskEx runTask:nil arguments:nil timeout:0];
}

TEST(KXTaskEx, stringFromTask_arguments_) {
    OpenLogWorld world;
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:kShell arguments:script(@"echo one")]), "one\n");
    EXPECT_EQ([KXTaskEx stringFromTask:kShell arguments:script(@"printf '\\303\\251'")], nil);
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:nil arguments:nil]), "");
}

TEST(KXTaskEx, stringFromTask_arguments_timeout_) {
    OpenLogWorld world;
    const HeldTime time(world.platform_);
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:kShell arguments:script(@"echo one") timeout:30]),
              "one\n");
    EXPECT_EQ([KXTaskEx stringFromTask:kShell arguments:script(@"printf '\\303\\251'") timeout:30],
              nil);
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:nil arguments:nil timeout:30]), "");
}

TEST(KXTaskEx, stringFromTask_arguments_encoding_timeout_) {
    OpenLogWorld world;
    const HeldTime time(world.platform_);
    NSArray* arguments = script(@"printf '\\303\\251'");
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:kShell
                                    arguments:arguments
                                     encoding:NSUTF8StringEncoding
                                      timeout:30]),
              "\xC3\xA9");
    EXPECT_EQ([[KXTaskEx stringFromTask:kShell
                              arguments:arguments
                               encoding:NSISOLatin1StringEncoding
                                timeout:30] length],
              2U);
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:nil
                                    arguments:nil
                                     encoding:NSUTF8StringEncoding
                                      timeout:30]),
              "");
}

TEST(KXTaskEx, stringFromTask_arguments_task_) {
    OpenLogWorld world;
    NSTask* task = nil;
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:kShell arguments:script(@"echo one") task:&task]),
              "one\n");
    EXPECT_EQ(textOf([task launchPath]), "/bin/sh");
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:nil arguments:nil task:nullptr]), "");
}

TEST(KXTaskEx, stringFromTask_arguments_encoding_task_) {
    OpenLogWorld world;
    NSTask* task = nil;
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:kShell
                                    arguments:script(@"printf '\\351'")
                                     encoding:NSISOLatin1StringEncoding
                                         task:&task]),
              "\xC3\xA9");
    EXPECT_EQ(textOf([task launchPath]), "/bin/sh");
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:nil
                                    arguments:nil
                                     encoding:NSUTF8StringEncoding
                                         task:nullptr]),
              "");
}

TEST(KXTaskEx, dataFromTask_arguments_task_) {
    OpenLogWorld world;
    NSTask* task = nil;
    EXPECT_EQ(bytesOf([KXTaskEx dataFromTask:kShell
                                   arguments:script(@"printf 'a\\0\\377'; printf e >&2")
                                        task:&task]),
              std::string("a\0\xFF", 3));
    EXPECT_EQ(textOf([task launchPath]), "/bin/sh");
    EXPECT_EQ(bytesOf([KXTaskEx dataFromTask:kShell arguments:script(@"") task:nullptr]), "");
    EXPECT_EQ([KXTaskEx dataFromTask:nil arguments:nil task:nullptr], nil);
}

TEST(KXTaskEx, dataFromTask_arguments_task_environment_) {
    OpenLogWorld world;
    NSArray* arguments = script(@"printf \"$KX_VALUE\"");
    EXPECT_EQ(bytesOf([KXTaskEx dataFromTask:kShell
                                   arguments:arguments
                                        task:nullptr
                                 environment:environment(@"own")]),
              "own");
    ::setenv("KX_VALUE", "inherited", 1);
    EXPECT_EQ(bytesOf([KXTaskEx dataFromTask:kShell
                                   arguments:arguments
                                        task:nullptr
                                 environment:nil]),
              "inherited");
    EXPECT_EQ([KXTaskEx dataFromTask:nil arguments:nil task:nullptr environment:nil], nil);
}

TEST(KXTaskEx, dataFromTask_arguments_task_environment_logOutput_) {
    OpenLogWorld world;
    NSArray* arguments = script(@"printf out; printf \"$KX_VALUE\" >&2");
    EXPECT_EQ(bytesOf([KXTaskEx dataFromTask:kShell
                                   arguments:arguments
                                        task:nullptr
                                 environment:environment(@"err")
                                   logOutput:NO]),
              "err");
    EXPECT_EQ(bytesOf([KXTaskEx dataFromTask:kShell
                                   arguments:arguments
                                        task:nullptr
                                 environment:environment(@"err")
                                   logOutput:YES]),
              "out");
    EXPECT_EQ([KXTaskEx dataFromTask:nil arguments:nil task:nullptr environment:nil logOutput:NO],
              nil);
}

TEST(KXTaskEx, dataFromTask_arguments_timeout_) {
    OpenLogWorld world;
    const HeldTime time(world.platform_);
    EXPECT_EQ(bytesOf([KXTaskEx dataFromTask:kShell arguments:script(@"printf one") timeout:30]),
              "one");
    EXPECT_EQ([KXTaskEx dataFromTask:nil arguments:nil timeout:30], nil);
}

TEST(KXTaskEx, terminationCodeFromTask_arguments_) {
    OpenLogWorld world;
    EXPECT_EQ([KXTaskEx terminationCodeFromTask:kShell arguments:script(@"exit 7")], 7);
    EXPECT_EQ([KXTaskEx terminationCodeFromTask:nil arguments:nil], -1);
}

TEST(KXTaskEx, terminationCodeFromTask_arguments_task_) {
    OpenLogWorld world;
    NSTask* task = nil;
    EXPECT_EQ([KXTaskEx terminationCodeFromTask:kShell arguments:script(@"exit 7") task:&task], 7);
    EXPECT_EQ([task terminationStatus], 7);
    EXPECT_EQ([KXTaskEx terminationCodeFromTask:nil arguments:nil task:nullptr], -1);
}

TEST(KXTaskEx, terminationCodeFromTask_arguments_timeout_) {
    OpenLogWorld world;
    const HeldTime time(world.platform_);
    EXPECT_EQ([KXTaskEx terminationCodeFromTask:kShell arguments:script(@"exit 7") timeout:30], 7);
    EXPECT_EQ([KXTaskEx terminationCodeFromTask:nil arguments:nil timeout:30], -1);
}

TEST(KXTaskExObject, init) {
    KXTaskEx* runner = [[[KXTaskEx alloc] init] autorelease];
    EXPECT_EQ([runner theTask], nil);
}

TEST(KXTaskExObject, dealloc) {
    NSTask* const task = [[NSTask alloc] init];
    KXTaskEx* const runner = [[KXTaskEx alloc] init];
    [runner setTheTask:task];
    EXPECT_EQ([task retainCount], 2U);
    [runner release];
    EXPECT_EQ([task retainCount], 1U);
    [task release];
}

TEST(KXTaskExObject, runTask_arguments_timeout_) {
    OpenLogWorld world;
    KXTaskEx* runner = [[[KXTaskEx alloc] init] autorelease];
    [runner runTask:kShell arguments:script(@"exec sleep 100") timeout:1.9];
    EXPECT_EQ(world.written(), StringList{"Task /bin/sh timed out. Terminating..."});
    EXPECT_EQ([runner theTask], nil);
    const HeldTime time(world.platform_);
    [runner runTask:nil arguments:nil timeout:30];
}

TEST(KXTaskExObject, dataFromTask_arguments_timeout_) {
    OpenLogWorld world;
    const HeldTime time(world.platform_);
    KXTaskEx* runner = [[[KXTaskEx alloc] init] autorelease];
    EXPECT_EQ(bytesOf([runner dataFromTask:kShell arguments:script(@"printf one") timeout:30]),
              "one");
    EXPECT_EQ([runner dataFromTask:nil arguments:nil timeout:30], nil);
}

TEST(KXTaskExObject, terminationCodeFromTask_arguments_timeout_) {
    OpenLogWorld world;
    KXTaskEx* runner = [[[KXTaskEx alloc] init] autorelease];
    EXPECT_EQ([runner terminationCodeFromTask:kShell arguments:script(@"exec sleep 100") timeout:1],
              SIGTERM);
    const HeldTime time(world.platform_);
    EXPECT_EQ([runner terminationCodeFromTask:nil arguments:nil timeout:30], -1);
}

namespace {

// A running child of the caller's, which sleeps for longer than a test may take.
NSTask* sleepingTask() {
    NSTask* task = [[[NSTask alloc] init] autorelease];
    [task setLaunchPath:@"/bin/sleep"];
    [task setArguments:[NSArray arrayWithObject:@"1000"]];
    [task launch];
    return task;
}

}  // namespace

TEST(KXTaskExObject, setupTimeout_) {
    OpenLogWorld world;
    KXTaskEx* runner = [[[KXTaskEx alloc] init] autorelease];
    NSTask* task = sleepingTask();
    [runner setTheTask:task];
    [runner setupTimeout:[NSNumber numberWithInt:0]];
    [task waitUntilExit];
    EXPECT_FALSE([task isRunning]);
    [runner setupTimeout:nil];
}

TEST(KXTaskExObject, timeout) {
    OpenLogWorld world;
    KXTaskEx* runner = [[[KXTaskEx alloc] init] autorelease];
    [runner timeout];
    EXPECT_EQ(world.written(), StringList());
    NSTask* task = sleepingTask();
    [runner setTheTask:task];
    [runner timeout];
    [task waitUntilExit];
    EXPECT_FALSE([task isRunning]);
    EXPECT_EQ(world.written(), StringList{"Task /bin/sleep timed out. Terminating..."});
    EXPECT_EQ(world.console_.logged(), "Task timed out. Terminating...");
}

TEST(KXTaskExObject, theTask) {
    KXTaskEx* runner = [[[KXTaskEx alloc] init] autorelease];
    EXPECT_EQ([runner theTask], nil);
    NSTask* task = [[[NSTask alloc] init] autorelease];
    [runner setTheTask:task];
    EXPECT_EQ([runner theTask], task);
}

TEST(KXTaskExObject, setTheTask_) {
    KXTaskEx* runner = [[[KXTaskEx alloc] init] autorelease];
    NSTask* task = [[[NSTask alloc] init] autorelease];
    [runner setTheTask:task];
    [runner setTheTask:nil];
    EXPECT_EQ([runner theTask], nil);
}

TEST(ObjcTask, RefusesWhatIsNotExecutable) {
    OpenLogWorld world;
    for (NSString* path in refusedPaths()) {
        EXPECT_FALSE([KXTaskEx runTask:path arguments:nil]);
        EXPECT_EQ([KXTaskEx dataFromTask:path arguments:nil task:nullptr], nil);
        EXPECT_EQ([KXTaskEx terminationCodeFromTask:path arguments:nil], -1);
    }
}

// The library itself does not know this encoding.
TEST(ObjcTask, DecodesWhatTheSystemCan) {
    OpenLogWorld world;
    const HeldTime time(world.platform_);
#if defined(__APPLE__)
    const NSStringEncoding cyrillic = 0x80000205;
#else
    const NSStringEncoding cyrillic = NSISOCyrillicStringEncoding;
#endif
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:kShell
                                    arguments:script(@"printf '\\320'")
                                     encoding:cyrillic
                                         task:nullptr]),
              "\xD0\xB0");
    EXPECT_EQ(textOf([KXTaskEx stringFromTask:kShell
                                    arguments:script(@"printf '\\320'")
                                     encoding:cyrillic
                                      timeout:30]),
              "\xD0\xB0");
}

TEST(ObjcTask, RaisesWhatCannotBeStarted) {
    OpenLogWorld world;
    TempFolder folder;
    const std::string tool = folder.writeFile("tool", "not a program");
    ASSERT_EQ(::chmod(tool.c_str(), 0755), 0);
    NSString* path = string(tool);
    EXPECT_EQ(nameOfRaised([&] { [KXTaskEx runTaskAndReturn:path arguments:nil]; }),
              "NSInvalidArgumentException");
    EXPECT_EQ(nameOfRaised([&] { [KXTaskEx terminationCodeFromTask:path arguments:nil]; }),
              "NSInvalidArgumentException");
    EXPECT_FALSE([KXTaskEx runTask:path arguments:nil]);
    EXPECT_EQ([KXTaskEx dataFromTask:path arguments:nil task:nullptr], nil);
}

// Terminates the child that another thread runs, as soon as it is stored.
@interface Terminator : NSObject {
  @public
    NSTask* task;
}
@end

@implementation Terminator
- (void)run {
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    void* stored = nullptr;
    while (stored == nullptr)
        stored = __atomic_load_n(reinterpret_cast<void**>(&task), __ATOMIC_ACQUIRE);
    while (![static_cast<NSTask*>(stored) isRunning]) usleep(1000);
    [static_cast<NSTask*>(stored) terminate];
    [pool drain];
}
@end

// Terminates the child of an instance.
@interface InstanceTerminator : NSObject {
  @public
    KXTaskEx* runner;
}
@end

@implementation InstanceTerminator
- (void)run {
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    while (![[runner theTask] isRunning]) usleep(1000);
    [[runner theTask] terminate];
    [pool drain];
}
@end

// Records what a time-out sends to it.
@interface TimedTask : KXTaskEx
@end

namespace {

std::mutex timeOutsLock;
StringList timeOuts;

void noteTimeOut(const std::string& text) {
    const std::lock_guard guard(timeOutsLock);
    timeOuts.push_back(text);
}

}  // namespace

@implementation TimedTask
- (void)setupTimeout:(NSNumber*)seconds {
    noteTimeOut("setup " + std::to_string([seconds intValue]));
    [super setupTimeout:seconds];
}
- (void)timeout {
    noteTimeOut("timeout");
    [super timeout];
}
@end

TEST(ObjcTask, LetsAnotherThreadTerminateTheChild) {
    OpenLogWorld world;
    Terminator* terminator = [[[Terminator alloc] init] autorelease];
    [NSThread detachNewThreadSelector:@selector(run) toTarget:terminator withObject:nil];
    EXPECT_EQ([KXTaskEx terminationCodeFromTask:kShell
                                      arguments:script(@"exec sleep 100")
                                           task:&terminator->task],
              SIGTERM);
}

// A caller whose compiler counts references cannot share the out-parameter with another thread.
TEST(ObjcTask, LetsAnotherThreadTerminateTheChildOfAnInstance) {
    OpenLogWorld world;
    const HeldTime time(world.platform_);
    KXTaskEx* runner = [[[KXTaskEx alloc] init] autorelease];
    InstanceTerminator* terminator = [[[InstanceTerminator alloc] init] autorelease];
    terminator->runner = runner;
    [NSThread detachNewThreadSelector:@selector(run) toTarget:terminator withObject:nil];
    EXPECT_EQ([runner terminationCodeFromTask:kShell
                                    arguments:script(@"exec sleep 1000")
                                      timeout:1000],
              SIGTERM);
}

TEST(ObjcTask, SendsATimeOutToTheInstance) {
    OpenLogWorld world;
    [TimedTask runTask:kShell arguments:script(@"exec sleep 1000") timeout:1.9];
    EXPECT_EQ(timeOuts, (StringList{"setup 1", "timeout"}));
    EXPECT_EQ(world.written(), StringList{"Task /bin/sh timed out. Terminating..."});
}
