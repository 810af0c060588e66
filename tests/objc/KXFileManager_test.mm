#include "tests/objc/files_world.h"

using namespace quillmoor::test;

TEST(ObjcFiles, ReturnTheFailureAndLogWhatTheLibraryThrows) {
    class Throwing : public ForwardingFileManager {
        bool fileExists(const std::string&) override { throw std::runtime_error("a reason"); }
    } manager;
    FilesWorld world;
    world.platform_->fileManager = &manager;
    EXPECT_FALSE([KXFileManager fileExistsAtPath:@"/tmp"]);
    world.platform_->fileManager = &world.manager_;
    EXPECT_EQ(world.logged().size(), 1U);
}
