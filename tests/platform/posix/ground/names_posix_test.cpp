#include "quillmoor/platform/posix/ground/names_posix.h"

#include <gtest/gtest.h>

#include <set>

namespace quillmoor::platform::posix {
namespace {

TEST(Names, ATemporaryNameIsHiddenAndContainsTheOriginal) {
    const std::string name = temporaryName("report.txt");
    EXPECT_TRUE(name.starts_with(".report.txt.")) << name;
    EXPECT_EQ(name.size(), std::string(".report.txt.XXXXXX").size());
}

TEST(Names, TemporaryNamesDiffer) {
    std::set<std::string> names;
    for (int i = 0; i < 100; ++i) names.insert(temporaryName("x"));
    EXPECT_EQ(names.size(), 100U);
}

TEST(Names, ATemporaryNameOfALongNameIsShortAndCutBetweenCharacters) {
    std::string accents;
    while (accents.size() < 255) accents += "\u00e9";
    const std::string even = temporaryName(accents);
    const std::string odd = temporaryName("x" + accents);
    for (const std::string& name : {even, odd}) {
        EXPECT_LE(name.size(), 143U);
        EXPECT_GE(name.size(), 141U);
        const std::string kept = name.substr(0, name.size() - 7);
        EXPECT_TRUE(kept.ends_with("\u00e9"));
    }
}

TEST(Names, InvalidBytesMayBeCutAnywhere) {
    EXPECT_EQ(temporaryName(std::string(255, '\xff')).size(), 143U);
}

TEST(Names, AShortNameStays) {
    EXPECT_EQ(shortenedName("a.txt", 5), "a.txt");
}

TEST(Names, ALongNameLosesTheEndOfItsStem) {
    EXPECT_EQ(shortenedName("abcdef.txt", 7), "abc.txt");
    EXPECT_EQ(shortenedName("abcdefghij", 7), "abcdefg");
    EXPECT_EQ(shortenedName("ab\u00e9\u00e9\u00e9.txt", 9), "ab\u00e9.txt");
}

TEST(Names, AVeryLongExtensionIsPartOfTheName) {
    const std::string name = "a." + std::string(200, 'b');
    EXPECT_EQ(shortenedName(name, 100), name.substr(0, 100));
}

}  // namespace
}  // namespace quillmoor::platform::posix
