#include <gtest/gtest.h>

#include <limits>

#include "quillmoor/platform/posix/process/memory_mapping_posix.h"
#include "tests/platform/macos/fakes/fake_kernel.h"

namespace quillmoor::platform::posix {
namespace {

class MacMemory : public testing::Test {
  protected:
    test::FakeKernel kernel_;
};

TEST_F(MacMemory, IsZeroFilled) {
    char* const bytes = mapMemory(kMappingUnit);
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[kMappingUnit - 1], 0);
    bytes[kMappingUnit - 1] = 'x';
    unmapMemory(bytes, kMappingUnit);
}

TEST_F(MacMemory, KeepsItsBytesWhenItGrows) {
    char* first = mapMemory(2 * kMappingUnit);
    ASSERT_NE(first, nullptr);
    first[0] = 'a';
    first[kMappingUnit - 1] = 'z';
    // The second half is in the way of the first.
    char* const grown = growMapping(first, kMappingUnit, 3 * kMappingUnit);
    ASSERT_NE(grown, nullptr);
    EXPECT_NE(grown, first);
    EXPECT_EQ(grown[0], 'a');
    EXPECT_EQ(grown[kMappingUnit - 1], 'z');
    EXPECT_EQ(grown[3 * kMappingUnit - 1], 0);
    ASSERT_EQ(kernel_.remaps.size(), 1U);
    EXPECT_EQ(kernel_.remaps[0].address, reinterpret_cast<std::uintptr_t>(grown));
    EXPECT_EQ(kernel_.remaps[0].source, reinterpret_cast<std::uintptr_t>(first));
    EXPECT_EQ(kernel_.remaps[0].size, kMappingUnit);
    EXPECT_EQ(kernel_.remaps[0].flags, 0x4000);
    EXPECT_EQ(kernel_.remaps[0].copy, 0);
    EXPECT_EQ(kernel_.remaps[0].inheritance, 1U);
    unmapMemory(first + kMappingUnit, kMappingUnit);
    unmapMemory(grown, 3 * kMappingUnit);
}

TEST_F(MacMemory, GrowsInPlaceWhereNothingFollows) {
    char* const bytes = mapMemory(3 * kMappingUnit);
    ASSERT_NE(bytes, nullptr);
    bytes[0] = 'a';
    unmapMemory(bytes + kMappingUnit, 2 * kMappingUnit);
    EXPECT_EQ(growMapping(bytes, kMappingUnit, 2 * kMappingUnit), bytes);
    EXPECT_EQ(bytes[0], 'a');
    EXPECT_EQ(bytes[2 * kMappingUnit - 1], 0);
    EXPECT_TRUE(kernel_.remaps.empty());
    EXPECT_EQ(growMapping(bytes, 2 * kMappingUnit, 2 * kMappingUnit), bytes);
    unmapMemory(bytes, 2 * kMappingUnit);
}

TEST_F(MacMemory, AFailureToGrowLeavesTheOldMapping) {
    char* const bytes = mapMemory(2 * kMappingUnit);
    ASSERT_NE(bytes, nullptr);
    bytes[0] = 'a';
    kernel_.refusesRemap = true;
    EXPECT_EQ(growMapping(bytes, kMappingUnit, 2 * kMappingUnit), nullptr);
    EXPECT_EQ(bytes[0], 'a');
    EXPECT_EQ(mapMemory(std::numeric_limits<std::size_t>::max() / 4 * 3), nullptr);
    unmapMemory(bytes, 2 * kMappingUnit);
}

}  // namespace
}  // namespace quillmoor::platform::posix
