#include "objc/file_references.h"

#include "quillmoor/platform/platform.h"
#include "tests/objc/objc_support.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {

TEST(FileReferences, SurviveTheTranslation) {
    TempFolder folder;
    const std::string path = folder.writeFile("a");
    platform::FileReference reference;
    ASSERT_TRUE(platform::native().finderInfo->makeReference(path, reference));
    const auto back = objc::toReference(objc::fromReference(reference));
    EXPECT_EQ(platform::native().finderInfo->pathOfReference(back), path);
    EXPECT_EQ(back.item, reference.item);
}

}  // namespace quillmoor::test
