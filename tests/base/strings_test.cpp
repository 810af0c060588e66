#include "quillmoor/base/strings.h"

#include <gtest/gtest.h>

namespace quillmoor {
namespace {

TEST(LengthInUnits, CountsSixteenBitUnits) {
    EXPECT_EQ(lengthInUnits("é"), 1U);
    EXPECT_EQ(lengthInUnits("e\u0301"), 2U);
    EXPECT_EQ(lengthInUnits("😀"), 2U);
    EXPECT_EQ(lengthInUnits(""), 0U);
}

TEST(LengthInUnits, AnInvalidUtf8ByteCountsAsOneUnit) {
    EXPECT_EQ(lengthInUnits("\xFF"), 1U);
    EXPECT_EQ(lengthInUnits("\xC3"), 1U);              // unfinished
    EXPECT_EQ(lengthInUnits("\xC0\x80"), 2U);          // overlong
    EXPECT_EQ(lengthInUnits("\xED\xA0\x80"), 3U);      // a surrogate
    EXPECT_EQ(lengthInUnits("\xF4\x90\x80\x80"), 4U);  // beyond U+10FFFF
}

TEST(SubstringToIndex, CutsInUnits) {
    EXPECT_EQ(substringToIndex("/Volumes/", 7), "/Volume");
    EXPECT_EQ(substringToIndex("aé😀b", 2), "aé");
    EXPECT_EQ(substringToIndex("aé😀b", 4), "aé😀");
    EXPECT_EQ(substringToIndex("ab", 9), "ab");
}

TEST(SubstringToIndex, ACutThroughASurrogatePairEqualsNoValidString) {
    const std::string cut = substringToIndex("a😀", 2);
    EXPECT_TRUE(cut.starts_with("a"));
    EXPECT_NE(cut, "a");
    EXPECT_NE(cut, "a😀");
    EXPECT_EQ(lengthInUnits(cut), 4U);  // a and three invalid UTF-8 bytes
}

TEST(SubstringFromIndex, IsTheRest) {
    EXPECT_EQ(substringFromIndex("/var/root/Library", 9), "/Library");
    EXPECT_EQ(substringFromIndex("é😀b", 3), "b");
    EXPECT_EQ(substringFromIndex("ab", 9), "");
    EXPECT_TRUE(substringFromIndex("😀b", 1).ends_with("b"));
    EXPECT_NE(substringFromIndex("😀b", 1), "b");
}

TEST(Trim, RemovesAllWhiteSpaceAtBothEnds) {
    for (const char* space : {"\t", "\n", "\v", "\f", "\r", " ", "\u0085", "\u00A0", "\u1680",
                              "\u2000", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"})
        EXPECT_EQ(trimWhitespaceAndNewlines(std::string(space) + "a b" + space + space), "a b");
}

TEST(Trim, LeavesCharactersThatOnlyLookLikeSpace) {
    for (const char* text : {"\u200B", "\uFEFF", "\u180E", "\x80", "\xE2\x80", "\xA0"})
        EXPECT_EQ(trimWhitespaceAndNewlines(text), text);
}

TEST(Trim, OfSpaceOnlyIsEmpty) {
    EXPECT_EQ(trimWhitespaceAndNewlines(" \n\u3000\t "), "");
    EXPECT_EQ(trimWhitespaceAndNewlines(""), "");
    for (const char* space : {"\u00A0", "\u2028", "\u3000"})
        EXPECT_EQ(trimWhitespaceAndNewlines(space), "");
}

TEST(Comparing, IsByBytesSoCompositionMatters) {
    EXPECT_NE(std::string("é"), std::string("e\u0301"));
    EXPECT_FALSE(std::string("caf\u00E9").ends_with("e\u0301"));
    EXPECT_FALSE(std::string("e\u0301x").starts_with("\u00E9"));
}

TEST(ReplaceAll, ReplacesEveryOccurrenceOnce) {
    EXPECT_EQ(replaceAll("50%@% x", "%@", ""), "50% x");
    EXPECT_EQ(replaceAll("%%", "%", "%%"), "%%%%");
    EXPECT_EQ(replaceAll("abc", "", "x"), "abc");
}

}  // namespace
}  // namespace quillmoor
