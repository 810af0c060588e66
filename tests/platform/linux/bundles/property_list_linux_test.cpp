#include "quillmoor/platform/property_list.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>

#include "quillmoor/platform/platform.h"
#include "tests/contract/services/binary_property_list.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using test::TempFolder;

constexpr char kHead[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Maker//DTD PLIST 1.0//EN\" \"http://localhost/list.dtd\">\n"
    "<plist version=\"1.0\">";

std::optional<PropertyListDictionary> read(const std::string& contents) {
    const TempFolder folder;
    return native().propertyLists->dictionaryWithContentsOfFile(
        folder.writeFile("a list.plist", contents));
}

std::optional<PropertyListDictionary> readXML(const std::string& contents) {
    return read(kHead + contents + "</plist>\n");
}

// The text of the value of `key`, "-" when there is none.
std::string text(const std::optional<PropertyListDictionary>& dictionary, const char* key = "k") {
    if (!dictionary || !dictionary->contains(key)) return "missing";
    return dictionary->at(key).text().value_or("no text");
}

TEST(LinuxPropertyLists, RejectAHundredThousandNestedLists) {
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += "<array>";
    EXPECT_EQ(read(kHead + std::string("<dict><key>k</key>") + deep), std::nullopt);
    std::string closed = "<dict><key>k</key>";
    for (int i = 0; i < 60000; ++i) closed += "<array>";
    for (int i = 0; i < 60000; ++i) closed += "</array>";
    EXPECT_EQ(readXML(closed + "</dict>"), std::nullopt);
}

TEST(LinuxPropertyLists, RejectASmallFileThatExpandsToBillionsOfObjects) {
    StringList objects{"\xD1" + test::reference(1) + test::reference(2), "\x51k"};
    for (std::uint16_t i = 3; i < 15; ++i) {
        std::string object = "\xAA";
        for (int j = 0; j < 10; ++j) object += test::reference(i);
        objects.push_back(object);
    }
    objects.push_back("\xA0");
    EXPECT_EQ(read(test::binaryPropertyList(objects)), std::nullopt);
}

TEST(LinuxPropertyLists, RejectAKeyWithANul) {
    const std::string keys[] = {std::string("\x52k\0", 3), std::string("\x62\0k\0\0", 5)};
    for (const std::string& key : keys)
        EXPECT_EQ(read(test::binaryPropertyList(
                      {"\xD1" + test::reference(1) + test::reference(2), key, "\x09"})),
                  std::nullopt);
    EXPECT_EQ(readXML(std::string("<dict><key>k\0</key><true/></dict>", 34)), std::nullopt);
    EXPECT_EQ(readXML("<dict><key>k&#0;</key><true/></dict>"), std::nullopt);
}

TEST(LinuxPropertyLists, RejectADocumentsOwnEntities) {
    EXPECT_EQ(read("<?xml version=\"1.0\"?><!DOCTYPE l [<!ENTITY a \"aa\"><!ENTITY b \"&a;&a;\">]>"
                   "<plist><dict><key>k</key><string>&b;</string></dict></plist>"),
              std::nullopt);
}

TEST(LinuxPropertyLists, RejectOtherForms) {
    EXPECT_EQ(read("{\"k\": \"v\"}"), std::nullopt);
    EXPECT_EQ(read("{ k = v; }"), std::nullopt);
    EXPECT_EQ(read("// !$*UTF8*$!\n{ k = v; }"), std::nullopt);
    EXPECT_EQ(read("k = v;"), std::nullopt);
    EXPECT_EQ(read(""), std::nullopt);
    EXPECT_EQ(read("bplist00"), std::nullopt);
}

TEST(LinuxPropertyLists, RejectInvalidUtf8) {
    EXPECT_EQ(readXML("<dict><key>k</key><string>\xE9</string></dict>"), std::nullopt);
}

TEST(LinuxPropertyLists, RejectAFileOfMoreThanAMebibyte) {
    const std::string list = std::string(kHead) + "<dict><key>k</key><string>v</string></dict>";
    const std::string end = "</plist>";
    const std::size_t room = (std::size_t{1} << 20) - list.size() - end.size();
    EXPECT_EQ(text(read(list + std::string(room, ' ') + end)), "v");
    EXPECT_EQ(read(list + std::string(room + 1, ' ') + end), std::nullopt);
}

TEST(LinuxPropertyLists, RejectItemsThatAreNotRegularFiles) {
    const TempFolder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, folder.path(), std::string("/dev/zero")})
        EXPECT_EQ(native().propertyLists->dictionaryWithContentsOfFile(path), std::nullopt) << path;
}

TEST(LinuxPropertyLists, AReferenceToAnObjectOfAnArchiveIsItsNumber) {
    EXPECT_EQ(text(read(test::binaryPropertyList(
                  {"\xD1" + test::reference(1) + test::reference(2), "\x51k", "\x80\x07"}))),
              "7");
}

TEST(LinuxPropertyLists, AnIntegerBeyondTheSignedRangeKeepsItsBits) {
    const auto list = readXML("<dict><key>k</key><integer>18446744073709551615</integer></dict>");
    EXPECT_EQ(text(list), "-1");
}

TEST(LinuxPropertyLists, ListsAreReadByManyThreadsAtOnce) {
    const TempFolder folder;
    const std::string path = folder.writeFile(
        "a", std::string(kHead) + "<dict><key>k</key><real>1.5</real></dict></plist>");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 100; ++j)
                EXPECT_EQ(text(native().propertyLists->dictionaryWithContentsOfFile(path)), "1.5");
        });
    }
    for (std::thread& each : threads) each.join();
}

}  // namespace
}  // namespace quillmoor::platform
