#include "quillmoor/pane/exception_barrier_macos.h"

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace quillmoor {
namespace {

// Notes that the frame it is in was left in order.
struct Leaving {
    bool& left;
    ~Leaving() { left = true; }
};

TEST(ExceptionBarrier, LetsAnOrdinaryCallThrough) {
    int calls = 0;
    EXPECT_TRUE(contain([&] { ++calls; }));
    EXPECT_EQ(calls, 1);
}

TEST(ExceptionBarrier, ContainsAnExceptionOfCxx) {
    bool left = false;
    EXPECT_FALSE(contain([&] {
        const Leaving leaving{left};
        throw std::runtime_error("failed");
    }));
    EXPECT_TRUE(left);
    EXPECT_FALSE(contain([] { throw 1; }));
}

TEST(ExceptionBarrier, ContainsAnExceptionOfObjectiveC) {
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    for (int i = 0; i < 3; ++i) {
        bool left = false;
        EXPECT_FALSE(contain([&] {
            const Leaving leaving{left};
            [NSException raise:NSGenericException format:@"failed"];
        }));
        EXPECT_TRUE(left);
    }
    EXPECT_FALSE(contain([] { @throw @"no exception object"; }));
    [pool release];
}

TEST(ExceptionBarrier, ContainsOneOfACallInsideACall) {
    bool inner = true;
    EXPECT_TRUE(contain([&] { inner = contain([] { throw 1; }); }));
    EXPECT_FALSE(inner);
}

}  // namespace
}  // namespace quillmoor
