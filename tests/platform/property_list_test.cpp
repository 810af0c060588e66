#include "quillmoor/platform/property_list.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/support/german_locale.h"

namespace quillmoor::platform {
namespace {

TEST(PropertyListText, OfAStringIsTheString) {
    EXPECT_EQ((PropertyListValue{std::string("1.2 \n")}.text()), "1.2 \n");
    EXPECT_EQ((PropertyListValue{std::string()}.text()), "");
}

TEST(PropertyListText, OfATruthValueIsADigit) {
    EXPECT_EQ((PropertyListValue{true}.text()), "1");
    EXPECT_EQ((PropertyListValue{false}.text()), "0");
}

TEST(PropertyListText, OfANumberIsItsShortestUsualForm) {
    EXPECT_EQ((PropertyListValue{std::int64_t{-42}}.text()), "-42");
    EXPECT_EQ((PropertyListValue{std::numeric_limits<std::int64_t>::max()}.text()),
              "9223372036854775807");
    EXPECT_EQ((PropertyListValue{1.5}.text()), "1.5");
    EXPECT_EQ((PropertyListValue{10.0}.text()), "10");
}

TEST(PropertyListText, DoesNotFollowTheLocale) {
    const test::GermanLocale german;
    if (!german.inForce()) GTEST_SKIP() << "no German locale can be made here";
    EXPECT_EQ((PropertyListValue{1.5}.text()), "1.5");
}

TEST(PropertyListText, OfEveryOtherKindIsNil) {
    EXPECT_EQ((PropertyListValue{PropertyListDate{}}.text()), std::nullopt);
    EXPECT_EQ((PropertyListValue{PropertyListBytes{"1"}}.text()), std::nullopt);
    EXPECT_EQ((PropertyListValue{PropertyListArray{{std::string("1")}}}.text()), std::nullopt);
    EXPECT_EQ((PropertyListValue{PropertyListDictionary{}}.text()), std::nullopt);
}

}  // namespace
}  // namespace quillmoor::platform
