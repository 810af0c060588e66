#include "host/plugin/bundle_loader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/host/support/bundle_fixture.h"

namespace quillmoor::host {
namespace {

class BundleLoader : public BundleFixture {};

TEST_F(BundleLoader, TheInterfaceFileOfTheUsersLanguageIsTaken) {
    const std::string bundle = makeBundle(folder_, "X.bundle", whole());
    folder_.writeFile("X.bundle/Contents/Resources/de.lproj/Recorder.ui",
                      test::interfaceFor("Gezeigt"));
    EXPECT_EQ(load(bundle, {"de-AT", "en"})->title(), "Gezeigt");
    EXPECT_EQ(load(bundle, {"fr", "de"})->title(), "Gezeigt");
    EXPECT_EQ(load(bundle, {"fr"})->title(), "Shows");
    folder_.writeFile("X.bundle/Contents/Resources/de-AT.lproj/Recorder.ui",
                      test::interfaceFor("Hergezeigt"));
    EXPECT_EQ(load(bundle, {"de-AT", "en"})->title(), "Hergezeigt");
}

TEST_F(BundleLoader, OnePlugInIsAttachedOnceHoweverOftenItIsLoaded) {
    const std::string bundle = makeBundle(folder_, "X.bundle", whole());
    const auto first = load(bundle);
    const auto second = load(bundle);
    const auto lines = record();
    EXPECT_EQ(std::ranges::count(lines, "attached 1"), 1);
    EXPECT_EQ(std::ranges::count(lines, "created Shows"), 2);
}

TEST_F(BundleLoader, NoCodeOfThePlugInRunsBeforeTheRestHasBeenChecked) {
    auto parts = whole();
    parts.interfaceFile = "<ui/>";
    EXPECT_NE(errorOf(parts), "");
    EXPECT_THAT(record(), ::testing::IsEmpty());
}

}  // namespace
}  // namespace quillmoor::host
