#include "quillmoor/platform/posix/trace/traced_calls_posix.h"

#include <gtest/gtest.h>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

TEST(MacTrace, LeavesTheSharedTableAlone) {
    const SystemCalls* const before = &systemCalls();
    TraceAreas all;
    all.files = true;
    all.process = true;
    traceOwnCalls(all);
    EXPECT_EQ(&systemCalls(), before);
}

}  // namespace
}  // namespace quillmoor::platform::posix
