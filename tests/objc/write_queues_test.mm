#include "objc/write_queues.h"

#include <atomic>
#include <string_view>

#include "tests/objc/objc_support.h"

namespace quillmoor::test {

using namespace objc;

// The queues are static: queues exist until the process exits, and a test may be repeated.

TEST(WriteQueues, HaveOneObjectEach) {
    static WriteQueue* const queue = WriteQueue::create([](std::string_view) {});
    EXPECT_EQ(fromWriteQueue(queue), fromWriteQueue(queue));
    EXPECT_EQ(toWriteQueue(fromWriteQueue(queue)), queue);
    EXPECT_EQ(fromWriteQueue(nullptr), nil);
    EXPECT_EQ(toWriteQueue(nil), nullptr);
}

TEST(WriteQueues, CountAndWaitForTheMessages) {
    static std::atomic<bool> mayWrite;
    static WriteQueue* const queue =
        WriteQueue::create([](std::string_view) { mayWrite.wait(false); });
    mayWrite = false;
    queue->add("one");
    queue->add("two");
    EXPECT_EQ([fromWriteQueue(queue) operationCount], 2U);
    mayWrite = true;
    mayWrite.notify_all();
    [fromWriteQueue(queue) waitUntilAllOperationsAreFinished];
    EXPECT_EQ([fromWriteQueue(queue) operationCount], 0U);
}

TEST(WriteQueues, KeepAQueueOfTheCaller) {
    static NSOperationQueue* const queue = [[NSOperationQueue alloc] init];
    EXPECT_EQ(toWriteQueue(queue), toWriteQueue(queue));
    EXPECT_EQ(fromWriteQueue(toWriteQueue(queue)), queue);
}

}  // namespace quillmoor::test
