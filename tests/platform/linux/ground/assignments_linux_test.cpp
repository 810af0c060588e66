#include "quillmoor/platform/linux/ground/assignments_linux.h"

#include <gtest/gtest.h>

namespace quillmoor::platform::linux_ {
namespace {

TEST(AssignedValue, PlainAndQuotedValuesAreReadAsTheShellDoes) {
    EXPECT_EQ(assignedValue("A=plain", "A"), "plain");
    EXPECT_EQ(assignedValue("A=\"two words\"", "A"), "two words");
    EXPECT_EQ(assignedValue("A='it$\\x'", "A"), "it$\\x");
    EXPECT_EQ(assignedValue("A=\"a \\\"b\\\" \\\\ \\$\"", "A"), "a \"b\" \\ $");
    EXPECT_EQ(assignedValue("A=one\\ word more", "A"), "one word");
    EXPECT_EQ(assignedValue("A=", "A"), "");
    EXPECT_EQ(assignedValue("A=\"\"", "A"), "");
}

TEST(AssignedValue, TheLastOneWins) {
    EXPECT_EQ(assignedValue("A=1\nB=x\nA=2\n", "A"), "2");
}

TEST(AssignedValue, CommentsOtherNamesAndDamagedLinesArePassedOver) {
    EXPECT_EQ(assignedValue("#A=1\n  A=2\n", "A"), "2");
    EXPECT_EQ(assignedValue("AA=1\nXA=1\nA =1\nA\n", "A"), std::nullopt);
    EXPECT_EQ(assignedValue("A=1\nA=\"open\nB=2", "A"), "1");
    EXPECT_EQ(assignedValue("", "A"), std::nullopt);
}

TEST(AssignedValue, LinesMayEndAsOnOtherSystems) {
    EXPECT_EQ(assignedValue("A=1\r\n", "A"), "1");
}

}  // namespace
}  // namespace quillmoor::platform::linux_
