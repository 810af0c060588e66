#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "quillmoor/platform/posix/process/memory_mapping_posix.h"

namespace quillmoor::platform::posix {
namespace {

bool isAligned(const char* bytes) {
    return reinterpret_cast<std::uintptr_t>(bytes) % kMappingUnit == 0;
}

TEST(MemoryMapping, IsZeroFilledAndBeginsAtAUnit) {
    char* const bytes = mapMemory(kMappingUnit);
    ASSERT_NE(bytes, nullptr);
    EXPECT_TRUE(isAligned(bytes));
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[kMappingUnit - 1], 0);
    bytes[kMappingUnit - 1] = 'x';
    unmapMemory(bytes, kMappingUnit);
}

TEST(MemoryMapping, KeepsItsBytesWhenItGrows) {
    char* first = mapMemory(kMappingUnit);
    // In the way of the first, wherever it was put.
    char* const second = mapMemory(kMappingUnit);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    first[0] = 'a';
    first[kMappingUnit - 1] = 'z';
    second[0] = 's';
    char* const grown = growMapping(first, kMappingUnit, 4 * kMappingUnit);
    ASSERT_NE(grown, nullptr);
    EXPECT_TRUE(isAligned(grown));
    EXPECT_EQ(grown[0], 'a');
    EXPECT_EQ(grown[kMappingUnit - 1], 'z');
    EXPECT_EQ(grown[kMappingUnit], 0);
    grown[4 * kMappingUnit - 1] = 'e';
    EXPECT_EQ(second[0], 's');
    unmapMemory(grown, 4 * kMappingUnit);
    unmapMemory(second, kMappingUnit);
}

TEST(MemoryMapping, IsNullWithoutMemoryAndKeepsTheOldOne) {
    constexpr std::size_t kTooMuch =
        std::numeric_limits<std::size_t>::max() / 4 / kMappingUnit * kMappingUnit;
    EXPECT_EQ(mapMemory(kTooMuch), nullptr);
    char* const bytes = mapMemory(kMappingUnit);
    ASSERT_NE(bytes, nullptr);
    bytes[0] = 'a';
    EXPECT_EQ(growMapping(bytes, kMappingUnit, kTooMuch), nullptr);
    EXPECT_EQ(bytes[0], 'a');
    unmapMemory(bytes, kMappingUnit);
}

}  // namespace
}  // namespace quillmoor::platform::posix
