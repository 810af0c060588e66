#include "quillmoor/platform/bundle.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "quillmoor/platform/native_services.h"

namespace quillmoor::platform {
namespace {

int codeOfThisProgram = 0;

TEST(MacBundle, TheMainBundleIsThatOfTheProgram) {
    const auto bundle = nativeBundles()->mainBundle();
    ASSERT_NE(bundle, nullptr);
    const OptionalPath program = bundle->executablePath();
    ASSERT_TRUE(program);
    EXPECT_TRUE(std::filesystem::equivalent(*program, "/proc/self/exe"));
}

TEST(MacBundle, CodeOfTheProgramBelongsToTheMainBundle) {
    const auto bundle = nativeBundles()->bundleForCode(&codeOfThisProgram);
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(bundle->executablePath(), nativeBundles()->mainBundle()->executablePath());
}

TEST(MacBundle, CodeOfNoFileHasNone) {
    int local = 0;
    EXPECT_EQ(nativeBundles()->bundleForCode(&local), nullptr);
    EXPECT_EQ(nativeBundles()->bundleForCode(nullptr), nullptr);
}

TEST(MacBundle, CodeOfALibraryThatIsInNoBundleBelongsToTheMainBundle) {
    const auto bundle = nativeBundles()->bundleForCode(::dlsym(RTLD_DEFAULT, "getpid"));
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(bundle->executablePath(), nativeBundles()->mainBundle()->executablePath());
}

TEST(MacBundle, WhatIsMissingIsNil) {
    const auto bundle = nativeBundles()->mainBundle();
    EXPECT_EQ(bundle->infoDictionaryText("NoSuchKey"), std::nullopt);
    EXPECT_EQ(bundle->infoDictionaryText("\xff"), std::nullopt);
    EXPECT_EQ(bundle->pathForResource("no such resource", "zip"), std::nullopt);
    EXPECT_EQ(bundle->pathForResource("\xff", "zip"), std::nullopt);
    EXPECT_EQ(bundle->pathForResource("a", "\xff"), std::nullopt);
    EXPECT_EQ(bundle->pathForResource("", ""), std::nullopt);
}

}  // namespace
}  // namespace quillmoor::platform
