#include "quillmoor/base/format.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/german_locale.h"

// Some tests pass arguments that are too long for their length on purpose.
#pragma GCC diagnostic ignored "-Wformat"

namespace quillmoor {
namespace {

std::string atRunTime(std::string_view text) {
    return formatted(RuntimeFormat{text});
}

TEST(RuntimeFormat, RendersAPercentPairAsOnePercent) {
    EXPECT_EQ(atRunTime("50%% x"), "50% x");
}

TEST(RuntimeFormat, RendersTextAsNull) {
    EXPECT_EQ(atRunTime("%@ %s %S"), "(null) (null) (null)");
    EXPECT_EQ(atRunTime("%10@|%-10s|"), "    (null)|(null)    |");
}

TEST(RuntimeFormat, RendersNumbersAsFormattedZeros) {
    EXPECT_EQ(atRunTime("%d %i %u %x %o"), "0 0 0 0 0");
    EXPECT_EQ(atRunTime("%5d|%-3lu|%03x|%+d"), "    0|0  |000|+0");
    EXPECT_EQ(atRunTime("%f %.2f %e %g"), "0.000000 0.00 0.000000e+00 0");
}

TEST(RuntimeFormat, RendersNothingForCharactersAndCounts) {
    EXPECT_EQ(atRunTime("a%cb%nc"), "abc");
}

TEST(RuntimeFormat, RendersPointersAsNull) {
    EXPECT_EQ(atRunTime("%p"), "0x0");
}

TEST(RuntimeFormat, UnknownDirectivesAreCopied) {
    EXPECT_EQ(atRunTime("%y"), "%y");
    EXPECT_EQ(atRunTime("100%"), "100%");
    EXPECT_EQ(atRunTime("100%5"), "100%5");
    EXPECT_EQ(atRunTime("50% off"), "500ff");  // a space flag and an octal directive
}

TEST(RuntimeFormat, ReadsNothingBeyondTheEnd) {
    const std::string_view whole = "a%-08.3lld|%5%%#x.%2.4@%lu.";
    for (std::size_t size = 0; size <= whole.size(); ++size)
        EXPECT_EQ(atRunTime(whole.substr(0, size)), atRunTime(std::string(whole, 0, size))) << size;
    EXPECT_EQ(atRunTime(std::string_view("%5.2f").substr(0, 2)), "%5");
}

TEST(RuntimeFormat, HugeWidthsAreBounded) {
    EXPECT_LT(atRunTime("%999999999d").size(), 10000U);
    EXPECT_LT(atRunTime("%.999999999f").size(), 10000U);
}

TEST(Format, RendersNilTextAsNull) {
    EXPECT_EQ(formatted("%@", std::optional<std::string>()), "(null)");
    EXPECT_EQ(formatted("%s", static_cast<const char*>(nullptr)), "(null)");
    EXPECT_EQ(formatted("%@", std::optional<std::string>("x")), "x");
}

TEST(Format, KeepsEveryByteOfText) {
    EXPECT_EQ(formatted("<%@>", std::string("a%d\n\xFF") + '\0'),
              std::string("<a%d\n\xFF") + '\0' + ">");
}

TEST(Format, PrecisionCutsTextInUnits) {
    EXPECT_EQ(formatted("%.2@|", "aéb"), "aé|");
}

TEST(Format, NumbersDoNotDependOnTheLocale) {
    const test::GermanLocale german;
    if (!german.inForce()) GTEST_SKIP() << "no German locale can be made here";
    char systems[20];
    std::snprintf(systems, sizeof systems, "%0.2f", 3.14159);
    ASSERT_STREQ(systems, "3,14");
    EXPECT_EQ(formatted("%0.2f", 3.14159), "3.14");
    EXPECT_EQ(formatted("%e %g %G", 1.5, 2.5, 3.5), "1.500000e+00 2.5 3.5");
    EXPECT_EQ(formatted("%li", 1234567L), "1234567");
    EXPECT_EQ(atRunTime("%.1f"), "0.0");
}

TEST(Format, RendersExtremeNumbersCompletely) {
    EXPECT_EQ(formatted("%lli", std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(formatted("%llu", std::numeric_limits<unsigned long long>::max()),
              "18446744073709551615");
    EXPECT_EQ(formatted("%x", -1), "ffffffff");
    EXPECT_EQ(formatted("%.0f", 1e308).size(), 309U);
    EXPECT_EQ(formatted("%05.1f|%+d|% d|%#x", -2.25, 5, 5, 255), "-02.2|+5| 5|0xff");
}

TEST(Format, DoesNotPadInfinityWithZeros) {
    EXPECT_EQ(formatted("%06f", std::numeric_limits<double>::infinity()), "   inf");
    EXPECT_EQ(formatted("%F", -std::numeric_limits<double>::infinity()), "-INF");
}

TEST(Format, AgreesWithTheSystemsOwnPrintf) {
    char expected[200];
    const auto check = [&](const std::string& ours) { EXPECT_EQ(ours, expected); };
    std::snprintf(expected, sizeof expected, "%8.3e|%-12g|%G|%.0e", 1234.5678, 0.0001, 1e-10, 5.5);
    check(formatted("%8.3e|%-12g|%G|%.0e", 1234.5678, 0.0001, 1e-10, 5.5));
    std::snprintf(expected, sizeof expected, "%08d|%-8d|%+8d|%.5d|%8.5d", -42, -42, 42, 42, -42);
    check(formatted("%08d|%-8d|%+8d|%.5d|%8.5d", -42, -42, 42, 42, -42));
    std::snprintf(expected, sizeof expected, "%#o|%#X|%lx|%c|%5c", 8U, 48879U, 255UL, 'x', 'y');
    check(formatted("%#o|%#X|%lx|%c|%5c", 8U, 48879U, 255UL, 'x', 'y'));
}

// Expects what the system's printf writes in the C locale.
#define EXPECT_AS_PRINTF(...)                                     \
    do {                                                          \
        char expected[2000];                                      \
        std::snprintf(expected, sizeof expected, __VA_ARGS__);    \
        EXPECT_EQ(formatted(__VA_ARGS__), std::string(expected)); \
    } while (false)

TEST(Format, ShortLengthsWriteTheLowBytesAsPrintfDoes) {
    for (const int value : {0, 1, -1, 127, 128, -128, -129, 255, 256, 32767, 32768, 65535, 65536,
                            70000, -70000, std::numeric_limits<int>::min()}) {
        EXPECT_AS_PRINTF("%hd|%hhd|%hi|%hhi", value, value, value, value);
        const auto bits = static_cast<unsigned>(value);
        EXPECT_AS_PRINTF("%hu|%hhu|%hx|%hhx", bits, bits, bits, bits);
        EXPECT_AS_PRINTF("%hX|%hhX|%ho|%hho", bits, bits, bits, bits);
        EXPECT_AS_PRINTF("%d|%u|%x|%o", value, bits, bits, bits);
    }
    EXPECT_EQ(formatted("%hx", -1), "ffff");
    EXPECT_EQ(formatted("%hhu", -1), "255");
    EXPECT_AS_PRINTF("%+06hd|%-8hhd|%.4hx|", 70001, -129, 0x10ABCU);
}

TEST(Format, LongLengthsWriteAllBytes) {
    const long value = -1234567890123L;
    EXPECT_AS_PRINTF("%ld|%lx|%lu|%lo", value, static_cast<unsigned long>(value),
                     static_cast<unsigned long>(value), static_cast<unsigned long>(value));
    EXPECT_AS_PRINTF("%zu|%jd|%td", ~std::size_t{0}, std::intmax_t{-5}, std::ptrdiff_t{-6});
}

TEST(Format, AlternativeFormOfIntegersEqualsPrintf) {
    for (const unsigned value : {0U, 1U, 8U, 10U, 0xabcU, ~0U}) {
        EXPECT_AS_PRINTF("%#x|%#X|%#o", value, value, value);
        EXPECT_AS_PRINTF("%#.0x|%#.0o|%#.3o|%#.9o", value, value, value, value);
        EXPECT_AS_PRINTF("%#12x|%#-12X|%#012o|%#012x", value, value, value, value);
        EXPECT_AS_PRINTF("%#hx|%#hho", value, value);
    }
}

TEST(Format, AlternativeFormOfFloatingNumbersEqualsPrintf) {
    for (const double value : {0.0, -0.0, 1.0, -2.5, 100.0, 123456.0, 1234567.0, 99999.95, 0.0001,
                               0.00001, 0.000099999995, 1e300, 5e-324, 1.0 / 3}) {
        EXPECT_AS_PRINTF("%#f|%#.0f|%#.3f", value, value, value);
        EXPECT_AS_PRINTF("%#e|%#.0e|%#E", value, value, value);
        EXPECT_AS_PRINTF("%#g|%#.0g|%#.1g|%#.3g", value, value, value, value);
        EXPECT_AS_PRINTF("%#G|%#.12g|%#012.4g|%#-12.4g|", value, value, value, value);
        EXPECT_AS_PRINTF("%g|%.0g|%.3g|%G", value, value, value, value);
    }
    const double infinity = std::numeric_limits<double>::infinity();
    // Rounding may add a digit. (Some versions of glibc lose the zeros here.)
    EXPECT_EQ(formatted("%#g|%#.2G", 999999.5, 9.96), "1.00000e+06|10.");
    EXPECT_AS_PRINTF("%#f|%#g|%#8.0e", infinity, -infinity, infinity);
}

TEST(Format, CapitalDirectivesWriteCapitalLetters) {
    EXPECT_AS_PRINTF("%X|%E|%G", 0xabcdefU, 1e-10, 1e-10);
}

TEST(Format, PointersEqualPrintf) {
    const int item = 0;
    EXPECT_AS_PRINTF("%p|%20p|%-20p|", static_cast<const void*>(&item),
                     static_cast<const void*>(&item), static_cast<const void*>(&item));
}

TEST(Format, ANilFormatIsNil) {
    const Format<> none = std::nullopt;
    EXPECT_TRUE(none.isNil());
}

}  // namespace
}  // namespace quillmoor
