#include "quillmoor/platform/platform.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace quillmoor::platform {
namespace {

TEST(Platform, TheNativeOneHasEveryService) {
    std::vector<void*> services(sizeof(Platform) / sizeof(void*));
    static_assert(sizeof(Platform) % sizeof(void*) == 0);
    std::memcpy(services.data(), &native(), sizeof(Platform));
    for (const void* const service : services) EXPECT_NE(service, nullptr);
}

TEST(Platform, TheNativeOneIsAlwaysTheSame) {
    const Platform* elsewhere = nullptr;
    std::thread([&] { elsewhere = &native(); }).join();
    EXPECT_EQ(elsewhere, &native());
}

TEST(Platform, IsTheNativeOneUntilAnotherIsPutInForce) {
    EXPECT_EQ(&current(), &native());
    const Platform other = native();
    EXPECT_EQ(exchange(&other), nullptr);
    EXPECT_EQ(&current(), &other);
    const Platform third = native();
    EXPECT_EQ(exchange(&third), &other);
    EXPECT_EQ(exchange(nullptr), &third);
    EXPECT_EQ(&current(), &native());
}

TEST(Platform, InUseIsTheSameForEveryThread) {
    const Platform other = native();
    exchange(&other);
    const Platform* elsewhere = nullptr;
    std::thread([&] { elsewhere = &current(); }).join();
    exchange(nullptr);
    EXPECT_EQ(elsewhere, &other);
}

}  // namespace
}  // namespace quillmoor::platform
