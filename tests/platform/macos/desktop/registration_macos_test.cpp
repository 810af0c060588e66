#include "quillmoor/platform/macos/desktop/registration_macos.h"

#include <gtest/gtest.h>

#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "tests/platform/macos/fakes/fake_core_foundation.h"
#include "tests/platform/macos/fakes/fake_core_services.h"

namespace quillmoor::platform::macos {
namespace {

class MacRegistration : public testing::Test {
  protected:
    test::FakeCoreServices services_;
};

TEST_F(MacRegistration, PassesTheUrlWithTheUpdateFlag) {
    const int before = test::FakeObjects::alive();
    EXPECT_EQ(registerWithLaunchServices("/Applications/Some App.app"), 0);
    EXPECT_EQ(services_.registered, std::vector<std::string>{"/Applications/Some App.app"});
    EXPECT_TRUE(services_.registrationUpdates);
    EXPECT_EQ(test::FakeObjects::alive(), before);
}

TEST_F(MacRegistration, ReturnsTheSystemsStatus) {
    services_.registerStatus = -10811;
    EXPECT_EQ(registerWithLaunchServices("/Applications/Some.app"), -10811);
}

TEST_F(MacRegistration, FailsWithoutAPathOrTheCall) {
    EXPECT_NE(registerWithLaunchServices(""), 0);
    EXPECT_NE(registerWithLaunchServices(std::string("/a\0b", 4)), 0);
    const CallFinder before = exchangeCallFinder([](const char*) -> void* { return nullptr; });
    EXPECT_EQ(registerWithLaunchServices("/Applications/Some.app"), -1);
    exchangeCallFinder(before);
    EXPECT_TRUE(services_.registered.empty());
}

}  // namespace
}  // namespace quillmoor::platform::macos
