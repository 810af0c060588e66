#include "tests/objc/files_world.h"

using namespace quillmoor::test;
using quillmoor::StringList;

TEST(KXFileManager, fileExistsAtPath_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager fileExistsAtPath:world.file("a")]);
    EXPECT_FALSE([KXFileManager fileExistsAtPath:world.path("b")]);
    EXPECT_FALSE([KXFileManager fileExistsAtPath:nil]);
}
TEST(KXFileManager, isDirectoryAtPath_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager isDirectoryAtPath:world.folder("a")]);
    EXPECT_FALSE([KXFileManager isDirectoryAtPath:world.file("b")]);
    EXPECT_FALSE([KXFileManager isDirectoryAtPath:nil]);
}
TEST(KXFileManager, isPackageAtPath_) {
    FilesWorld world;
    world.folder("A.app/Contents");
    EXPECT_TRUE([KXFileManager isPackageAtPath:world.path("A.app")]);
    EXPECT_FALSE([KXFileManager isPackageAtPath:world.folder("b")]);
    EXPECT_FALSE([KXFileManager isPackageAtPath:nil]);
}
TEST(KXFileManager, isSymbolicLinkAtPath_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager isSymbolicLinkAtPath:string(world.folder_.makeLink("a", "gone"))]);
    EXPECT_FALSE([KXFileManager isSymbolicLinkAtPath:world.file("b")]);
    EXPECT_FALSE([KXFileManager isSymbolicLinkAtPath:nil]);
}
TEST(KXFileManager, isVolumeMountedForPath_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager isVolumeMountedForPath:@"/Users/alice/file"]);
    EXPECT_FALSE([KXFileManager isVolumeMountedForPath:@"/VolumesX/Gone/file"]);
    EXPECT_TRUE([KXFileManager isVolumeMountedForPath:nil]);
}
TEST(KXFileManager, isDriveMountedForPath_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager isDriveMountedForPath:@"/VolumesX/Gone/file"]);
    EXPECT_FALSE([KXFileManager isDriveMountedForPath:@"/Volumes/Gone/file"]);
    EXPECT_TRUE([KXFileManager isDriveMountedForPath:nil]);
    EXPECT_EQ(world.console_.logged, StringList{"mountpoint: //Volumes/Gone"});
}
TEST(KXFileManager, isFolderEmpty_) {
    FilesWorld world;
    world.file("a/.DS_Store");
    EXPECT_TRUE([KXFileManager isFolderEmpty:world.path("a")]);
    world.file("a/b");
    EXPECT_FALSE([KXFileManager isFolderEmpty:world.path("a")]);
    EXPECT_TRUE([KXFileManager isFolderEmpty:nil]);
}
TEST(KXFileManager, fileSize_) {
    FilesWorld world;
    world.file("a/b", "1234567890");
    world.file("a/c/d", "12345");
    EXPECT_EQ([KXFileManager fileSize:world.path("a")], 15U);
    EXPECT_EQ([KXFileManager fileSize:nil], 0U);
}
TEST(KXFileManager, formatFileSize_) {
    EXPECT_EQ(textOf([KXFileManager formatFileSize:1536]), "1.50 KB");
    EXPECT_EQ(textOf([KXFileManager formatFileSize:0]), "0 B");
}
TEST(KXFileManager, stringToFSRef_) {
    FilesWorld world;
    const FSRef reference = [KXFileManager stringToFSRef:world.file("a")];
    EXPECT_EQ(textOf([KXFileManager stringWithFSRef:&reference]), world.at("a"));
    const FSRef empty = [KXFileManager stringToFSRef:nil];
    EXPECT_EQ([KXFileManager stringWithFSRef:&empty], nil);
}
TEST(KXFileManager, stringWithFSRef_) {
    FilesWorld world;
    const FSRef reference = [KXFileManager stringToFSRef:world.file("a")];
    std::filesystem::remove(world.at("a"));
    EXPECT_EQ([KXFileManager stringWithFSRef:&reference], nil);
    EXPECT_EQ([KXFileManager stringWithFSRef:nullptr], nil);
}
TEST(KXFileManager, registerApplicationWithLaunchServices_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager registerApplicationWithLaunchServices:@"/A.app"]);
    EXPECT_FALSE([KXFileManager registerApplicationWithLaunchServices:@"/A.txt"]);
    EXPECT_FALSE([KXFileManager registerApplicationWithLaunchServices:nil]);
    EXPECT_EQ(world.applications_.registered.front(), "/A.app");
}
TEST(KXFileManager, notifyFileSystemChanged_) {
    FilesWorld world;
    [KXFileManager notifyFileSystemChanged:world.folder("a")];
    EXPECT_EQ(world.finder_.updated, StringList{world.at("a")});
    [KXFileManager notifyFileSystemChanged:nil];
}

TEST(ObjcFiles, SendTheFindersUpdateEvent) {
    FilesWorld world;
    const FSRef reference = [KXFileManager stringToFSRef:world.folder("a")];
    EXPECT_EQ(SendFinderSyncEvent(&reference), 0);
    EXPECT_EQ(world.finder_.updated, StringList{world.at("a")});
    EXPECT_EQ(SendFinderSyncEvent(nullptr), -50);
}
