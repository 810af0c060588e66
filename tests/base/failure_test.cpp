#include "quillmoor/base/failure.h"

#include <gtest/gtest.h>

#include <thread>

#include "quillmoor/base/operation.h"
#include "tests/support/failing_allocations.h"

namespace quillmoor::test {
namespace {

void failWith(const char* operation) {
    KXFailure failure;
    failure.operation = operation;
    failure.path = "/a path that is longer than a short string";
    setLastFailure(failure);
}

TEST(Failure, IsNilBeforeTheFirst) {
    std::optional<KXFailure> found;
    std::thread([&] { found = KXFailure::last(); }).join();
    EXPECT_FALSE(found);
}

TEST(Failure, IsKeptUntilItIsCleared) {
    failWith("one");
    ASSERT_TRUE(KXFailure::last());
    EXPECT_STREQ(KXFailure::last()->operation, "one");
    EXPECT_TRUE(KXFailure::last());
    KXFailure::clear();
    EXPECT_FALSE(KXFailure::last());
    KXFailure::clear();
    EXPECT_FALSE(KXFailure::last());
}

// The first failure of a thread.
TEST(Failure, WithoutMemoryHasItsNumbers) {
    std::thread([] {
        KXFailure failure;
        failure.operation = "op";
        failure.systemError = 13;
        failure.path = "/a";
        setAllocationFails([] { return true; });
        setLastFailure(std::move(failure));
        setAllocationFails(nullptr);
        const auto last = KXFailure::last();
        ASSERT_TRUE(last);
        EXPECT_STREQ(last->operation, "op");
        EXPECT_EQ(last->systemError, 13);
        EXPECT_EQ(last->path, std::nullopt);
    }).join();
}

// Operations may be called while a thread ends, as by destructors of objects of the thread.
TEST(Failure, IsKeptWithoutTextsWhileItsThreadEnds) {
    struct Last {
        std::optional<KXFailure>* seen;
        ~Last() {
            failWith("at the end");
            *seen = KXFailure::last();
        }
    };
    std::optional<KXFailure> seen;
    std::thread([&] {
        // Destroyed after the record, which is used first below.
        static thread_local Last last{nullptr};
        last.seen = &seen;
        failWith("before");
    }).join();
    ASSERT_TRUE(seen);
    EXPECT_STREQ(seen->operation, "at the end");
    EXPECT_EQ(seen->path, std::nullopt);
}

TEST(Failure, IsOfItsOwnThread) {
    failWith("this thread");
    std::string other;
    std::thread([&] {
        EXPECT_FALSE(KXFailure::last());
        failWith("the other");
        other = KXFailure::last()->operation;
    }).join();
    EXPECT_EQ(other, "the other");
    EXPECT_STREQ(KXFailure::last()->operation, "this thread");
    KXFailure::clear();
}

}  // namespace
}  // namespace quillmoor::test
