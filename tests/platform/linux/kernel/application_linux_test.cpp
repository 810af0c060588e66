#include "quillmoor/platform/posix/run_loop/application_posix.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace quillmoor::platform::posix {
namespace {

TEST(NoApplication, ARequestRunsNothing) {
    std::string order;
    MainRunLoop::postToAllModes([&] { order += 'a'; });
    MainRunLoop::postToDefaultMode([&] { order += 'b'; });
    requestDrain(RunLoopMode::Default);
    requestDrain(RunLoopMode::ModalPanel);
    EXPECT_EQ(order, "");
    MainRunLoop::run(RunLoopMode::Default, std::chrono::steady_clock::now());
    EXPECT_EQ(order, "ab");
}

TEST(NoApplication, SendsNoEvent) {
    EXPECT_FALSE(hasApplication());
    EXPECT_FALSE(sendNextEventOfApplication(std::chrono::milliseconds(0)));
}

}  // namespace
}  // namespace quillmoor::platform::posix
