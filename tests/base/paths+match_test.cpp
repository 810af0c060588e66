#include <gtest/gtest.h>

#include "base/paths.h"

namespace quillmoor {
namespace {

TEST(ValidateFilename, TakesOneLeadingFullStop) {
    EXPECT_EQ(validateFilename("."), "");
    EXPECT_EQ(validateFilename(".."), ".");
    EXPECT_EQ(validateFilename(".bashrc"), "bashrc");
}

TEST(ValidateFilename, LooksForTheFullStopBeforeItTrims) {
    EXPECT_EQ(validateFilename(" .x "), ".x");
}

TEST(ValidateFilename, TakesSlashesAndColons) {
    EXPECT_EQ(validateFilename(" My/File:1 "), "MyFile1");
    EXPECT_EQ(validateFilename("/"), "");
}

TEST(IsLike, AStarMatchesAnyRunHiddenNamesIncluded) {
    EXPECT_TRUE(isLike("*", ""));
    EXPECT_TRUE(isLike("*", ".x"));
    EXPECT_TRUE(isLike("a*b*c", "aXbYbZc"));
    EXPECT_FALSE(isLike("a*b", "abc"));
}

TEST(IsLike, AQuestionMarkMatchesOneCharacter) {
    EXPECT_TRUE(isLike("a?c", "aéc"));
    EXPECT_TRUE(isLike("a?c",
                       "a\xFF"
                       "c"));
    EXPECT_FALSE(isLike("a?c", "ac"));
    EXPECT_FALSE(isLike("a?c", "abbc"));
}

TEST(IsLike, BracketsAndBackslashesAreOrdinary) {
    EXPECT_TRUE(isLike("[a]*", "[a]b"));
    EXPECT_FALSE(isLike("[a]*", "ab"));
    EXPECT_TRUE(isLike("\\*", "\\x"));
    EXPECT_FALSE(isLike("\\*", "*"));
}

TEST(IsLike, CaseMatters) {
    EXPECT_FALSE(isLike("A*", "abc"));
}

TEST(IsLike, ManyStarsTakeNoLongerThanTheProductOfTheLengths) {
    const std::string name(5000, 'a');
    EXPECT_FALSE(isLike("*a*a*a*a*a*a*a*a*a*a*b", name));
}

}  // namespace
}  // namespace quillmoor
