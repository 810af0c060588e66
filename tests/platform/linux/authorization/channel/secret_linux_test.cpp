#include "quillmoor/platform/linux/authorization/channel/secret_linux.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

namespace {

// Memory that is inspected when it is released.
const char* watched = nullptr;
std::size_t watchedSize = 0;
bool wasWiped = false;

void giveBack(void* memory) {
    if (memory != nullptr && memory == watched) {
        wasWiped = std::all_of(watched, watched + watchedSize, [](char byte) { return byte == 0; });
        watched = nullptr;
    }
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
    if (void* memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size > 0 ? size : 1);
}
void operator delete(void* memory) noexcept {
    giveBack(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    giveBack(memory);
}

namespace quillmoor::platform::linux_::authorization {
namespace {

TEST(Secret, IsItsPieces) {
    EXPECT_EQ(Secret("pass word", "\n").view(), "pass word\n");
    EXPECT_EQ(Secret("pass").view(), "pass");
    EXPECT_EQ(Secret("").view(), "");
}

TEST(Secret, IsOverwrittenBeforeItsMemoryIsReleased) {
    {
        const Secret secret("pass word", "\n");
        watched = secret.view().data();
        watchedSize = secret.view().size();
    }
    EXPECT_EQ(watched, nullptr);
    EXPECT_TRUE(wasWiped);
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
