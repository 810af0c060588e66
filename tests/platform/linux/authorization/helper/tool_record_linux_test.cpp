#include "quillmoor/platform/linux/authorization/helper/tool_record_linux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

StringList recordsOf(const StringList& command) {
    return toolRecords(Client{4242, 1000, {}, {}}, command);
}

// Of a command that one record holds.
std::string recordOf(const StringList& command) {
    const StringList records = recordsOf(command);
    EXPECT_EQ(records.size(), 1U);
    return records.front();
}

TEST(ToolRecord, NamesUserProcessToolAndArguments) {
    EXPECT_EQ(recordOf({"/bin/rm", "-Rdf", "/srv/x"}),
              "uid 1000, process 4242: /bin/rm -Rdf /srv/x");
}

TEST(ToolRecord, KeepsArgumentsApart) {
    EXPECT_EQ(recordOf({"/bin/a b", "", "c d", "\"\""}),
              R"(uid 1000, process 4242: /bin/a\x20b "" c\x20d \x22\x22)");
}

TEST(ToolRecord, IsOneLineOfPrintableCharacters) {
    EXPECT_EQ(recordOf({"/t", "a\nb\r\x1b[2J\x7f", "\xc3\xbc\xff", "\\x41~!"}),
              R"(uid 1000, process 4242: /t a\x0ab\x0d\x1b[2J\x7f \xc3\xbc\xff \x5cx41~!)");
    std::string all;
    for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
    const std::string record = recordOf({"/t", all});
    EXPECT_TRUE(std::all_of(record.begin(), record.end(),
                            [](char letter) { return letter >= ' ' && letter <= '~'; }));
}

TEST(ToolRecord, ContinuesInAnotherWhenItIsTooLong) {
    const std::size_t most = kLongestRecord - recordOf({"/t", "x"}).size() + 1;
    const std::string longest(most, 'x');
    EXPECT_EQ(recordOf({"/t", longest}).size(), kLongestRecord);
    EXPECT_THAT(recordsOf({"/t", longest + "yz"}),
                testing::ElementsAre("uid 1000, process 4242: /t " + longest,
                                     "uid 1000, process 4242, continued:yz"));
    EXPECT_THAT(recordsOf({"/t", longest, "/hidden"}),
                testing::ElementsAre("uid 1000, process 4242: /t " + longest,
                                     "uid 1000, process 4242, continued: /hidden"));
    // An escape is never cut.
    EXPECT_THAT(recordsOf({"/t", longest.substr(3) + "\n"}),
                testing::ElementsAre("uid 1000, process 4242: /t " + longest.substr(3),
                                     R"(uid 1000, process 4242, continued:\x0a)"));
}

TEST(ToolRecord, LosesNothingOfAVeryLongCommand) {
    const std::string start = "uid 1000, process 4242";
    std::string whole;
    const StringList records = recordsOf({"/t", std::string(100'000, '\n'), "", "/end"});
    for (const std::string& record : records) {
        EXPECT_LE(record.size(), kLongestRecord);
        const std::string head = start + (whole.empty() ? ":" : ", continued:");
        ASSERT_TRUE(record.starts_with(head)) << record;
        whole += record.substr(head.size());
    }
    std::string expected = " /t ";
    for (int count = 0; count < 100'000; ++count) expected += R"(\x0a)";
    EXPECT_TRUE(whole == expected + R"( "" /end)");
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization::helper
