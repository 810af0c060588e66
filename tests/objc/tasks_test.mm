#include "objc/tasks.h"

#include "objc/bridge.h"
#include "quillmoor/platform/platform.h"
#include "tests/objc/objc_support.h"

#include <signal.h>

namespace quillmoor::test {

using namespace objc;

TEST(Tasks, HaveOneObjectEach) {
    const auto task = platform::native().tasks->makeTask();
    EXPECT_EQ(fromTask(task), fromTask(task));
    EXPECT_EQ(toTask(fromTask(task)), task);
    EXPECT_EQ(fromTask(nullptr), nil);
    EXPECT_EQ(toTask(nil), nullptr);
}

TEST(Tasks, ReleaseTheChildWithTheLastObject) {
    auto task = platform::native().tasks->makeTask();
    const std::weak_ptr<platform::Task> watched = task;
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    fromTask(task);
    task = nullptr;
    EXPECT_FALSE(watched.expired());
    [pool drain];
    EXPECT_TRUE(watched.expired());
}

TEST(Tasks, RaiseWhatTheLibraryThrows) {
    const auto task = platform::native().tasks->makeTask();
    NSTask* object = fromTask(task);
    EXPECT_EQ(nameOfRaised([&] { [object terminate]; }), "NSInvalidArgumentException");
    EXPECT_EQ(nameOfRaised([&] { [object waitUntilExit]; }), "NSInvalidArgumentException");
}

// The commands of a shell, with a pipe for the output.
std::shared_ptr<platform::Task> shell(const std::string& commands) {
    auto task = platform::native().tasks->makeTask();
    task->setLaunchPath("/bin/sh");
    task->setArguments({"-c", commands});
    task->setEnvironment({{"KX_VALUE", "own"}});
    task->setStandardOutput(platform::native().fileHandles->makePipe());
    return task;
}

TEST(Tasks, SayWhatTheyWereSetUpWith) {
    NSTask* object = fromTask(shell("exit 0"));
    EXPECT_EQ(textOf([[object arguments] componentsJoinedByString:@" "]), "-c exit 0");
    EXPECT_EQ(textOf([[object environment] objectForKey:@"KX_VALUE"]), "own");
    NSTask* bare = fromTask(platform::native().tasks->makeTask());
    EXPECT_EQ([[bare arguments] count], 0U);
    EXPECT_EQ([bare environment], nil);
    EXPECT_EQ([bare standardOutput], nil);
}

TEST(Tasks, CanBeLaunchedAndRead) {
    NSTask* object = fromTask(shell("printf $$"));
    EXPECT_EQ([object processIdentifier], 0);
    [object launch];
    NSFileHandle* output = [[object standardOutput] fileHandleForReading];
    EXPECT_EQ([[object standardOutput] fileHandleForWriting], nil);
    NSData* data = [output availableData];
    EXPECT_EQ(std::string(static_cast<const char*>([data bytes]), [data length]),
              std::to_string([object processIdentifier]));
    [object waitUntilExit];
}

TEST(Tasks, CanBeInterrupted) {
    NSTask* object = fromTask(shell("exec sleep 1000"));
    EXPECT_EQ(nameOfRaised([&] { [object interrupt]; }), "NSInvalidArgumentException");
    [object launch];
    [object interrupt];
    [object waitUntilExit];
    EXPECT_EQ([object terminationStatus], SIGINT);
}

TEST(Tasks, OfACallerCannotBeConfigured) {
    NSTask* object = [[[NSTask alloc] init] autorelease];
    const auto task = toTask(object);
    EXPECT_EQ(fromTask(task), object);
    EXPECT_TRUE(exceptionFrom([&] { task->setLaunchPath("/bin/sh"); }));
    EXPECT_TRUE(exceptionFrom([&] { task->setArguments({}); }));
    EXPECT_TRUE(exceptionFrom([&] { task->setEnvironment({}); }));
    const platform::Pipe pipe;
    const std::shared_ptr<platform::FileHandle> handle;
    EXPECT_TRUE(exceptionFrom([&] { task->setStandardInput(pipe); }));
    EXPECT_TRUE(exceptionFrom([&] { task->setStandardOutput(pipe); }));
    EXPECT_TRUE(exceptionFrom([&] { task->setStandardOutput(handle); }));
    EXPECT_TRUE(exceptionFrom([&] { task->setStandardError(pipe); }));
    EXPECT_TRUE(exceptionFrom([&] { task->setStandardError(handle); }));
    EXPECT_TRUE(exceptionFrom([&] { task->terminate(); }));
    EXPECT_FALSE(task->isRunning());
}

TEST(Tasks, OfACallerSayHowTheyWereSetUpAndAreInterrupted) {
    NSTask* object = [[[NSTask alloc] init] autorelease];
    [object setLaunchPath:@"/bin/sh"];
    [object setArguments:[NSArray arrayWithObjects:@"-c", @"exec sleep 1000", nil]];
    [object setEnvironment:[NSDictionary dictionaryWithObject:@"own" forKey:@"KX_VALUE"]];
    const auto task = toTask(object);
    EXPECT_EQ(task->arguments(), (StringList{"-c", "exec sleep 1000"}));
    EXPECT_EQ(task->environment()->at("KX_VALUE"), "own");
    task->launch();
    EXPECT_EQ(task->processIdentifier(), [object processIdentifier]);
    EXPECT_GT(task->processIdentifier(), 0);
    task->interrupt();
    task->waitUntilExit();
    EXPECT_EQ(task->terminationStatus(), SIGINT);
}

TEST(Tasks, OfACallerAreWaitedFor) {
    NSTask* object = [[[NSTask alloc] init] autorelease];
    [object setLaunchPath:@"/bin/sh"];
    [object setArguments:[NSArray arrayWithObjects:@"-c", @"exit 3", nil]];
    const auto task = toTask(object);
    task->launch();
    task->waitUntilExit();
    EXPECT_EQ(task->terminationStatus(), 3);
}

}  // namespace quillmoor::test
