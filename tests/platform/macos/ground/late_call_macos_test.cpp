#include "quillmoor/platform/macos/ground/late_call_macos.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace quillmoor::platform::macos {
namespace {

TEST(LateCall, FindsAFunctionOfALoadedLibrary) {
    const auto process = lateCall<pid_t (*)()>("getpid");
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(process(), ::getpid());
}

TEST(LateCall, IsNullWhereNoLibraryHasIt) {
    EXPECT_EQ(findCall("AFunctionThatNoSystemEverHad"), nullptr);
}

TEST(LateCall, ATestCanReplaceWhatLooksItUp) {
    const CallFinder before = exchangeCallFinder([](const char*) -> void* { return nullptr; });
    EXPECT_EQ(findCall("getpid"), nullptr);
    EXPECT_NE(exchangeCallFinder(nullptr), nullptr);
    EXPECT_NE(findCall("getpid"), nullptr);
    exchangeCallFinder(before);
}

}  // namespace
}  // namespace quillmoor::platform::macos
