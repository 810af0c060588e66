// What every back-end owes to those who ask for their bundle.
#include "quillmoor/platform/bundle.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/contract/services/back_end.h"

namespace quillmoor::platform {
namespace {

class BundleContract : public testing::TestWithParam<BackEnd> {
  protected:
    Bundles& bundles() { return *GetParam().platform().bundles; }
};

int ownCode() {
    return 1;
}

TEST_P(BundleContract, TheMainBundleHasTheRunningProgram) {
    const auto bundle = bundles().mainBundle();
    ASSERT_NE(bundle, nullptr);
    const OptionalPath program = bundle->executablePath();
    ASSERT_TRUE(program.has_value());
    EXPECT_TRUE(std::filesystem::is_regular_file(*program)) << *program;
    EXPECT_TRUE(program->starts_with('/'));
}

TEST_P(BundleContract, TheProgramsOwnCodeBelongsToTheMainBundle) {
    const auto bundle = bundles().bundleForCode(reinterpret_cast<const void*>(&ownCode));
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(bundle->executablePath(), bundles().mainBundle()->executablePath());
}

TEST_P(BundleContract, HasNoBundleForCodeWithoutAFile) {
    EXPECT_EQ(bundles().bundleForCode(nullptr), nullptr);
}

TEST_P(BundleContract, WhatABundleLacksIsNil) {
    const auto bundle = bundles().mainBundle();
    EXPECT_EQ(bundle->infoDictionaryText("no such key"), std::nullopt);
    EXPECT_EQ(bundle->pathForResource("no such resource", "zip"), std::nullopt);
    EXPECT_EQ(bundle->pathForResource("../no such resource", ""), std::nullopt);
    EXPECT_EQ(bundle->pathForResource("", ""), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(All, BundleContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
