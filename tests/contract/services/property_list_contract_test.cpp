// What every back-end owes to those who read property lists.
#include "quillmoor/platform/property_list.h"

#include <gtest/gtest.h>

#include "tests/contract/services/back_end.h"
#include "tests/contract/services/binary_property_list.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using test::bigEndian;
using test::reference;

class PropertyListContract : public testing::TestWithParam<BackEnd> {
  protected:
    std::optional<PropertyListDictionary> readPath(const std::string& path) {
        return GetParam().platform().propertyLists->dictionaryWithContentsOfFile(path);
    }
    std::optional<PropertyListDictionary> read(const std::string& contents) {
        return readPath(folder_.writeFile("a list", contents));
    }
    // A dictionary with the value `value` of the key k, as XML.
    std::optional<PropertyListDictionary> readXML(const std::string& value) {
        return read(
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
            "<key>k</key>" +
            value + "</dict></plist>");
    }
    // The same in the binary form.
    std::optional<PropertyListDictionary> readBinary(const std::string& value) {
        return read(
            test::binaryPropertyList({"\xD1" + reference(1) + reference(2), "\x51k", value}));
    }

    template <typename T>
    static T valueIn(const std::optional<PropertyListDictionary>& dictionary) {
        if (!dictionary || !dictionary->contains("k")) {
            ADD_FAILURE() << "there is no such key";
            return {};
        }
        const T* value = std::get_if<T>(&dictionary->at("k").value);
        if (value == nullptr) {
            ADD_FAILURE() << "it is of kind " << dictionary->at("k").value.index();
            return {};
        }
        return *value;
    }

    test::TempFolder folder_;
};

std::chrono::system_clock::time_point secondsAfterEpoch(long long seconds) {
    return std::chrono::system_clock::time_point(std::chrono::seconds(seconds));
}

TEST_P(PropertyListContract, EveryKindIsReadFromXml) {
    EXPECT_EQ(valueIn<std::string>(readXML("<string>caf\xC3\xA9 &amp; &lt;&#x20AC;</string>")),
              "caf\xC3\xA9 & <\xE2\x82\xAC");
    EXPECT_EQ(valueIn<std::string>(readXML("<string></string>")), "");
    EXPECT_TRUE(valueIn<bool>(readXML("<true/>")));
    EXPECT_FALSE(valueIn<bool>(readXML("<false/>")));
    EXPECT_EQ(valueIn<std::int64_t>(readXML("<integer>-5</integer>")), -5);
    EXPECT_EQ(valueIn<double>(readXML("<real>1.5</real>")), 1.5);
    EXPECT_EQ(valueIn<PropertyListBytes>(readXML("<data> AAEC\n </data>")).bytes,
              std::string("\0\1\2", 3));
    EXPECT_EQ(valueIn<PropertyListDate>(readXML("<date>2013-06-04T10:04:31Z</date>")).date,
              secondsAfterEpoch(1370340271));
    const auto array = valueIn<PropertyListArray>(
        readXML("<array><integer>1</integer><array/><string>x</string></array>"));
    ASSERT_EQ(array.size(), 3U);
    EXPECT_EQ(array[2].text(), "x");
    const auto inner = valueIn<PropertyListDictionary>(
        readXML("<dict><key>a b</key><true/><key></key><false/></dict>"));
    ASSERT_EQ(inner.size(), 2U);
    EXPECT_EQ(inner.at("a b").text(), "1");
    EXPECT_EQ(inner.at("").text(), "0");
}

TEST_P(PropertyListContract, EveryKindIsReadFromTheBinaryForm) {
    EXPECT_EQ(valueIn<std::string>(readBinary("\x52xy")), "xy");
    EXPECT_EQ(
        valueIn<std::string>(readBinary("\x62" + bigEndian(0x00E9, 2) + bigEndian(0x20AC, 2))),
        "\xC3\xA9\xE2\x82\xAC");
    EXPECT_TRUE(valueIn<bool>(readBinary("\x09")));
    EXPECT_FALSE(valueIn<bool>(readBinary("\x08")));
    EXPECT_EQ(valueIn<std::int64_t>(readBinary("\x10\x07")), 7);
    EXPECT_EQ(valueIn<std::int64_t>(readBinary("\x13" + std::string(8, '\xFF'))), -1);
    EXPECT_EQ(valueIn<double>(readBinary("\x23" + bigEndian(0x3FF8000000000000, 8))), 1.5);
    EXPECT_EQ(valueIn<PropertyListBytes>(readBinary(std::string("\x43\0\1\2", 4))).bytes,
              std::string("\0\1\2", 3));
    // 2001-01-01 00:01:00 UTC
    EXPECT_EQ(valueIn<PropertyListDate>(readBinary("\x33" + bigEndian(0x404E000000000000, 8))).date,
              secondsAfterEpoch(978307260));
    EXPECT_TRUE(valueIn<PropertyListArray>(readBinary("\xA0")).empty());
    EXPECT_TRUE(valueIn<PropertyListDictionary>(readBinary("\xD0")).empty());
}

TEST_P(PropertyListContract, AByteOrderMarkAndWhiteSpaceMayComeFirst) {
    EXPECT_EQ(
        valueIn<std::string>(read("\xEF\xBB\xBF<?xml version=\"1.0\"?><plist><dict><key>k</key>"
                                  "<string>v</string></dict></plist>")),
        "v");
    EXPECT_EQ(
        valueIn<std::string>(read("\n <plist><dict><key>k</key><string>v</string></dict></plist>")),
        "v");
}

TEST_P(PropertyListContract, OfTwoEqualKeysTheLastOneWins) {
    EXPECT_EQ(valueIn<std::string>(readXML("<string>a</string><key>k</key><string>b</string>")),
              "b");
}

TEST_P(PropertyListContract, CommentsAndCharacterDataAreUnderstood) {
    EXPECT_EQ(valueIn<std::string>(
                  readXML("<!-- <string>no</string> --><string><![CDATA[<a> & b]]></string>")),
              "<a> & b");
}

TEST_P(PropertyListContract, OnlyADictionaryOnTopIsOne) {
    EXPECT_EQ(read("<plist><array/></plist>"), std::nullopt);
    EXPECT_EQ(read("<plist><string>x</string></plist>"), std::nullopt);
    EXPECT_EQ(read(test::binaryPropertyList({"\xA0"})), std::nullopt);
    const auto empty = read("<plist><dict/></plist>");
    ASSERT_TRUE(empty.has_value());
    EXPECT_TRUE(empty->empty());
}

TEST_P(PropertyListContract, RejectsDamagedAndForeignFiles) {
    for (const char* contents :
         {"", "plain", "<plist><dict><key>k</key>", "<plist><dict></array></plist>", "<html/>",
          "{\"k\": 1}", "bplist00", "bplist00xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"})
        EXPECT_EQ(read(contents), std::nullopt) << contents;
}

TEST_P(PropertyListContract, IsNilWithoutAFile) {
    EXPECT_EQ(readPath(folder_ / "missing"), std::nullopt);
    EXPECT_EQ(readPath(folder_.path()), std::nullopt);
    EXPECT_EQ(readPath(""), std::nullopt);
    EXPECT_EQ(readPath(folder_.makeLink("dangling", "missing")), std::nullopt);
}

TEST_P(PropertyListContract, ALinkLeadsToItsFile) {
    const std::string file = folder_.writeFile("real", "<plist><dict/></plist>");
    EXPECT_TRUE(readPath(folder_.makeLink("link", file)).has_value());
}

INSTANTIATE_TEST_SUITE_P(All, PropertyListContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
