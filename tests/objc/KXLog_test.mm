#import "objc/KXLog.h"

#import "objc/KXException.h"
#include "tests/objc/log_world.h"
#include "tests/objc/objc_support.h"

using namespace quillmoor::test;
using Log = quillmoor::KXLog;
using quillmoor::StringList;

TEST(KXLog, appendLog_) {
    OpenLogWorld world;
    [KXLog appendLog:@"%@ of %d", @"one", 2];
    [KXLog appendLog:nil];
    EXPECT_EQ(world.written(), StringList{"one of 2"});
    EXPECT_EQ(world.console_.printed(), "");
}

TEST(KXLog, fastAppendLog_) {
    OpenLogWorld world;
    [KXLog fastAppendLog:@" %@ of %d \n", @"one", 2];
    [KXLog fastAppendLog:nil];
    EXPECT_EQ(world.written(), StringList{"one of 2"});
}

TEST(KXLog, appendLogAndPrint_) {
    OpenLogWorld world;
    [KXLog appendLogAndPrint:@"%@ of %d%%", @"one", 2];
    [KXLog appendLogAndPrint:nil];
    EXPECT_EQ(world.written(), StringList{"one of 2%"});
    EXPECT_EQ(world.console_.printed(), "one of 2%%\n");
}

TEST(KXLog, finishWriting) {
    OpenLogWorld world;
    for (int i = 0; i < 100; ++i) [KXLog fastAppendLog:@"line %d", i];
    [KXLog finishWriting];
    EXPECT_EQ(LogWorld::messages(world.logPath(1)).size(), 104U);
    EXPECT_EQ([[KXLog sharedController] bytesInQueue], 0U);
}

TEST(KXLog, createNewLog) {
    LogWorld world;
    [KXLog createNewLog];
    [KXLog createNewLog];
    EXPECT_TRUE(somethingAt(world.logPath(1)));
    EXPECT_TRUE(somethingAt(world.logPath(2)));
}

TEST(KXLog, createNewLog_) {
    LogWorld world;
    [KXLog createNewLog:nil];
    [KXLog createNewLog:@"Other"];
    EXPECT_TRUE(somethingAt(world.logPath(2)));
    EXPECT_EQ(textOf([[KXLog sharedController] appName]), "Host");
}

TEST(KXLog, availableLogs) {
    LogWorld world;
    EXPECT_EQ([[KXLog availableLogs] count], 0U);
    [KXLog createNewLog];
    [KXLog createNewLog];
    EXPECT_EQ(textOf([[KXLog availableLogs] componentsJoinedByString:@" "]),
              world.logPath(1) + " " + world.logPath(2));
}

TEST(KXLog, sharedController) {
    LogWorld world;
    KXLog* const log = [KXLog sharedController];
    EXPECT_NE(log, nil);
    EXPECT_EQ([KXLog sharedController], log);
}

static void handlerOfTheProduct(NSException*) {}

// The log's own is installed with its controller, once.
TEST(KXLogHandler, ThatTheProductSetsLaterStays) {
    OpenLogWorld world;
    NSSetUncaughtExceptionHandler(handlerOfTheProduct);
    [KXLog appendLog:@"line"];
    [KXLog sharedController];
    EXPECT_EQ(NSGetUncaughtExceptionHandler(), handlerOfTheProduct);
    NSSetUncaughtExceptionHandler(nullptr);
}

@interface KXRaises : NSObject
@end
@implementation KXRaises
- (NSString*)description {
    [NSException raise:@"Bad" format:@"no description"];
    return nil;
}
@end

TEST(KXLogMessages, AnArgumentThatRaisesIsReported) {
    OpenLogWorld world;
    KXRaises* const raises = [[[KXRaises alloc] init] autorelease];
    [KXLog appendLog:@"%@", raises];
    [KXLog fastAppendLog:@"%@", raises];
    [KXLog appendLogAndPrint:@"%@", raises];
    for (const std::string& line : world.written())
        EXPECT_NE(line.find("Bad - no description."), std::string::npos) << line;
    EXPECT_EQ(world.written().size(), 3U);
}

