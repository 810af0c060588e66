#include "tests/objc/files_world.h"

using namespace quillmoor::test;
using quillmoor::StringList;

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

// A path that is not a string, as an object of a property list may be.
TEST(ObjcFiles, ReturnTheFailureAndLogWhatIsRaised) {
    FilesWorld world;
    const id number = [NSNumber numberWithInt:1];
    EXPECT_FALSE([KXFileManager fileExistsAtPath:number]);
    const StringList logged = world.logged();
    ASSERT_EQ(logged.size(), 1U);
    EXPECT_TRUE(logged[0].find("NSInvalidArgumentException") != std::string::npos) << logged[0];
}
