#include "platform/linux/rights/helper/tool_record_linux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/linux/rights/channel_linux.h"
#include "platform/linux/rights/helper/session_linux.h"
#include "tests/platform/rights/rights_fixtures.h"

namespace quillmoor::platform::linux_::rights::helper {
namespace {

std::string recordOf(const StringList& command) {
    return toolRecord(Client{4242, 1000, {}, {}}, command);
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

TEST(ToolRecord, HasABound) {
    const std::size_t fixed = recordOf({"/t", "x"}).size() - 1;
    const std::size_t most = kLongestRecord - std::string("... (1 arguments)").size() - fixed;
    EXPECT_EQ(recordOf({"/t", std::string(most, 'x')}).back(), 'x');
    const std::string cut = recordOf({"/t", std::string(most + 1, 'x')});
    EXPECT_EQ(cut.size(), kLongestRecord);
    EXPECT_THAT(cut, testing::EndsWith("x... (1 arguments)"));
    // An escape is never cut.
    EXPECT_THAT(recordOf({"/t", std::string(most - 2, 'x') + "\n"}),
                testing::EndsWith("x... (1 arguments)"));
    EXPECT_THAT(recordOf(StringList(100'000, "")), testing::EndsWith("... (99999 arguments)"));
    EXPECT_LE(recordOf({std::string(2'000'000, '\n')}).size(), kLongestRecord);
}

std::vector<StringList>& recorded() {
    static std::vector<StringList> commands;
    return commands;
}

TEST(ToolRecord, IsMadeOfEachToolThatIsStartedBeforeTheReply) {
    test::Connection connection;
    std::thread served([client = test::thisProcessAsClient(std::move(connection.second))] {
        serve(client, [](const Client& from, const StringList& command) {
            if (from.pid == ::getpid() && from.uid == ::getuid()) recorded().push_back(command);
        });
    });
    std::optional<Channel> channel = Channel::greet(std::move(connection.first));
    std::shared_ptr<AuthorizedToolStream> stream;
    EXPECT_EQ(channel->execute("/bin/missing", {}, stream), kAuthorizationToolExecuteFailure);
    EXPECT_EQ(channel->execute("/bin/true", {"a", ""}, stream), kAuthorizationSuccess);
    EXPECT_EQ(channel->execute("/bin/false", {}, stream), kAuthorizationSuccess);
    channel.reset();
    served.join();
    EXPECT_THAT(recorded(),
                testing::ElementsAre(StringList{"/bin/true", "a", ""}, StringList{"/bin/false"}));
}

}  // namespace
}  // namespace quillmoor::platform::linux_::rights::helper
