#include <gtest/gtest.h>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/tool_paths.h"

namespace quillmoor::platform {
namespace {

TEST(MacToolPath, IsThePathItself) {
    for (const char* const path : {"/usr/bin/ditto", "/bin/mv", "/no/such/tool"})
        EXPECT_EQ(nativeToolPaths()->toolPath(path), path);
}

}  // namespace
}  // namespace quillmoor::platform
