#include "quillmoor/platform/posix/text/property_list_bounds_posix.h"

#include <gtest/gtest.h>

#include "tests/contract/services/binary_property_list.h"

namespace quillmoor::platform::posix {
namespace {

using test::binaryPropertyList;
using test::reference;

std::string nested(std::size_t depth) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) text += "<array>";
    for (std::size_t i = 0; i < depth; ++i) text += "</array>";
    return text;
}

TEST(ModestXML, MayNestAsDeepAsTheBoundAndNoDeeper) {
    EXPECT_TRUE(isModestXML(nested(kDeepestPropertyList)));
    EXPECT_FALSE(isModestXML(nested(kDeepestPropertyList + 1)));
    EXPECT_TRUE(isModestXML("<plist>" + nested(100) + nested(100) + "</plist>"));
}

TEST(ModestXML, EmptyElementsAndInstructionsDoNotNest) {
    std::string text = "<?xml version=\"1.0\"?><!DOCTYPE plist PUBLIC \"a\" \"b\">";
    for (int i = 0; i < 1000; ++i) text += "<true/><array />";
    EXPECT_TRUE(isModestXML(text));
}

TEST(ModestXML, IgnoresCommentsAndCharacterData) {
    EXPECT_TRUE(isModestXML("<a><!-- " + std::string(10, '<') + " </b> --></a>"));
    EXPECT_TRUE(isModestXML("<a><![CDATA[</b>]]></a>"));
}

TEST(ModestXML, NothingHidesNestingFromTheCount) {
    std::string closed;
    for (int i = 0; i < 300; ++i) closed += "<array><!-- > --></dict>";
    EXPECT_FALSE(isModestXML(closed));
    EXPECT_FALSE(isModestXML("<array a=\"</array>\"></array>"));
    EXPECT_FALSE(isModestXML("<array a=\"x></array>"));
    EXPECT_FALSE(isModestXML("<?a> </array> ?>"));
    EXPECT_FALSE(isModestXML("</array><array>"));
    EXPECT_FALSE(isModestXML("< array></array>"));
    EXPECT_FALSE(isModestXML("<>"));
}

TEST(ModestXML, MayReferToSomeThousandCharacters) {
    std::string text;
    for (int i = 0; i < 20000; ++i) text += "&lt;";
    EXPECT_TRUE(isModestXML("<string>" + text + "</string>"));
    EXPECT_FALSE(isModestXML("<string>" + text + "&lt;</string>"));
}

TEST(ModestXML, UnfinishedMarkupIsRefused) {
    for (const char* text : {"<array", "<!-- ", "<![CDATA[ ", "<?xml", "<"})
        EXPECT_FALSE(isModestXML(text)) << text;
}

TEST(ModestXML, ADocumentTypeMayDefineNothing) {
    EXPECT_FALSE(isModestXML("<!DOCTYPE a [<!ENTITY b \"c\">]><plist></plist>"));
}

TEST(ModestBinary, MayNestAsDeepAsTheBoundAndNoDeeper) {
    const auto chain = [](std::uint16_t length) {
        StringList objects;
        for (std::uint16_t i = 1; i < length; ++i) objects.push_back("\xA1" + reference(i));
        objects.push_back("\xA0");
        return binaryPropertyList(objects);
    };
    EXPECT_TRUE(isModestBinary(chain(kDeepestPropertyList)));
    EXPECT_FALSE(isModestBinary(chain(kDeepestPropertyList + 1)));
    EXPECT_FALSE(isModestBinary(chain(60000)));
}

TEST(ModestBinary, AnObjectMayNotContainItself) {
    EXPECT_FALSE(isModestBinary(binaryPropertyList({"\xA1" + reference(0)})));
    EXPECT_FALSE(
        isModestBinary(binaryPropertyList({"\xA1" + reference(1), "\xA1" + reference(0)})));
}

TEST(ModestBinary, WhatIsReferredToManyTimesCountsEveryTime) {
    // Each level holds ten times the one below.
    const auto levels = [](std::uint16_t depth) {
        StringList objects;
        for (std::uint16_t i = 1; i <= depth; ++i) {
            std::string object = "\xAA";
            for (int j = 0; j < 10; ++j) object += reference(i);
            objects.push_back(object);
        }
        objects.push_back("\xA0");
        return binaryPropertyList(objects);
    };
    EXPECT_TRUE(isModestBinary(levels(4)));
    EXPECT_FALSE(isModestBinary(levels(12)));
    EXPECT_FALSE(isModestBinary(levels(100)));
}

TEST(ModestBinary, AKeyIsAStringWithoutANul) {
    const auto withKey = [](const std::string& key) {
        return binaryPropertyList({"\xD1" + reference(1) + reference(2), key, "\x09"});
    };
    EXPECT_TRUE(isModestBinary(withKey("\x51k")));
    EXPECT_TRUE(isModestBinary(withKey("\x50")));
    EXPECT_TRUE(isModestBinary(withKey("\x61\x01" + std::string(1, '\0'))));
    EXPECT_FALSE(isModestBinary(withKey("\x51" + std::string(1, '\0'))));
    EXPECT_FALSE(isModestBinary(withKey("\x61" + std::string(2, '\0'))));
    for (const char* other : {"\x09", "\x41k", "\xA0", "\xD0", "\x10k"})
        EXPECT_FALSE(isModestBinary(withKey(other)));
    EXPECT_FALSE(isModestBinary(withKey("\x5F\x10\xFF")));
}

TEST(ModestBinary, ALongStringCountsByItsLength) {
    std::string array = "\xAF\x11\x03\xE8";  // a thousand times the same
    for (int i = 0; i < 1000; ++i) array += reference(1);
    const std::string text =
        "\x5F\x12" + std::string("\x00\x01\x00\x00", 4) + std::string(65536, 'x');
    EXPECT_FALSE(isModestBinary(binaryPropertyList({array, text})));
    EXPECT_TRUE(isModestBinary(binaryPropertyList({array, "\x51x"})));
}

TEST(ModestBinary, TablesThatLeadOutOfTheFileAreRefused) {
    const std::string honest = binaryPropertyList({"\xA1" + reference(1), "\x51x"});
    ASSERT_TRUE(isModestBinary(honest));
    const std::size_t trailer = honest.size() - 32;
    // Each byte of the trailer and of the table in turn made as large as it can be.
    for (std::size_t i = trailer + 6; i < honest.size(); ++i) {
        std::string damaged = honest;
        damaged[i] = '\xFF';
        EXPECT_FALSE(isModestBinary(damaged)) << i - trailer;
    }
    for (std::size_t size = 0; size < honest.size(); ++size)
        EXPECT_FALSE(isModestBinary(honest.substr(0, size))) << size;
    EXPECT_FALSE(isModestBinary(binaryPropertyList({"\xA1" + reference(9)})));
    EXPECT_FALSE(isModestBinary(binaryPropertyList({"\xAF\x13" + std::string(8, '\xFF')})));
    for (const char* cut : {"\x5F", "\xAF", "\x5F\x10", "\x5F\x11x"})
        EXPECT_FALSE(isModestBinary(binaryPropertyList({cut})));
}

}  // namespace
}  // namespace quillmoor::platform::posix
