#include "host/ground/transcript.h"

#include <gtest/gtest.h>

#include "host/ground/host_error.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::host {
namespace {

TEST(Transcript, LinesAreWrittenAtOnce) {
    const test::TempFolder folder;
    Transcript transcript(folder.writeFile("t", "old"));
    transcript.write("note", "one");
    EXPECT_EQ(test::readFile(folder / "t"), "note: one\n");
    transcript.write("note", "two\nlines");
    EXPECT_EQ(test::readFile(folder / "t"), "note: one\nnote: two\\x0alines\n");
    EXPECT_FALSE(transcript.incomplete());
}

TEST(Transcript, ProblemsAreWrittenToStandardErrorToo) {
    const test::TempFolder folder;
    Transcript transcript(folder / "t");
    ::testing::internal::CaptureStderr();
    transcript.problem("no luck");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "installer-host: no luck\n");
    EXPECT_EQ(test::readFile(folder / "t"), "problem: no luck\n");
}

TEST(Transcript, ADashIsStandardOutput) {
    ::testing::internal::CaptureStdout();
    Transcript("-").write("note", "one");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "note: one\n");
}

TEST(Transcript, WithoutAFileNothingIsWritten) {
    Transcript transcript;
    transcript.write("note", "one");
    EXPECT_FALSE(transcript.incomplete());
}

TEST(Transcript, AFileThatCannotBeCreatedIsReported) {
    const test::TempFolder folder;
    EXPECT_THROW(Transcript(folder / "no/t"), HostError);
}

TEST(Transcript, AFullDiskIsNoticed) {
    if (!test::somethingAt("/dev/full")) GTEST_SKIP() << "this system has no /dev/full";
    Transcript transcript("/dev/full");
    transcript.write("note", "one");
    EXPECT_TRUE(transcript.incomplete());
}

}  // namespace
}  // namespace quillmoor::host
