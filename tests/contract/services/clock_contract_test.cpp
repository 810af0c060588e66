// What every clock owes to those who ask it.
#include "quillmoor/platform/clock.h"

#include <gtest/gtest.h>

#include "quillmoor/platform/platform.h"
#include "tests/contract/services/back_end.h"
#include "tests/contract/services/memory_services.h"

namespace quillmoor::platform {
namespace {

using std::chrono::seconds;

struct Implementation {
    const char* name;
    Clock* (*make)();
};

class ClockContract : public testing::TestWithParam<Implementation> {
  protected:
    Clock& clock() { return *clock_; }

  private:
    Clock* clock_ = GetParam().make();
};

TEST_P(ClockContract, NoSleepIsNoTime) {
    const auto before = clock().now();
    clock().sleep(seconds(0));
    clock().sleep(seconds(-5));
    clock().sleep(std::chrono::microseconds::min());
    EXPECT_LT(clock().now() - before, seconds(60));
}

TEST_P(ClockContract, ASleepTakesItsTime) {
    const auto before = clock().now();
    clock().sleep(std::chrono::milliseconds(30));
    EXPECT_GE(clock().now() - before, std::chrono::milliseconds(25));
}

TEST_P(ClockContract, LocalTimeIsAWholeCalendarDate) {
    const std::tm parts =
        clock().localTime(std::chrono::system_clock::time_point(seconds(1370340271)));
    EXPECT_EQ(parts.tm_year, 113);
    EXPECT_EQ(parts.tm_mon, 5);
    EXPECT_GE(parts.tm_mday, 3);  // the 4th in Greenwich
    EXPECT_LE(parts.tm_mday, 5);
    EXPECT_EQ(parts.tm_sec, 31);
}

TEST_P(ClockContract, TheTimeIsALaterOneThanThisTestsOwn) {
    EXPECT_GT(clock().now(), std::chrono::system_clock::time_point(seconds(1300000000)));
}

TEST_P(ClockContract, ProcessorTimeGrowsWithWork) {
    const std::int64_t before = clock().processorTime();
    std::int64_t after = before;
    for (int i = 0; i < 10'000'000 && after == before; ++i) after = clock().processorTime();
    EXPECT_GT(after, before);
}

INSTANTIATE_TEST_SUITE_P(All, ClockContract,
                         testing::Values(Implementation{"Native", [] { return native().clock; }},
                                         Implementation{"Memory",
                                                        []() -> Clock* {
                                                            static test::MemoryClock clock;
                                                            return &clock;
                                                        }}),
                         nameOf<Implementation>);

}  // namespace
}  // namespace quillmoor::platform
