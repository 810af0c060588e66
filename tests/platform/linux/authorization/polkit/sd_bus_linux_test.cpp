#include "quillmoor/platform/linux/authorization/polkit/sd_bus_linux.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace quillmoor::platform::linux_::authorization {
namespace {

TEST(SdBusTest, IsCompleteWhereTheLibraryIs) {
    void* const library = ::dlopen("libsystemd.so.0", RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) {
        EXPECT_EQ(sdBus(), nullptr);
        return;
    }
    const SdBus* const bus = sdBus();
    ASSERT_NE(bus, nullptr);
    std::array<void*, sizeof(SdBus) / sizeof(void*)> functions{};
    std::memcpy(functions.data(), bus, sizeof(SdBus));
    EXPECT_EQ(std::count(functions.begin(), functions.end(), nullptr), 0);
    std::sort(functions.begin(), functions.end());
    EXPECT_EQ(std::adjacent_find(functions.begin(), functions.end()), functions.end())
        << "two are the same";
    EXPECT_EQ(reinterpret_cast<void*>(bus->process), ::dlsym(library, "sd_bus_process"));
}

TEST(SdBusTest, IsLoadedOnce) {
    EXPECT_EQ(sdBus(), sdBus());
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
