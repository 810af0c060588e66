#include "quillmoor/platform/posix/trace/trace_areas_posix.h"

#include <gtest/gtest.h>

#include "tests/platform/support/captured_trace.h"

namespace quillmoor::platform::posix {
namespace {

TEST(TraceAreas, AreThoseThatTheListNames) {
    test::CapturedTrace trace;
    EXPECT_EQ(traceAreas(""), TraceAreas{});
    EXPECT_EQ(traceAreas("fs"), (TraceAreas{.files = true}));
    EXPECT_EQ(traceAreas("process,fs"), (TraceAreas{.files = true, .process = true}));
    EXPECT_EQ(traceAreas(",authorization,"), (TraceAreas{.authorization = true}));
    EXPECT_EQ(trace.text(), "");
}

TEST(TraceAreas, ReportUnknownNamesInOneLineAndTakeTheRest) {
    test::CapturedTrace trace;
    EXPECT_EQ(traceAreas("files,fs,f\n,FS"), (TraceAreas{.files = true}));
    EXPECT_EQ(trace.text(),
              "kx: KX_TRACE: no such area: \"files\" \"f\\x0a\" \"FS\"; there are fs, process and "
              "authorization\n");
}

TEST(TraceAreas, NameTheKnownOnesAfterALongListToo) {
    test::CapturedTrace trace;
    EXPECT_EQ(traceAreas(std::string(5000, 'x')), TraceAreas{});
    const std::string text = trace.text();
    EXPECT_TRUE(text.ends_with("x...; there are fs, process and authorization\n")) << text;
}

}  // namespace
}  // namespace quillmoor::platform::posix