// The controller is null for the rest of this process then.
TEST(KXLog, allocWithZone_) {
    KXLog* const log = [KXLog allocWithZone:nullptr];
    EXPECT_NE(log, nil);
    EXPECT_EQ([KXLog allocWithZone:nullptr], nil);
    EXPECT_EQ([[KXLog alloc] init], nil);
    EXPECT_EQ([KXLog sharedController], nil);
}

TEST(KXLog, willTerminate_) {
    OpenLogWorld world;
    [KXLog fastAppendLog:@"before"];
    [KXLog willTerminate:nil];
    [KXLog appendLog:@"after"];
    EXPECT_EQ(world.written(), StringList{"before"});
    EXPECT_EQ([[KXLog sharedController] writeQueue], nil);
    EXPECT_EQ([[KXLog sharedController] fileHandle], nil);
}

TEST(KXLogObject, copyWithZone_) {
    LogWorld world;
    EXPECT_EQ([[KXLog sharedController] copyWithZone:nullptr], [KXLog sharedController]);
}
TEST(KXLogObject, retain) {
    LogWorld world;
    EXPECT_EQ([[KXLog sharedController] retain], [KXLog sharedController]);
}
TEST(KXLogObject, retainCount) {
    LogWorld world;
    EXPECT_EQ([[KXLog sharedController] retainCount], 4294967295UL);
}
TEST(KXLogObject, release) {
    LogWorld world;
    for (int i = 0; i < 3; ++i) [[KXLog sharedController] release];
    EXPECT_EQ(textOf([[KXLog sharedController] appName]), "Host");
}
TEST(KXLogObject, autorelease) {
    LogWorld world;
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    EXPECT_EQ([[KXLog sharedController] autorelease], [KXLog sharedController]);
    [pool drain];
    EXPECT_EQ(textOf([[KXLog sharedController] appName]), "Host");
}
TEST(KXLogObject, dealloc) {
    OpenLogWorld world;
    [KXLog fastAppendLog:@"before"];
    [[KXLog sharedController] dealloc];
    [KXLog appendLog:@"after"];
    EXPECT_EQ(world.written(), StringList{"before"});
    EXPECT_EQ([[KXLog sharedController] fileHandle], nil);
}

TEST(KXLogObject, appName) {
    LogWorld world;
    EXPECT_EQ(textOf([[KXLog sharedController] appName]), "Host");
    Log::sharedController()->setAppName("a\xFF");
    EXPECT_EQ([[KXLog sharedController] appName], nil);
    Log::sharedController()->setAppName(std::nullopt);
}
TEST(KXLogObject, setAppName_) {
    LogWorld world;
    [[KXLog sharedController] setAppName:@"Own"];
    EXPECT_EQ(textOf([[KXLog sharedController] appName]), "Own");
    [[KXLog sharedController] setAppName:nil];
    EXPECT_EQ(textOf([[KXLog sharedController] appName]), "Host");
}

TEST(KXLogObject, fileHandle) {
    OpenLogWorld world;
    NSFileHandle* handle = [[KXLog sharedController] fileHandle];
    EXPECT_EQ([[KXLog sharedController] fileHandle], handle);
    [handle writeData:[@"mine\n" dataUsingEncoding:NSUTF8StringEncoding]];
    EXPECT_NE(readFile(world.logPath(1)).find("mine\n"), std::string::npos);
    [handle closeFile];
    EXPECT_EQ(nameOfRaised([&] { [handle writeData:[NSData dataWithBytes:"x" length:1]]; }),
              "NSFileHandleOperationException");
}
TEST(KXLogObject, setFileHandle_) {
    LogWorld world;
    const std::string path = world.folder_.writeFile("own.log", "");
    NSFileHandle* handle = [NSFileHandle fileHandleForWritingAtPath:string(path)];
    [[KXLog sharedController] setFileHandle:handle];
    EXPECT_EQ([[KXLog sharedController] fileHandle], handle);
    [KXLog appendLog:@"message"];
    [KXLog finishWriting];
    EXPECT_EQ(LogWorld::messages(path), StringList{"message"});
    [[KXLog sharedController] setFileHandle:nil];
    EXPECT_EQ([[KXLog sharedController] fileHandle], nil);
}

