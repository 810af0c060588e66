#include "quillmoor/platform/macos/desktop/finder_event_macos.h"

#include <gtest/gtest.h>

#include <string>

#include "quillmoor/platform/macos/desktop/carbon_calls_macos.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "tests/platform/macos/fakes/fake_core_foundation.h"
#include "tests/platform/macos/fakes/fake_core_services.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::macos {
namespace {

using Calls = std::vector<std::string>;

class FinderEvent : public testing::Test {
  protected:
    FinderEvent() {
        const CFURLRef url = test::FakeObjects::makeUrl(folder_.path());
        EXPECT_TRUE(lateCall<GetFSRef>(kGetFSRef)(url, &item_));
        CFRelease(url);
        services_.calls.clear();
    }
    ~FinderEvent() override {
        EXPECT_EQ(services_.aliases, 0);
        EXPECT_EQ(services_.descriptions, 0);
    }

    test::FakeCoreServices services_;
    test::TempFolder folder_;
    FSRef item_{};
};

TEST_F(FinderEvent, IsTheUpdateEventWithTheAliasAsItsObject) {
    EXPECT_EQ(sendFinderUpdate(item_), 0);
    ASSERT_EQ(services_.events.size(), 1U);
    const auto& event = services_.events[0];
    EXPECT_EQ(event.eventClass, 0x666E6472U);   // fndr
    EXPECT_EQ(event.event, 0x66757064U);        // fupd
    EXPECT_EQ(event.addressType, 0x7369676EU);  // sign
    const UInt32 finder = 0x4D414353;           // MACS
    EXPECT_EQ(event.address, std::string(reinterpret_cast<const char*>(&finder), 4));
    EXPECT_EQ(event.returnID, -1);
    EXPECT_EQ(event.transactionID, 0);
    EXPECT_TRUE(event.startsEmpty);
    EXPECT_FALSE(event.hasErrorRecord);
    EXPECT_EQ(event.format, "'----':alis(@@)");
    EXPECT_EQ(event.aliasOf, folder_.path());
    EXPECT_EQ(services_.sendMode, 1);
    EXPECT_EQ(services_.sendTimeout, -1);
    EXPECT_TRUE(services_.replyStartsEmpty);
    EXPECT_EQ(services_.calls,
              (Calls{"FSNewAliasMinimal", "AEBuildAppleEvent", "AESendMessage",
                     "AEDisposeDesc of the reply", "AEDisposeDesc of the event", "DisposeHandle"}));
}

TEST_F(FinderEvent, WithoutAnAliasNothingElseIsDone) {
    services_.aliasStatus = -43;
    EXPECT_EQ(sendFinderUpdate(item_), -43);
    EXPECT_EQ(services_.calls, Calls{"FSNewAliasMinimal"});
}

TEST_F(FinderEvent, OneThatCannotBeBuiltIsNotSent) {
    services_.buildStatus = -108;
    EXPECT_EQ(sendFinderUpdate(item_), -108);
    EXPECT_EQ(services_.calls, (Calls{"FSNewAliasMinimal", "AEBuildAppleEvent", "DisposeHandle"}));
}

TEST_F(FinderEvent, OneThatCannotBeSentIsDisposedOf) {
    services_.sendStatus = -600;
    EXPECT_EQ(sendFinderUpdate(item_), -600);
    EXPECT_EQ(services_.calls.back(), "DisposeHandle");
}

}  // namespace
}  // namespace quillmoor::platform::macos
