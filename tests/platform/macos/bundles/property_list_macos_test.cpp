#include "quillmoor/platform/property_list.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "quillmoor/platform/native_services.h"
#include "tests/contract/services/binary_property_list.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

class MacPropertyList : public testing::Test {
  protected:
    std::optional<PropertyListDictionary> read(const std::string& contents) {
        return nativePropertyLists()->dictionaryWithContentsOfFile(
            folder_.writeFile("list", contents));
    }
    test::TempFolder folder_;
};

TEST_F(MacPropertyList, BooleansAndNumbersAreToldApart) {
    const auto list = read(
        "<?xml "
        "version=\"1.0\"?><plist><dict><key>yes</key><true/><key>no</key><false/><key>one</"
        "key><integer>1</integer>"
        "<key>zero</key><integer>0</integer><key>real</key><real>1</real></dict></plist>");
    ASSERT_TRUE(list);
    EXPECT_TRUE(std::get<bool>(list->at("yes").value));
    EXPECT_FALSE(std::get<bool>(list->at("no").value));
    EXPECT_EQ(std::get<std::int64_t>(list->at("one").value), 1);
    EXPECT_EQ(std::get<std::int64_t>(list->at("zero").value), 0);
    EXPECT_EQ(std::get<double>(list->at("real").value), 1.0);
}

TEST_F(MacPropertyList, TheSystemsOldFormIsNotRead) {
    EXPECT_EQ(read("{ a = b; }"), std::nullopt);
    EXPECT_EQ(read("a = b;"), std::nullopt);
}

TEST_F(MacPropertyList, AHostileFileIsNotParsed) {
    std::string deep;
    for (int i = 0; i < 100'000; ++i) deep += "<array>";
    EXPECT_EQ(read("<plist><dict><key>k</key>" + deep), std::nullopt);
    // An array that contains itself.
    EXPECT_EQ(read(test::binaryPropertyList({"\xD1" + test::reference(1) + test::reference(2),
                                             "\x51k", "\xA1" + test::reference(2)})),
              std::nullopt);
    EXPECT_EQ(read(std::string((1 << 20) + 1, ' ')), std::nullopt);
}

TEST_F(MacPropertyList, APipeIsNotWaitedFor) {
    ASSERT_EQ(::mkfifo((folder_ / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(nativePropertyLists()->dictionaryWithContentsOfFile(folder_ / "fifo"), std::nullopt);
}

}  // namespace
}  // namespace quillmoor::platform
