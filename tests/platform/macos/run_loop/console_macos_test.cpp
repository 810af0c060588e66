#include <gtest/gtest.h>

#include <string>

#include "quillmoor/platform/native_services.h"
#include "tests/platform/macos/fakes/cocoa_loop.h"

namespace quillmoor::platform {
namespace {

// What reaches standard error while `text` is logged.
std::string logged(const std::string& text) {
    testing::internal::CaptureStderr();
    nativeConsole()->log(text);
    return testing::internal::GetCapturedStderr();
}

TEST(CocoaConsole, TheSystemsCallWritesEachTextOnceAndNothingElseDoes) {
    const test::RecordedLog log;
    EXPECT_EQ(logged("50% of %@ \xC3\xA9"), "");
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_TRUE(log.lines()[0].ends_with(" 50% of %@ \xC3\xA9\n")) << log.lines()[0];
}

TEST(CocoaConsole, ATextThatIsNotUtf8IsWrittenToStandardErrorOnly) {
    const test::RecordedLog log;
    const std::string line = logged("a\xff");
    EXPECT_TRUE(line.ends_with("] a\xff\n")) << line;
    EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace quillmoor::platform
