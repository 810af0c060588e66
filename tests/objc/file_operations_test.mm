#include "objc/file_operations.h"

#include "tests/objc/objc_support.h"

namespace quillmoor::test {

using namespace objc;
using Notice = FileOperationDelegate::Notice;

TEST(FileOperations, HaveNoDelegateForNil) {
    EXPECT_EQ(toDelegate(nil), nullptr);
    EXPECT_FALSE(toDelegate(@"no notice")->implements(Notice::Finished));
}

TEST(FileOperations, AreNotLookedIntoWhenUnknown) {
    EXPECT_EQ(toOperation(nullptr), nullptr);
    EXPECT_EQ(toOperation(reinterpret_cast<FSFileOperationRef>(16)), nullptr);
}

}  // namespace quillmoor::test
