#include "quillmoor/base/seconds.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillmoor {
namespace {

long cut(double seconds) {
    return static_cast<long>(wholeSeconds(std::chrono::duration<double>(seconds)).count());
}

TEST(WholeSeconds, AreCutTowardZero) {
    EXPECT_EQ(cut(2.9), 2);
    EXPECT_EQ(cut(0.5), 0);
    EXPECT_EQ(cut(-1.5), -1);
}

TEST(WholeSeconds, ClampsLargeValues) {
    EXPECT_EQ(cut(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_GE(cut(std::numeric_limits<double>::infinity()), 100'000'000);
    EXPECT_LE(cut(-1e300), -100'000'000);
}

}  // namespace
}  // namespace quillmoor
