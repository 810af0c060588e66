#include "quillmoor/platform/macos/locations/console_user_macos.h"

#include <gtest/gtest.h>

#include "tests/platform/macos/fakes/fake_core_foundation.h"

namespace quillmoor::platform::macos {
namespace {

using test::FakeObjects;

class MacConsoleUser : public testing::Test {
  protected:
    test::FakeConsole console_;
};

TEST_F(MacConsoleUser, IsTheShortNameWithoutAStoreOrNumbers) {
    console_.user = "alice";
    EXPECT_EQ(consoleUser(), "alice");
    EXPECT_EQ(console_.calls, 1);
    EXPECT_FALSE(console_.asksForMore);
}

TEST_F(MacConsoleUser, IsReportedAtTheLoginScreen) {
    console_.user = "loginwindow";
    EXPECT_EQ(consoleUser(), "loginwindow");
}

TEST_F(MacConsoleUser, IsNilWhenThereIsNone) {
    EXPECT_EQ(consoleUser(), std::nullopt);
}

TEST_F(MacConsoleUser, IsAskedForEachTimeAndItsNameReleased) {
    const int before = FakeObjects::alive();
    console_.user = "alice";
    EXPECT_EQ(consoleUser(), "alice");
    console_.user = "bob";
    EXPECT_EQ(consoleUser(), "bob");
    EXPECT_EQ(FakeObjects::alive(), before);
    EXPECT_EQ(FakeObjects::wronglyReleased(), 0);
}

}  // namespace
}  // namespace quillmoor::platform::macos
