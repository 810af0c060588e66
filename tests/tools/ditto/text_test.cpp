#include "tools/ditto/text.h"

#include <gtest/gtest.h>

namespace quillmoor::ditto {
namespace {

TEST(DittoText, ControlCharactersAreEscaped) {
    EXPECT_EQ(printable("plain é 名"), "plain é 名");
    EXPECT_EQ(printable("a\nb\x1b[2J\x7f"), "a\\x0ab\\x1b[2J\\x7f");
    EXPECT_EQ(printable("\\"), "\\x5c");
    EXPECT_EQ(printable("\xc2\x9b"), "\\xc2\\x9b");           // C1 control
    EXPECT_EQ(printable("\xe2\x80\xae"), "\\xe2\\x80\\xae");  // turns the text's direction
    EXPECT_EQ(printable("\xff"
                        "a\xc3"),
              "\\xff"
              "a\\xc3");
    EXPECT_EQ(printable(std::string_view("\0", 1)), "\\x00");
    EXPECT_EQ(quoted("a"), "“a”");
}

TEST(DittoText, OnlyTerminalControlCharactersAreEscaped) {
    for (const char* character : {" ", "~", "\u00a0", "\u2029", "\u202f", "\u2065", "\u206a"})
        EXPECT_EQ(printable(character), character);
    for (const char* character :
         {"\x01", "\x1f", "\x7f", "\u0080", "\u009f", "\u202a", "\u202e", "\u2066", "\u2069"})
        EXPECT_TRUE(printable(character).starts_with("\\x")) << character;
}

TEST(DittoText, Utf8IsRecognised) {
    EXPECT_TRUE(isUtf8(""));
    EXPECT_TRUE(isUtf8("é 😀"));
    EXPECT_FALSE(isUtf8("\xe9"));
    EXPECT_FALSE(isUtf8("\xc0\x80"));
    EXPECT_FALSE(isUtf8("a\xed\xa0\x80"));
}

TEST(DittoText, NamesThatFoldToOneAreEqual) {
    EXPECT_EQ(foldedCase("README"), foldedCase("ReadMe"));
    EXPECT_EQ(foldedCase("É"), foldedCase("e\xcc\x81"));
    EXPECT_NE(foldedCase("a"), foldedCase("b"));
    EXPECT_EQ(foldedCase("AZ[@\xff"), "az[@\xff");
}

}  // namespace
}  // namespace quillmoor::ditto
