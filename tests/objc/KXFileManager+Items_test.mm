// Attributes, waiting, names, colour labels and archives.
#include "tests/objc/files_world.h"
#include "tests/task/held_time.h"

using namespace quillmoor::test;
using quillmoor::StringList;

TEST(KXFileManager, isFileLocked_) {
    FilesWorld world;
    LockedAttributes attributes;
    NSString* path = world.file("a");
    world.platform_->attributes = &attributes;
    EXPECT_TRUE([KXFileManager isFileLocked:path]);
    attributes.isLocked = false;
    EXPECT_FALSE([KXFileManager isFileLocked:path]);
    EXPECT_FALSE([KXFileManager isFileLocked:nil]);
}
TEST(KXFileManager, lockFile_) {
    FilesWorld world;
    world.noteChanges();
    [KXFileManager lockFile:world.file("a")];
    EXPECT_EQ(world.changes(), (Calls{{"lock", world.at("a")}}));
    [KXFileManager lockFile:nil];
}
TEST(KXFileManager, unlockFile_) {
    FilesWorld world;
    world.noteChanges();
    [KXFileManager unlockFile:world.file("a")];
    EXPECT_EQ(world.changes(), (Calls{{"unlock", world.at("a")}}));
    [KXFileManager unlockFile:nil];
}
TEST(KXFileManager, lockFolder_) {
    FilesWorld world;
    world.noteChanges();
    world.file("a/b/c");
    [KXFileManager lockFolder:world.path("a")];
    EXPECT_EQ(world.changes(), (Calls{{"lock", world.at("a/b/c")}}));
    [KXFileManager lockFolder:nil];
}
TEST(KXFileManager, unlockFolder_) {
    FilesWorld world;
    world.noteChanges();
    world.file("a/b/c");
    [KXFileManager unlockFolder:world.path("a")];
    EXPECT_EQ(world.changes(), (Calls{{"unlock", world.at("a/b/c")}}));
    [KXFileManager unlockFolder:nil];
}
TEST(KXFileManager, setPosixPermissions_forFile_) {
    FilesWorld world;
    [KXFileManager setPosixPermissions:0741 forFile:world.file("a")];
    EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(world.at("a")).permissions()), 0741U);
    [KXFileManager setPosixPermissions:0741 forFile:nil];
    EXPECT_EQ(world.logged().size(), 1U);
}
TEST(KXFileManager, touchFile_) {
    FilesWorld world;
    const HeldTime time(world.platform_);
    EXPECT_TRUE([KXFileManager touchFile:world.file("a")]);
    EXPECT_EQ(world.tasks_.launched.front(), "/usr/bin/touch -c " + world.at("a"));
    EXPECT_EQ(world.applications_.noted, StringList{world.at("a")});
    EXPECT_FALSE([KXFileManager touchFile:nil]);
}
TEST(KXFileManager, touchFile_setCreationDate_) {
    class Dates : public ForwardingAttributes {
      public:
        StringList set;
        quillmoor::Outcome setCreationDate(const std::string& path,
                                           std::chrono::system_clock::time_point) override {
            set.push_back(path);
            return quillmoor::Outcome::success();
        }
    } dates;
    FilesWorld world;
    const HeldTime time(world.platform_);
    NSString* path = world.file("a");
    world.platform_->attributes = &dates;
    EXPECT_TRUE([KXFileManager touchFile:path setCreationDate:NO]);
    EXPECT_EQ(dates.set, StringList());
    EXPECT_TRUE([KXFileManager touchFile:path setCreationDate:YES]);
    EXPECT_EQ(dates.set, StringList{world.at("a")});
    EXPECT_FALSE([KXFileManager touchFile:nil setCreationDate:YES]);
}
TEST(KXFileManager, setModificationDate_forFile_) {
    FilesWorld world;
    NSString* path = world.file("a");
    NSDate* date = [NSDate dateWithTimeIntervalSince1970:1000000000.5];
    EXPECT_TRUE([KXFileManager setModificationDate:date forFile:path]);
    struct stat status {};
    ASSERT_EQ(::stat(world.at("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, 1000000000);
    EXPECT_EQ(status.st_mtim.tv_nsec, 500000000);
    EXPECT_FALSE([KXFileManager setModificationDate:nil forFile:path]);
    EXPECT_FALSE([KXFileManager setModificationDate:date forFile:nil]);
    EXPECT_TRUE([KXFileManager setModificationDate:[NSDate distantFuture] forFile:path]);
    EXPECT_TRUE([KXFileManager setModificationDate:[NSDate distantPast] forFile:path]);
}

TEST(KXFileManager, waitForFileCreation_timeout_) {
    FilesWorld world;
    [KXFileManager waitForFileCreation:world.path("a") timeout:0];
    EXPECT_EQ(world.logged(), StringList());
    [KXFileManager waitForFileCreation:world.path("a") timeout:1000];
    EXPECT_EQ(world.logged(),
              StringList{"File " + world.at("a") + " is not yet created. Waiting..."});
    [KXFileManager waitForFileCreation:nil timeout:0];
}
TEST(KXFileManager, waitForFileWrites_) {
    FilesWorld world;
    [KXFileManager setModificationDate:[NSDate dateWithTimeIntervalSince1970:1000]
                               forFile:world.file("a")];
    [KXFileManager waitForFileWrites:world.path("a")];
    [KXFileManager waitForFileWrites:nil];
    EXPECT_EQ(world.logged(), StringList());
}
TEST(KXFileManager, waitForFileWrites_lockFile_) {
    FilesWorld world;
    [KXFileManager setModificationDate:[NSDate dateWithTimeIntervalSince1970:1000]
                               forFile:world.file("a")];
    world.file("a.lock");
    [KXFileManager waitForFileWrites:world.path("a") lockFile:nil];
    EXPECT_EQ(world.logged(), StringList());
    [KXFileManager waitForFileWrites:world.path("a") lockFile:@"a.lock"];
    EXPECT_EQ(world.logged(),
              (StringList{"File " + world.at("a") + " is currently being written to. Waiting...",
                          "File " + world.at("a") + " finished writing."}));
    [KXFileManager waitForFileWrites:nil lockFile:nil];
}

TEST(KXFileManager, filesMatchingWildcardPath_) {
    FilesWorld world;
    world.file("a.txt");
    world.file("b\xFF.txt");
    NSArray* list = [KXFileManager filesMatchingWildcardPath:world.path("*.txt")];
    EXPECT_EQ(textOf([list componentsJoinedByString:@" "]), world.at("a.txt"));
    EXPECT_EQ([[KXFileManager filesMatchingWildcardPath:nil] count],
              quillmoor::KXFileManager::filesMatchingWildcardPath(std::nullopt).size());
}
TEST(KXFileManager, filesMatchingWildcardPath_fromBasePath_) {
    FilesWorld world;
    world.file("a/b.txt");
    NSArray* list = [KXFileManager filesMatchingWildcardPath:@"/a/*"
                                                fromBasePath:string(world.folder_.path())];
    EXPECT_EQ(textOf([list componentsJoinedByString:@" "]), world.at("a/b.txt"));
    EXPECT_EQ([[KXFileManager filesMatchingWildcardPath:@"a" fromBasePath:nil] count], 1U);
    [KXFileManager filesMatchingWildcardPath:nil fromBasePath:nil];
}
TEST(KXFileManager, decodeWildcardPath_fromBasePath_) {
    FilesWorld world;
    world.file("a/b.txt");
    EXPECT_EQ(textOf([KXFileManager decodeWildcardPath:@"a/*"
                                          fromBasePath:string(world.folder_.path())]),
              world.at("a/b.txt"));
    EXPECT_EQ([KXFileManager decodeWildcardPath:@"nowhere*/x" fromBasePath:nil], nil);
    EXPECT_EQ([KXFileManager decodeWildcardPath:nil fromBasePath:nil], nil);
}
TEST(KXFileManager, validateFilename_) {
    EXPECT_EQ(textOf([KXFileManager validateFilename:@" My/File:1 "]), "MyFile1");
    EXPECT_EQ(textOf([KXFileManager validateFilename:@"."]), "");
    EXPECT_EQ([KXFileManager validateFilename:nil], nil);
}
TEST(KXFileManager, uniqueFilename_) {
    FilesWorld world;
    EXPECT_EQ(textOf([KXFileManager uniqueFilename:world.file("a.txt")]), world.at("a 2.txt"));
    EXPECT_EQ(textOf([KXFileManager uniqueFilename:world.path("b.txt")]), world.at("b.txt"));
    EXPECT_EQ([KXFileManager uniqueFilename:nil], nil);
}

TEST(KXFileManager, finderColorIndexForPath_) {
    FilesWorld world;
    world.finder_.info.setFinderFlags(0x010C);
    EXPECT_EQ([KXFileManager finderColorIndexForPath:world.file("a")], 0x010C);
    EXPECT_EQ([KXFileManager finderColorIndexForPath:world.path("gone")], 0);
    EXPECT_EQ([KXFileManager finderColorIndexForPath:nil], 0);
}
TEST(KXFileManager, setFinderColorIndex_forPath_) {
    FilesWorld world;
    world.finder_.info.setFinderFlags(0x0101);
    [KXFileManager setFinderColorIndex:13 forPath:world.file("a")];
    EXPECT_EQ(world.finder_.info.finderFlags(), 0x010D);
    [KXFileManager setFinderColorIndex:2 forPath:nil];
    EXPECT_EQ(world.finder_.info.finderFlags(), 0x010D);
}
TEST(KXFileManager, finderColorForColorIndex_) {
    NSColor* colour = [KXFileManager finderColorForColorIndex:5];
    EXPECT_NEAR([colour hueComponent], 0.2056, 1e-4);
    EXPECT_NEAR([colour saturationComponent], 0.5, 1e-4);
    EXPECT_NEAR([colour brightnessComponent], 0.85, 1e-4);
    EXPECT_NEAR([colour alphaComponent], 1, 1e-4);
    for (const int value : {0, 1, 16, -2})
        EXPECT_EQ([KXFileManager finderColorForColorIndex:value], nil) << value;
}
TEST(KXFileManager, finderColorForPath_) {
    FilesWorld world;
    world.finder_.info.setFinderFlags(12);
    EXPECT_NEAR([[KXFileManager finderColorForPath:world.file("a")] hueComponent], 0.0083, 1e-4);
    world.finder_.info.setFinderFlags(0x010C);
    EXPECT_EQ([KXFileManager finderColorForPath:world.path("a")], nil);
    EXPECT_EQ([KXFileManager finderColorForPath:nil], nil);
}

namespace {

struct ArchiveWorld : FilesWorld {
    ArchiveWorld() { platform_->toolPaths = &tools_; }
};

// What the archiving tool was started with.
std::string archiving(const FilesWorld& world) {
    const std::string& line = world.tasks_.launched.front();
    return line.substr(line.find(' ') + 1);
}

}  // namespace

TEST(KXFileManager, compressFile_toDestinationFile_) {
    ArchiveWorld world;
    EXPECT_FALSE([KXFileManager compressFile:world.file("a") toDestinationFile:world.path("b")]);
    EXPECT_EQ(archiving(world), "-ck --keepParent " + world.at("a") + " " + world.at("b"));
    EXPECT_FALSE([KXFileManager compressFile:nil toDestinationFile:nil]);
}
TEST(KXFileManager, compressFile_toDestinationFile_includeParent_) {
    ArchiveWorld world;
    EXPECT_FALSE([KXFileManager compressFile:world.file("a")
                           toDestinationFile:world.path("b")
                               includeParent:NO]);
    EXPECT_EQ(archiving(world), "-ck " + world.at("a") + " " + world.at("b"));
    world.tasks_.launched.clear();
    EXPECT_FALSE([KXFileManager compressFile:nil toDestinationFile:nil includeParent:YES]);
    EXPECT_EQ(archiving(world), "-ck --keepParent");
}
TEST(KXFileManager, decompressFile_toDestinationFolder_) {
    ArchiveWorld world;
    EXPECT_FALSE([KXFileManager decompressFile:world.file("a")
                           toDestinationFolder:world.path("b")]);
    EXPECT_EQ(archiving(world), "-xk " + world.at("a") + " " + world.at("b"));
    world.tasks_.launched.clear();
    EXPECT_FALSE([KXFileManager decompressFile:nil toDestinationFolder:world.path("b")]);
    EXPECT_EQ(archiving(world), "-xk");
    world.tasks_.launched.clear();
    EXPECT_FALSE([KXFileManager decompressFile:world.file("a") toDestinationFolder:nil]);
    EXPECT_EQ(archiving(world), "-xk " + world.at("a"));
}
