#include "quillmoor/platform/tool_paths.h"

#include <gtest/gtest.h>

#include "tests/contract/services/back_end.h"

namespace quillmoor::platform {
namespace {

class ToolPathsContract : public testing::TestWithParam<BackEnd> {
  protected:
    ToolPaths& tools() { return *GetParam().platform().toolPaths; }
};

TEST_P(ToolPathsContract, ReturnsThePathOfAToolThatExists) {
    EXPECT_EQ(tools().toolPath("/bin/mv"), "/bin/mv");
    EXPECT_EQ(tools().toolPath("/no/such/tool"), "/no/such/tool");
    EXPECT_TRUE(tools().toolPath("/usr/bin/ditto").ends_with("/ditto"));
}

INSTANTIATE_TEST_SUITE_P(All, ToolPathsContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
