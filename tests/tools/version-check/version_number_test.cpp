#include "tools/version-check/version_number.h"

#include <gtest/gtest.h>

namespace quillmoor::version_check {
namespace {

void expectOlder(std::string_view older, std::string_view newer) {
    EXPECT_TRUE(compareVersions(older, newer) < 0) << older << " " << newer;
    EXPECT_TRUE(compareVersions(newer, older) > 0) << older << " " << newer;
}

void expectSame(std::string_view left, std::string_view right) {
    EXPECT_TRUE(compareVersions(left, right) == 0) << left << " " << right;
    EXPECT_TRUE(compareVersions(right, left) == 0) << left << " " << right;
}

TEST(VersionNumber, ComponentsAreComparedAsNumbersFromTheLeft) {
    expectOlder("1.9", "1.10");
    expectOlder("1.9.9", "2");
    expectOlder("1.2.3", "1.2.4");
    expectSame("1.2.3", "1.2.3");
}

TEST(VersionNumber, AMissingComponentIsNought) {
    expectSame("1", "1.0.0");
    expectSame("1.", "1");
    expectSame("1..1", "1.0.1");
    expectOlder("1", "1.0.1");
}

TEST(VersionNumber, LeadingNoughtsDoNotCount) {
    expectSame("1.02", "1.2");
    expectSame("0", "000");
}

TEST(VersionNumber, NumbersMayHaveAnyLength) {
    expectOlder("1.99999999999999999999", "1.100000000000000000000");
    expectSame("1.00000000000000000000000001", "1.1");
}

TEST(VersionNumber, ARestMakesAVersionOlderThanNone) {
    expectOlder("1.2b3", "1.2");
    expectOlder("1.2-rc", "1.2.0");
    expectOlder("1.2a", "1.2b");
    expectOlder("1.1", "1.2b1");
}

TEST(VersionNumber, NumbersInARestAreComparedAsNumbers) {
    expectOlder("1.0b9", "1.0b10");
    expectOlder("1.2-rc9", "1.2-rc10");
    expectOlder("1.2-rc.9", "1.2-rc.10");
    expectOlder("1.0b", "1.0b1");
    expectOlder("1.0b1", "1.0b1x");
    expectSame("1.0b1", "1.0b01");
}

TEST(VersionNumber, StagesAreDevelopmentAlphaBetaCandidate) {
    const char* const stages[] = {"1.0d3", "1.0a2", "1.0b1", "1.0fc1", "1.0rc1", "1.0"};
    for (std::size_t i = 1; i < std::size(stages); ++i) expectOlder(stages[i - 1], stages[i]);
    expectOlder("1.0-dev", "1.0-alpha");
}

TEST(VersionNumber, ABuildIsIgnored) {
    expectSame("1.2 (345)", "1.2");
    expectSame("1.2 (345)", "1.2 (9)");
    expectSame("2.0\n", "2.0");
    expectSame("2.0\t", "2.0");
    expectSame("1.2+build7", "1.2");
    expectSame("1.2-rc1+7", "1.2-rc1");
}

TEST(VersionNumber, BeginsWithADigit) {
    for (const char* text : {"1", "0.1", "2b"}) EXPECT_TRUE(isVersionNumber(text)) << text;
    for (const char* text : {"", "v1", ".1", "-1", " 1", "beta"})
        EXPECT_FALSE(isVersionNumber(text)) << text;
}

}  // namespace
}  // namespace quillmoor::version_check
