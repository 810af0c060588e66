#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "quillmoor/base/paths.h"
#include "quillmoor/base/utf8.h"

namespace quillmoor {
namespace {

TEST(ValidateFilename, RemovesOneLeadingFullStop) {
    EXPECT_EQ(validateFilename("."), "");
    EXPECT_EQ(validateFilename(".."), ".");
    EXPECT_EQ(validateFilename(".bashrc"), "bashrc");
}

TEST(ValidateFilename, RemovesTheFullStopBeforeItTrims) {
    EXPECT_EQ(validateFilename(" .x "), ".x");
}

TEST(ValidateFilename, RemovesSlashesAndColons) {
    EXPECT_EQ(validateFilename(" My/File:1 "), "MyFile1");
    EXPECT_EQ(validateFilename("/"), "");
}

TEST(IsLike, AStarMatchesAnythingIncludingHiddenNames) {
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

TEST(IsLike, BracketsAndBackslashesMatchThemselves) {
    EXPECT_TRUE(isLike("[a]*", "[a]b"));
    EXPECT_FALSE(isLike("[a]*", "ab"));
    EXPECT_TRUE(isLike("\\*", "\\x"));
    EXPECT_FALSE(isLike("\\*", "*"));
}

TEST(IsLike, TheWholeNameMustMatch) {
    const std::string_view longer = "abX*";
    EXPECT_FALSE(isLike(longer.substr(0, 2), "abX"));
    EXPECT_FALSE(isLike(longer.substr(0, 3), "abXy"));
}

TEST(IsLike, CaseMatters) {
    EXPECT_FALSE(isLike("A*", "abc"));
}

TEST(IsLike, ManyStarsTakeNoLongerThanTheProductOfTheLengths) {
    const std::string name(5000, 'a');
    EXPECT_FALSE(isLike("*a*a*a*a*a*a*a*a*a*a*b", name));
}

// A reference implementation that tries every way to match.
bool matchesInSomeWay(std::string_view pattern, std::string_view name) {
    if (pattern.empty()) return name.empty();
    if (pattern.front() == '*')
        for (std::size_t taken = 0;; taken += utf8CharacterAt(name, taken).bytes) {
            if (matchesInSomeWay(pattern.substr(1), name.substr(taken))) return true;
            if (taken == name.size()) return false;
        }
    if (name.empty()) return false;
    const std::size_t bytes = pattern.front() == '?' ? utf8CharacterAt(name, 0).bytes : 1;
    return (pattern.front() == '?' || pattern.front() == name.front()) &&
           matchesInSomeWay(pattern.substr(1), name.substr(bytes));
}

TEST(IsLike, AgreesWithAnExhaustiveMatcher) {
    const std::vector<std::string> letters = {"a", "b", "\xC3\xA9", "\xA9", "\xFF"};
    std::mt19937 random(3);
    const auto text = [&](std::size_t most, bool wild) {
        std::string made;
        for (std::size_t left = random() % most; left > 0; --left) {
            const std::size_t pick = random() % (letters.size() + (wild ? 4 : 0));
            made += pick < letters.size() ? letters[pick] : pick % 2 == 0 ? "*" : "?";
        }
        return made;
    };
    int matches = 0;
    for (int round = 0; round < 20'000; ++round) {
        const std::string pattern = text(7, true);
        const std::string name = text(9, false);
        const bool expected = matchesInSomeWay(pattern, name);
        ASSERT_EQ(isLike(pattern, name), expected) << pattern << " " << name;
        matches += expected ? 1 : 0;
    }
    EXPECT_GT(matches, 1000);
}

}  // namespace
}  // namespace quillmoor
