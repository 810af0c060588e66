#include "quillmoor/base/dates.h"

#include <gtest/gtest.h>

namespace quillmoor {
namespace {

using std::chrono::system_clock;

TEST(DateDescription, IsInUtcWithItsOffset) {
    EXPECT_EQ(dateDescription(system_clock::from_time_t(1370340271)), "2013-06-04 10:04:31 +0000");
}

TEST(DateDescription, CutsTheFractionDownwards) {
    EXPECT_EQ(dateDescription(system_clock::from_time_t(0) - std::chrono::milliseconds(1)),
              "1969-12-31 23:59:59 +0000");
    EXPECT_EQ(dateDescription(system_clock::from_time_t(0) + std::chrono::milliseconds(999)),
              "1970-01-01 00:00:00 +0000");
}

}  // namespace
}  // namespace quillmoor
