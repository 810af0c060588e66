#include "quillmoor/platform/posix/ground/error_text_posix.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "tests/support/german_locale.h"

namespace quillmoor::platform::posix {
namespace {

TEST(ErrorText, NamesTheItemTheVerbAndTheSystemsReason) {
    EXPECT_EQ(fileError(FileVerb::Removed, "/a/name", EACCES).description,
              "“name” couldn’t be removed: Permission denied");
    EXPECT_EQ(fileError(FileVerb::Moved, "name/", ENOENT).description,
              "“name” couldn’t be moved: No such file or directory");
    EXPECT_EQ(fileError(FileVerb::Trashed, "/a/name", EXDEV).description,
              "“name” couldn’t be moved to the Trash: Invalid cross-device link");
    EXPECT_EQ(fileError(FileVerb::Copied, "/a/b c", EEXIST).description,
              "“b c” couldn’t be copied: File exists");
    EXPECT_EQ(fileError(FileVerb::Created, "/", EBUSY).description,
              "“/” couldn’t be created: Device or resource busy");
    EXPECT_EQ(fileError(FileVerb::Written, "", ENOSPC).description,
              "“” couldn’t be written: No space left on device");
}

TEST(ErrorText, KeepsTheErrorNumber) {
    EXPECT_EQ(fileError(FileVerb::Removed, "/a", EPERM).code, EPERM);
}

TEST(ErrorText, IsEnglishInEveryLocale) {
    const test::GermanLocale german;
    if (!german.inForce()) GTEST_SKIP() << "no German locale can be made here";
    if (std::strerror(EACCES) == std::string("Permission denied"))
        GTEST_SKIP() << "this system has no German error texts";
    EXPECT_EQ(systemErrorText(EACCES), "Permission denied");
    EXPECT_EQ(systemErrorText(99999), "Unknown error 99999");
}

TEST(ErrorText, AnUnknownNumberIsShown) {
    EXPECT_EQ(systemErrorText(99999), "Unknown error 99999");
}

TEST(ErrorText, NoErrorIsASuccess) {
    EXPECT_TRUE(fileOutcome(FileVerb::Moved, "/a", 0));
    const Outcome failure = fileOutcome(FileVerb::Moved, "/a", EIO);
    ASSERT_FALSE(failure);
    EXPECT_EQ(failure.error().code, EIO);
    EXPECT_FALSE(failure.error().isHalfDone);
    EXPECT_TRUE(fileOutcome(FileVerb::Moved, "/a", EIO, true).error().isHalfDone);
}

}  // namespace
}  // namespace quillmoor::platform::posix
