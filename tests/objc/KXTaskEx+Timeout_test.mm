// Time-outs while the main thread runs its run loop, as an application does.
#include <atomic>
#include <csignal>
#include <thread>

#import "objc/KXTaskEx.h"
#include "tests/objc/log_world.h"
#include "tests/objc/objc_support.h"

using namespace quillmoor::test;

TEST(ObjcTimeout, TerminatesTheChildOfAnotherThread) {
    OpenLogWorld world;
    std::atomic<bool> isOver{false};
    NSInteger status = -1;
    std::thread other([&] {
        @autoreleasepool {
            status = [KXTaskEx terminationCodeFromTask:@"/bin/sleep"
                                             arguments:[NSArray arrayWithObject:@"60"]
                                               timeout:1];
        }
        isOver = true;
    });
    runUntil([&] { return isOver.load(); });
    other.join();
    EXPECT_EQ(status, SIGTERM);
    EXPECT_EQ(world.written(), quillmoor::StringList{"Task /bin/sleep timed out. Terminating..."});
}