TEST(KXLogObject, bytesWritten) {
    OpenLogWorld world;
    EXPECT_EQ([[KXLog sharedController] bytesWritten], readFile(world.logPath(1)).size());
}
TEST(KXLogObject, setBytesWritten_) {
    LogWorld world;
    [[KXLog sharedController] setBytesWritten:499999];
    EXPECT_EQ(Log::sharedController()->bytesWritten(), 499999U);
}

TEST(KXLogObject, writeQueue) {
    OpenLogWorld world;
    NSOperationQueue* queue = [[KXLog sharedController] writeQueue];
    EXPECT_TRUE([queue isKindOfClass:[NSOperationQueue class]]);
    EXPECT_EQ([[KXLog sharedController] writeQueue], queue);
    EXPECT_EQ([queue maxConcurrentOperationCount], 1);
    [KXLog fastAppendLog:@"message"];
    [queue waitUntilAllOperationsAreFinished];
    EXPECT_EQ([queue operationCount], 0U);
    EXPECT_EQ(LogWorld::messages(world.logPath(1)).back(), "message");
}
TEST(KXLogObject, setWriteQueue_) {
    OpenLogWorld world;
    NSOperationQueue* const before = [[KXLog sharedController] writeQueue];
    // Kept until the process exits, even if the test is repeated.
    static NSOperationQueue* const queue = [[NSOperationQueue alloc] init];
    [[KXLog sharedController] setWriteQueue:queue];
    EXPECT_EQ([[KXLog sharedController] writeQueue], queue);
    [KXLog fastAppendLog:@"one"];
    [KXLog fastAppendLog:@"two"];
    EXPECT_EQ(world.written(), (StringList{"one", "two"}));
    [[KXLog sharedController] setWriteQueue:nil];
    EXPECT_EQ([[KXLog sharedController] writeQueue], nil);
    [[KXLog sharedController] setWriteQueue:before];
    [KXLog fastAppendLog:@"three"];
    EXPECT_EQ(world.written().back(), "three");
}

TEST(KXLogObject, bytesInQueue) {
    LogWorld world;
    Log::sharedController()->setBytesInQueue(12);
    EXPECT_EQ([[KXLog sharedController] bytesInQueue], 12U);
}
TEST(KXLogObject, setBytesInQueue_) {
    LogWorld world;
    [[KXLog sharedController] setBytesInQueue:34];
    EXPECT_EQ(Log::sharedController()->bytesInQueue(), 34U);
}

TEST(KXLogObject, loggingDisabled) {
    LogWorld world;
    EXPECT_FALSE([[KXLog sharedController] loggingDisabled]);
    world.writePreferences("<string>1</string>");
    [KXLog createNewLog];
    EXPECT_TRUE([[KXLog sharedController] loggingDisabled]);
    Log::sharedController()->setLoggingDisabled(false);
}
TEST(KXLogObject, setLoggingDisabled_) {
    LogWorld world;
    [[KXLog sharedController] setLoggingDisabled:YES];
    EXPECT_TRUE(Log::sharedController()->loggingDisabled());
    [[KXLog sharedController] setLoggingDisabled:NO];
    EXPECT_FALSE(Log::sharedController()->loggingDisabled());
}

TEST(KXLogObject, appendTextToLog_) {
    OpenLogWorld world;
    [[KXLog sharedController] appendTextToLog:@" 100%@ "];
    [[KXLog sharedController] appendTextToLog:nil];
    EXPECT_EQ(world.written(), StringList{"100%@"});
}
TEST(KXLogObject, appendLogOnThread_) {
    OpenLogWorld world;
    [[KXLog sharedController] appendLogOnThread:@"message"];
    [[KXLog sharedController] appendLogOnThread:nil];
    EXPECT_EQ(LogWorld::messages(world.logPath(1)).back(), "message");
    EXPECT_EQ(world.written(), StringList{"message"});
}

TEST(ObjcLog, ReportsWhatAHandleOfTheCallerRaises) {
    LogWorld world;
    const std::string path = world.folder_.writeFile("own.log", "");
    NSFileHandle* handle = [NSFileHandle fileHandleForWritingAtPath:string(path)];
    [[KXLog sharedController] setFileHandle:handle];
    [handle closeFile];
    [KXLog appendLog:@"message"];
    [KXLog finishWriting];
    EXPECT_TRUE(world.console_.printed().starts_with("Exception writing to log: "));
    [[KXLog sharedController] setFileHandle:nil];
}
