#include "quillmoor/platform/macos/desktop/system_reference_macos.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "quillmoor/platform/macos/ground/late_call_macos.h"
#include "tests/platform/macos/fakes/fake_core_foundation.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::macos {
namespace {

class MacSystemReference : public testing::Test {
  protected:
    test::TempFolder folder_;
    const std::string file_ = folder_.writeFile("a file");
    const int before_ = test::FakeObjects::alive();
};

TEST_F(MacSystemReference, LeadsBackToTheItem) {
    FSRef item{};
    ASSERT_TRUE(systemReferenceOf(file_, item));
    EXPECT_EQ(pathOfSystemReference(item), file_);
    EXPECT_EQ(test::FakeObjects::alive(), before_);
}

TEST_F(MacSystemReference, NothingIsMadeForAMissingItem) {
    FSRef item{};
    EXPECT_FALSE(systemReferenceOf(file_ + "x", item));
    EXPECT_FALSE(systemReferenceOf("", item));
    EXPECT_EQ(test::FakeObjects::alive(), before_);
}

TEST_F(MacSystemReference, ARemovedItemHasNoPath) {
    FSRef item{};
    ASSERT_TRUE(systemReferenceOf(file_, item));
    std::filesystem::remove(file_);
    EXPECT_EQ(pathOfSystemReference(item), std::nullopt);
}

TEST_F(MacSystemReference, ThereIsNoneWithoutTheCalls) {
    FSRef item{};
    ASSERT_TRUE(systemReferenceOf(file_, item));
    const CallFinder before = exchangeCallFinder([](const char*) -> void* { return nullptr; });
    EXPECT_FALSE(systemReferenceOf(file_, item));
    EXPECT_EQ(pathOfSystemReference(item), std::nullopt);
    exchangeCallFinder(before);
}

}  // namespace
}  // namespace quillmoor::platform::macos
