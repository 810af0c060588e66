// What every back-end owes to those who decode text.
#include "quillmoor/platform/text.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/contract/services/back_end.h"

namespace quillmoor::platform {
namespace {

using std::string_literals::operator""s;

class TextContract : public testing::TestWithParam<BackEnd> {
  protected:
    OptionalString decode(const std::string& bytes, StringEncoding encoding) {
        return GetParam().platform().text->decode(bytes, encoding);
    }
    std::string lowercase(const std::string& text) {
        return GetParam().platform().text->lowercase(text);
    }
};

TEST_P(TextContract, AsciiHasNoByteAbove127) {
    EXPECT_EQ(decode("plain \x7F\n", StringEncoding::ASCII), "plain \x7F\n");
    EXPECT_EQ(decode("\x80", StringEncoding::ASCII), std::nullopt);
    EXPECT_EQ(decode("caf\xC3\xA9", StringEncoding::ASCII), std::nullopt);
}

TEST_P(TextContract, NulsAreKept) {
    EXPECT_EQ(decode("a\0b"s, StringEncoding::ASCII), "a\0b"s);
    EXPECT_EQ(decode("a\0b"s, StringEncoding::UTF8), "a\0b"s);
    EXPECT_EQ(decode("a\0b"s, StringEncoding::ISOLatin1), "a\0b"s);
}

TEST_P(TextContract, NothingDecodesToNothing) {
    for (const StringEncoding encoding :
         {StringEncoding::ASCII, StringEncoding::UTF8, StringEncoding::UTF16,
          StringEncoding::ISOLatin1, StringEncoding::ShiftJIS, StringEncoding::NonLossyASCII,
          StringEncoding{987654}})
        EXPECT_EQ(decode("", encoding), "");
}

TEST_P(TextContract, Utf8IsStrict) {
    EXPECT_EQ(decode("h\xC3\xA9 \xF0\x9F\x98\x80", StringEncoding::UTF8),
              "h\xC3\xA9 \xF0\x9F\x98\x80");
    EXPECT_EQ(decode("\xEF\xBB\xBF"
                     "a",
                     StringEncoding::UTF8),
              "\xEF\xBB\xBF"
              "a");
    for (const char* bytes : {"\xFF", "\xC3", "\x80", "\xC0\xAF", "\xED\xA0\x80",
                              "\xF4\x90\x80\x80", "\xE2\x82", "a\xC3("})
        EXPECT_EQ(decode(bytes, StringEncoding::UTF8), std::nullopt) << bytes;
}

TEST_P(TextContract, UsesAndRemovesAByteOrderMark) {
    EXPECT_EQ(decode("\xFE\xFF\0h\0\xE9"s, StringEncoding::UTF16), "h\xC3\xA9");
    EXPECT_EQ(decode("\xFF\xFEh\0\xE9\0"s, StringEncoding::UTF16), "h\xC3\xA9");
    EXPECT_EQ(decode("\0\0\xFE\xFF\0\1\xF6\0"s, StringEncoding::UTF32), "\xF0\x9F\x98\x80");
    EXPECT_EQ(decode("\xFE\xFF", StringEncoding::UTF16), "");
}

TEST_P(TextContract, AnEncodingWithAnOrderNeedsNoMark) {
    EXPECT_EQ(decode("\0h\xD8\x3D\xDE\0"s, StringEncoding::UTF16BigEndian), "h\xF0\x9F\x98\x80");
    EXPECT_EQ(decode("h\0\x3D\xD8\0\xDE"s, StringEncoding::UTF16LittleEndian), "h\xF0\x9F\x98\x80");
    EXPECT_EQ(decode("\0\0\0h"s, StringEncoding::UTF32BigEndian), "h");
    EXPECT_EQ(decode("h\0\0\0"s, StringEncoding::UTF32LittleEndian), "h");
}

TEST_P(TextContract, RejectsHalfAUnitAndHalfAPair) {
    EXPECT_EQ(decode("\0h\0"s, StringEncoding::UTF16BigEndian), std::nullopt);
    EXPECT_EQ(decode("\xD8\x3D"s, StringEncoding::UTF16BigEndian), std::nullopt);
    EXPECT_EQ(decode("\xDE\0"s, StringEncoding::UTF16BigEndian), std::nullopt);
    EXPECT_EQ(decode("\0\0h"s, StringEncoding::UTF32BigEndian), std::nullopt);
}

TEST_P(TextContract, TheOlderEncodingsAreKnown) {
    EXPECT_EQ(decode("caf\xE9", StringEncoding::ISOLatin1), "caf\xC3\xA9");
    EXPECT_EQ(decode("\xA3", StringEncoding::ISOLatin2), "\xC5\x81");
    EXPECT_EQ(decode("\x80", StringEncoding::WindowsCP1252), "\xE2\x82\xAC");
    EXPECT_EQ(decode("\x8A", StringEncoding::WindowsCP1250), "\xC5\xA0");
    EXPECT_EQ(decode("\xCF", StringEncoding::WindowsCP1251), "\xD0\x9F");
    EXPECT_EQ(decode("\xE1", StringEncoding::WindowsCP1253), "\xCE\xB1");
    EXPECT_EQ(decode("\xFE", StringEncoding::WindowsCP1254), "\xC5\x9F");
    EXPECT_EQ(decode("\x8E", StringEncoding::MacOSRoman), "\xC3\xA9");
    EXPECT_EQ(decode("\x93\xFA", StringEncoding::ShiftJIS), "\xE6\x97\xA5");
    EXPECT_EQ(decode("\xC6\xFC", StringEncoding::JapaneseEUC), "\xE6\x97\xA5");
    EXPECT_EQ(decode("\x1B$BF|\x1B(B", StringEncoding::ISO2022JP), "\xE6\x97\xA5");
}

TEST_P(TextContract, RejectsBytesThatAnEncodingLacks) {
    EXPECT_EQ(decode("\x93", StringEncoding::ShiftJIS), std::nullopt);
    EXPECT_EQ(decode("\xC6", StringEncoding::JapaneseEUC), std::nullopt);
}

TEST_P(TextContract, NonLossyAsciiSpellsEverythingElse) {
    EXPECT_EQ(decode("a\\u20acb", StringEncoding::NonLossyASCII),
              "a\xE2\x82\xAC"
              "b");
    EXPECT_EQ(decode("\\351\\\\", StringEncoding::NonLossyASCII), "\xC3\xA9\\");
    EXPECT_EQ(decode("\\ud83d\\ude00", StringEncoding::NonLossyASCII), "\xF0\x9F\x98\x80");
    EXPECT_EQ(decode("\\377", StringEncoding::NonLossyASCII), "\xC3\xBF");
    EXPECT_EQ(decode("\\ud800\\udc00", StringEncoding::NonLossyASCII), "\xF0\x90\x80\x80");
    EXPECT_EQ(decode("\\udbff\\udfff", StringEncoding::NonLossyASCII), "\xF4\x8F\xBF\xBF");
    EXPECT_EQ(decode("\\000", StringEncoding::NonLossyASCII), "\0"s);
}

TEST_P(TextContract, RejectsDamagedNonLossyAscii) {
    for (const char* bytes :
         {"\xE9", "\\", "\\u12", "\\u+123", "\\x", "\\48", "\\777", "\\ud83d", "\\ud83dx",
          "\\ud83d\\u0041", "\\ude00", "\\udc00", "\\udfff", "\\400", "\\ud83d\\"})
        EXPECT_EQ(decode(bytes, StringEncoding::NonLossyASCII), std::nullopt) << bytes;
}

TEST_P(TextContract, DecodesNothingInAnUnknownEncoding) {
    for (const unsigned long number : {0UL, 6UL, 12345UL, ~0UL})
        EXPECT_EQ(decode("plain", static_cast<StringEncoding>(number)), std::nullopt) << number;
}

TEST_P(TextContract, LowerCaseIsUnicodesSimpleOne) {
    EXPECT_EQ(lowercase("ABC xyz 1"), "abc xyz 1");
    EXPECT_EQ(lowercase("\xC3\x89\xCE\xA3\xD0\x96"), "\xC3\xA9\xCF\x83\xD0\xB6");
    EXPECT_EQ(lowercase("\xC4\xB0"), "i\xCC\x87");
    EXPECT_EQ(lowercase("stra\xC3\x9F"
                        "e \xE1\xBA\x9E"),
              "stra\xC3\x9F"
              "e \xC3\x9F");
    EXPECT_EQ(lowercase(""), "");
}

TEST_P(TextContract, KeepsInvalidUtf8InLowerCase) {
    EXPECT_EQ(lowercase("A\xFF"
                        "B\xC3"),
              "a\xFF"
              "b\xC3");
    EXPECT_EQ(lowercase("A\0B"s), "a\0b"s);
}

INSTANTIATE_TEST_SUITE_P(All, TextContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
