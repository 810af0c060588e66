#include "tools/ditto/source_date.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

constexpr const char* kName = "SOURCE_DATE_EPOCH";

TEST(DittoSourceDate, IsNothingIfItIsNotSet) {
    ::unsetenv(kName);
    EXPECT_EQ(sourceDateEpoch(), std::nullopt);
}

TEST(DittoSourceDate, IsANumberOfSeconds) {
    ::setenv(kName, "0", 1);
    EXPECT_EQ(sourceDateEpoch(), 0);
    ::setenv(kName, "1000000001", 1);
    EXPECT_EQ(sourceDateEpoch(), 1000000001);
    ::setenv(kName, "253402300799", 1);
    EXPECT_EQ(sourceDateEpoch(), 253402300799);
}

TEST(DittoSourceDate, AnythingElseIsAFailure) {
    for (const char* value :
         {"", "x", "-1", "+1", " 1", "1 ", "1.5", "1e9", "0x10", "1\n", "2026-01-01",
          "253402300800", "18446744073709551616", "99999999999999999999"}) {
        ::setenv(kName, value, 1);
        try {
            sourceDateEpoch();
            ADD_FAILURE() << value;
        } catch (const Failure& failure) {
            EXPECT_TRUE(std::string(failure.what())
                            .starts_with("SOURCE_DATE_EPOCH needs a number of seconds since 1970, "
                                         "not “"))
                << failure.what();
        }
    }
}

}  // namespace
}  // namespace quillmoor::ditto
