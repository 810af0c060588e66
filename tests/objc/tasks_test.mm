#include "objc/tasks.h"

#include "objc/bridge.h"
#include "quillmoor/platform/platform.h"
#include "tests/objc/objc_support.h"

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

TEST(Tasks, OfACallerCannotBeConfigured) {
    NSTask* object = [[[NSTask alloc] init] autorelease];
    const auto task = toTask(object);
    EXPECT_EQ(fromTask(task), object);
    EXPECT_TRUE(exceptionFrom([&] { task->setLaunchPath("/bin/sh"); }));
    EXPECT_TRUE(exceptionFrom([&] { task->setArguments({}); }));
    EXPECT_TRUE(exceptionFrom([&] { task->terminate(); }));
    EXPECT_FALSE(task->isRunning());
}

}  // namespace quillmoor::test
