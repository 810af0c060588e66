#include "quillmoor/base/stop_token.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace quillmoor {
namespace {

TEST(StopTokens, WithoutASourceNeverShowARequest) {
    EXPECT_FALSE(StopToken().isStopRequested());
}

TEST(StopTokens, ShowOnlyTheRequestOfTheirSource) {
    const StopSource source;
    const StopSource other;
    const StopToken token = source.token();
    const StopToken copy = token;
    EXPECT_FALSE(token.isStopRequested());
    EXPECT_FALSE(source.isStopRequested());
    std::thread([&] { source.requestStop(); }).join();
    EXPECT_TRUE(token.isStopRequested());
    EXPECT_TRUE(copy.isStopRequested());
    EXPECT_TRUE(source.isStopRequested());
    EXPECT_FALSE(other.token().isStopRequested());
}

TEST(StopTokens, OutliveTheirSource) {
    StopToken token;
    {
        const StopSource source;
        token = source.token();
        StopSource(source).requestStop();
    }
    EXPECT_TRUE(token.isStopRequested());
}

// Without release and acquire in the token, ThreadSanitizer finds a race here.
TEST(StopTokens, PublishWhatWasWrittenBeforeTheRequest) {
    const StopSource source;
    int written = 0;
    std::atomic<int> seen{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([token = source.token(), &written, &seen] {
            while (!token.isStopRequested()) std::this_thread::yield();
            seen += written;
        });
    written = 1;
    source.requestStop();
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(seen, 4);
}

TEST(StopTokens, MayBeCopiedWhileThreadsRequestAStop) {
    const StopSource source;
    const StopToken token = source.token();
    std::atomic<int> seen{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([copy = source] { copy.requestStop(); });
        threads.emplace_back([&token, &seen] {
            for (StopToken copy; !copy.isStopRequested(); copy = token) std::this_thread::yield();
            ++seen;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(seen, 4);
    EXPECT_TRUE(source.isStopRequested());
}

}  // namespace
}  // namespace quillmoor
