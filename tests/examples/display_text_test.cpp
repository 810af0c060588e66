#include "examples/tallyframe-uninstaller/display_text.h"

#include <gtest/gtest.h>

namespace quillmoor::tallyframe {
namespace {

TEST(DisplayText, OrdinaryPathsStayAsTheyAre) {
    EXPECT_EQ(displayText("/Applications/Tally frame.app"), "/Applications/Tally frame.app");
    EXPECT_EQ(displayText("/home/zoë/日本/😀"), "/home/zoë/日本/😀");
    EXPECT_EQ(displayText(""), "");
}

TEST(DisplayText, ControlCharactersAreEscaped) {
    EXPECT_EQ(displayText("a\nb\tc\rd"), "a\\nb\\tc\\rd");
    EXPECT_EQ(displayText("\x1b[31m"), "\\u{1B}[31m");
    EXPECT_EQ(displayText("\x7f"), "\\u{7F}");
    EXPECT_EQ(displayText(std::string_view("\0", 1)), "\\u{0}");
    EXPECT_EQ(displayText("\u0085\u2028"), "\\u{85}\\u{2028}");
}

TEST(DisplayText, MarksOfDirectionOrWithoutWidthAreEscaped) {
    EXPECT_EQ(displayText("a\u202Egpj.app"), "a\\u{202E}gpj.app");
    EXPECT_EQ(displayText("a\u200Bb\uFEFF\u00AD\u2066"), "a\\u{200B}b\\u{FEFF}\\u{AD}\\u{2066}");
    EXPECT_EQ(displayText("\U000E0041"), "\\u{E0041}");
}

TEST(DisplayText, InvalidUtf8BytesAreEscapedOneByOne) {
    EXPECT_EQ(displayText("a\xff\xc3z"), "a\\xFF\\xC3z");
}

TEST(DisplayText, AnEscapeInTheNameItselfLooksDifferent) {
    EXPECT_EQ(displayText("a\\nb"), "a\\\\nb");
    EXPECT_NE(displayText("a\\nb"), displayText("a\nb"));
}

}  // namespace
}  // namespace quillmoor::tallyframe
