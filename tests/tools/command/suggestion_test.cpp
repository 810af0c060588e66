#include "tools/command/suggestion.h"

#include <gtest/gtest.h>

namespace quillmoor::command {
namespace {

const std::vector<std::string> kWords{"--help", "--json", "--unattended", "--uninstall"};

TEST(Suggestion, IsTheWordThatTheFewestChangesMake) {
    EXPECT_EQ(nearest("--jsom", kWords), "--json");   // a replacement
    EXPECT_EQ(nearest("--jso", kWords), "--json");    // a removal
    EXPECT_EQ(nearest("--jsson", kWords), "--json");  // an insertion
    EXPECT_EQ(nearest("--josn", kWords), "--json");   // an exchange
    EXPECT_EQ(nearest("--unatended", kWords), "--unattended");
    EXPECT_EQ(nearest("--help", kWords), "--help");
}

TEST(Suggestion, CountsAnExchangeOfNeighboursAsOneChange) {
    EXPECT_EQ(nearest("ba", {"cd", "ab"}), "ab");
}

TEST(Suggestion, IsTheFirstOfSeveralThatAreAsNear) {
    EXPECT_EQ(nearest("ax", {"ab", "ac"}), "ab");
}

TEST(Suggestion, IsEmptyWhereMoreThanAThirdWouldChange) {
    EXPECT_EQ(nearest("--size", kWords), "");
    EXPECT_EQ(nearest("abcdef", {"abcdxx"}), "abcdxx");
    EXPECT_EQ(nearest("abcdef", {"abcxxx"}), "");
    EXPECT_EQ(nearest("", kWords), "");
    EXPECT_EQ(nearest("word", {}), "");
}

}  // namespace
}  // namespace quillmoor::command
