#include "tools/ditto/failure.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>

namespace quillmoor::ditto {
namespace {

std::string textOf(const std::function<void()>& failing) {
    try {
        failing();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "nothing thrown";
}

TEST(DittoFailure, NamesThePathTheActionAndTheReason) {
    EXPECT_EQ(textOf([] { failWithError("a/b", "opened", EACCES); }),
              "“a/b” couldn’t be opened: Permission denied");
}

TEST(DittoFailure, TakesTheReasonFromErrno) {
    EXPECT_EQ(textOf([] {
                  errno = ENOSPC;
                  failWithErrno("file", "written");
              }),
              "“file” couldn’t be written: No space left on device");
}

TEST(DittoFailure, EscapesTerminalControlCharacters) {
    EXPECT_EQ(textOf([] { failWithError("a\n\x1b[2J", "made", EIO); }),
              "“a\\x0a\\x1b[2J” couldn’t be made: Input/output error");
}

TEST(DittoFailure, ResidueIsNamedOnStandardError) {
    testing::internal::CaptureStderr();
    warnOfResidue(".ditto.abc\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "ditto: .ditto.abc\\x0a is left behind\n");
}

}  // namespace
}  // namespace quillmoor::ditto
