#include "quillmoor/platform/text.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include "quillmoor/platform/platform.h"

namespace quillmoor::platform {
namespace {

OptionalString decode(std::string_view bytes, StringEncoding encoding) {
    return native().text->decode(bytes, encoding);
}

TEST(PosixText, WithoutAMarkSixteenBitUnitsHaveThisComputersOrder) {
    const char16_t units[] = {u'h', u'\u00E9', u'\xD83D', u'\xDE00'};
    const std::string_view bytes(reinterpret_cast<const char*>(units), sizeof units);
    EXPECT_EQ(decode(bytes, StringEncoding::UTF16), "h\xC3\xA9\xF0\x9F\x98\x80");
    const char32_t wide[] = {U'h', U'\U0001F600'};
    EXPECT_EQ(decode({reinterpret_cast<const char*>(wide), sizeof wide}, StringEncoding::UTF32),
              "h\xF0\x9F\x98\x80");
}

TEST(PosixText, AnEncodingThatThisSystemLacksDecodesNothing) {
    if (::iconv_open("UTF-8", "NEXTSTEP") != reinterpret_cast<iconv_t>(-1))
        GTEST_SKIP() << "this iconv knows it";
    EXPECT_EQ(decode("x", StringEncoding::NEXTSTEP), std::nullopt);
}

TEST(PosixText, LongTextIsDecodedWhole) {
    const std::string bytes(100001, '\xE9');
    const OptionalString text = decode(bytes, StringEncoding::ISOLatin1);
    ASSERT_TRUE(text.has_value());
    EXPECT_EQ(text->size(), 200002U);
    EXPECT_EQ(text->substr(200000), "\xC3\xA9");
    std::string ascii(100001, 'x');
    EXPECT_EQ(decode(ascii, StringEncoding::ASCII), ascii);
    ascii.back() = '\x80';
    EXPECT_EQ(decode(ascii, StringEncoding::ASCII), std::nullopt);
}

}  // namespace
}  // namespace quillmoor::platform
