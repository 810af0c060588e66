#include "host/ground/display_text.h"

#include <gtest/gtest.h>

namespace quillmoor::host {
namespace {

TEST(DisplayText, ControlCharactersAreWrittenVisibly) {
    EXPECT_EQ(onOneLine("a\nb\x1b[1m\x7f"), "a\\x0ab\\x1b[1m\\x7f");
    EXPECT_EQ(inQuotes("é\t"), "“é\\x09”");
}

TEST(DisplayText, InvalidBytesAreShownAsReplacements) {
    EXPECT_EQ(shown("a\xff"), QString("a") + QChar(0xfffd));
    EXPECT_EQ(shown("größe"), QString::fromUtf8("größe"));
}

TEST(DisplayText, LongPathsMayBeBrokenAfterSlashes) {
    EXPECT_EQ(breakable("/a/b").size(), 6);
    EXPECT_EQ(withoutBreaks(breakable("/a/b")), "/a/b");
}

}  // namespace
}  // namespace quillmoor::host
