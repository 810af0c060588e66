#include "quillmoor/platform/posix/ground/thread_posix.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

TEST(Thread, RunsItsBodyBesideTheCaller) {
    std::thread::id id;
    Thread thread([&id] { id = std::this_thread::get_id(); });
    EXPECT_TRUE(thread.joinable());
    thread.join();
    EXPECT_FALSE(thread.joinable());
    EXPECT_NE(id, std::thread::id());
    EXPECT_NE(id, std::this_thread::get_id());
}

TEST(Thread, ContinuesWhenItIsDetached) {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> wait = done->get_future();
    Thread thread([done = std::move(done)] { done->set_value(); });
    thread.detach();
    EXPECT_FALSE(thread.joinable());
    wait.get();
}

TEST(Thread, IsMovedWithItsBody) {
    bool ran = false;
    Thread first([&ran] { ran = true; });
    Thread second(std::move(first));
    // NOLINTNEXTLINE(bugprone-use-after-move): it is empty
    EXPECT_FALSE(first.joinable());
    Thread third;
    third = std::move(second);
    third.join();
    EXPECT_TRUE(ran);
}

TEST(Thread, ThrowsWhenTheSystemHasNoThread) {
    SystemCalls calls = systemCalls();
    calls.pthread_create = [](pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) {
        return EAGAIN;
    };
    const auto kept = std::make_shared<int>();
    const SystemCalls* const before = exchangeSystemCalls(&calls);
    try {
        const Thread thread([kept] {});
        ADD_FAILURE() << "no error";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), EAGAIN);
    }
    exchangeSystemCalls(before);
    EXPECT_EQ(kept.use_count(), 1);
}

TEST(ThreadDeathTest, ThatIsStillJoinableEndsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH({ const Thread thread([] {}); }, "");
}

}  // namespace
}  // namespace quillmoor::platform::posix
