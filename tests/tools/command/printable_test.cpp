#include "tools/command/printable.h"

#include <gtest/gtest.h>

namespace quillmoor::command {
namespace {

TEST(Printable, ControlCharactersAreEscaped) {
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

TEST(Printable, OnlyTerminalControlCharactersAreEscaped) {
    for (const char* character : {" ", "~", "\u00a0", "\u2029", "\u202f", "\u2065", "\u206a"})
        EXPECT_EQ(printable(character), character);
    for (const char* character :
         {"\x01", "\x1f", "\x7f", "\u0080", "\u009f", "\u202a", "\u202e", "\u2066", "\u2069"})
        EXPECT_TRUE(printable(character).starts_with("\\x")) << character;
}

}  // namespace
}  // namespace quillmoor::command
