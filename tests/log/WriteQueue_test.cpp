#include "quillmoor/log/WriteQueue.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace quillmoor {
namespace {

TEST(WriteQueue, WritesInTheOrderOfQueueing) {
    static std::vector<std::string> seen;
    WriteQueue* const queue =
        WriteQueue::create([](std::string_view text) { seen.emplace_back(text); });
    for (int i = 0; i < 10'000; ++i) queue->add(std::to_string(i));
    queue->waitUntilAllOperationsAreFinished();
    ASSERT_EQ(seen.size(), 10'000U);
    for (int i = 0; i < 10'000; ++i)
        ASSERT_EQ(seen[static_cast<std::size_t>(i)], std::to_string(i));
    EXPECT_EQ(queue->operationCount(), 0U);
}

TEST(WriteQueue, KeepsEmptyAndHugeTexts) {
    static std::vector<std::size_t> sizes;
    WriteQueue* const queue =
        WriteQueue::create([](std::string_view text) { sizes.push_back(text.size()); });
    for (const std::size_t size : {0UL, 65'532UL, 65'533UL, 1'000'000UL, 1UL})
        queue->add(std::string(size, 'x'));
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_EQ(sizes, (std::vector<std::size_t>{0, 65'532, 65'533, 1'000'000, 1}));
}

// The number of times that the thread has waited.
long waitsOf(pid_t thread) {
    std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
    std::string word;
    while (status >> word && word != "voluntary_ctxt_switches:") {
    }
    long count = -1;
    status >> count;
    return count;
}

// Waits until the thread no longer polls for work.
void waitUntilAsleep(pid_t thread) {
    long before = 0;
    do {
        before = waitsOf(thread);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    } while (waitsOf(thread) != before);
}

// By the text itself: a caller that waits for the queue would wake the worker too.
TEST(WriteQueue, IsWokenByATextAfterALongSleep) {
    static std::atomic<pid_t> worker{0};
    static std::promise<void> written;
    WriteQueue* const queue = WriteQueue::create([](std::string_view text) {
        worker = ::gettid();
        if (text == "b") written.set_value();
    });
    queue->add("a");
    queue->waitUntilAllOperationsAreFinished();
    waitUntilAsleep(worker);
    queue->add("b");
    EXPECT_EQ(written.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

TEST(WriteQueue, ASleepingWorkerUsesNoProcessorTime) {
    static std::atomic<pid_t> worker{0};
    WriteQueue* const queue = WriteQueue::create([](std::string_view) { worker = ::gettid(); });
    queue->add("a");
    queue->waitUntilAllOperationsAreFinished();
    waitUntilAsleep(worker);
    const std::clock_t before = std::clock();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20);
}

TEST(WriteQueue, WaitingOnTheWorkerReturnsAtOnce) {
    static WriteQueue* queue = nullptr;
    static int written = 0;
    queue = WriteQueue::create([](std::string_view) {
        queue->waitUntilAllOperationsAreFinished();
        ++written;
    });
    queue->add("a");
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_EQ(written, 1);
}

TEST(WriteQueue, WaitingIncludesTextsThatAWriteAdds) {
    static WriteQueue* queue = nullptr;
    static std::atomic<int> written{0};
    queue = WriteQueue::create([](std::string_view text) {
        ++written;
        if (text == "first")
            for (int i = 0; i < 5; ++i) queue->add("added");
    });
    queue->add("first");
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_EQ(queue->operationCount(), 0U);
    EXPECT_EQ(written, 6);
}

// Each text that is written adds another: the queue is never empty.
TEST(WriteQueue, WaitingEndsEvenIfTheQueueIsNeverEmpty) {
    static WriteQueue* queue = nullptr;
    static std::atomic<bool> before{false};
    queue = WriteQueue::create([](std::string_view text) {
        if (text == "before") before = true;
        queue->add("more");
    });
    queue->add("before");
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(before);
}

TEST(WriteQueue, RestrictedToAThreadDropsTextsOfOthers) {
    static WriteQueue* queue = nullptr;
    static std::vector<std::string> written;
    queue = WriteQueue::create([](std::string_view text) {
        written.emplace_back(text);
        if (text == "own") queue->add("the worker's");
    });
    std::thread([] { queue->add("before"); }).join();
    queue->acceptOnlyFromThisThread();
    std::thread([] { queue->add("dropped"); }).join();
    queue->add("own");
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_EQ(written, (std::vector<std::string>{"before", "own", "the worker's"}));
}

TEST(WriteQueue, ServesManyWaitersAndWriters) {
    static std::atomic<int> written{0};
    WriteQueue* const queue = WriteQueue::create([](std::string_view) { ++written; });
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([queue] {
            for (int i = 0; i < 500; ++i) {
                queue->add("x");
                if (i % 10 == 0) queue->waitUntilAllOperationsAreFinished();
            }
        });
    for (std::thread& thread : threads) thread.join();
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_EQ(written, 4000);
}

}  // namespace
}  // namespace quillmoor
