// Trashing, removing, creating, copying and moving.
#include "tests/objc/files_world.h"

using namespace quillmoor::test;
using quillmoor::StringList;

namespace {

// The short form asks for administrator rights, and so does `shouldAuth` YES.
void expectToolsFor(const std::function<BOOL()>& shortForm, const std::function<BOOL(BOOL)>& form,
                    FilesWorld& world, const std::string& tool) {
    world.refuse();
    EXPECT_FALSE(form(NO));
    EXPECT_EQ(world.started().size(), 0U);
    EXPECT_TRUE(form(YES));
    ASSERT_EQ(world.started().size(), 1U);
    EXPECT_TRUE(world.started().front().starts_with(tool)) << world.started().front();
    EXPECT_TRUE(shortForm());
    EXPECT_EQ(world.started().size(), 2U);
}

}  // namespace

TEST(KXFileManager, trashFile_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager trashFile:world.file("a")]);
    EXPECT_EQ(readFile(world.trash() + "/a"), "text");
    EXPECT_FALSE(world.exists("a"));
    EXPECT_TRUE([KXFileManager trashFile:nil]);
}
TEST(KXFileManager, trashFile_shouldAuth_) {
    FilesWorld world;
    NSString* path = world.file("a");
    expectToolsFor([&] { return [KXFileManager trashFile:path]; },
                   [&](BOOL auth) { return [KXFileManager trashFile:path shouldAuth:auth]; }, world,
                   "/bin/mv -f ");
    EXPECT_TRUE([KXFileManager trashFile:nil shouldAuth:NO]);
}
TEST(KXFileManager, trashFile_timeout_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager trashFile:world.file("a") timeout:1]);
    EXPECT_FALSE(world.exists("a"));
    world.refuse();
    EXPECT_FALSE([KXFileManager trashFile:world.file("b") timeout:0]);
    EXPECT_TRUE([KXFileManager trashFile:nil timeout:0]);
}
TEST(KXFileManager, trashDirectoryContents_) {
    FilesWorld world;
    world.file("a/b");
    world.file("a/.c");
    EXPECT_TRUE([KXFileManager trashDirectoryContents:world.path("a")]);
    EXPECT_TRUE(std::filesystem::is_empty(world.at("a")));
    EXPECT_TRUE(somethingAt(world.trash() + "/.c"));
    EXPECT_TRUE([KXFileManager trashDirectoryContents:nil]);
}
TEST(KXFileManager, trashDirectoryContents_shouldAuth_) {
    FilesWorld world;
    world.file("a/b");
    NSString* path = world.path("a");
    expectToolsFor(
        [&] { return [KXFileManager trashDirectoryContents:path]; },
        [&](BOOL auth) { return [KXFileManager trashDirectoryContents:path shouldAuth:auth]; },
        world, "/bin/mv -f ");
    EXPECT_TRUE([KXFileManager trashDirectoryContents:nil shouldAuth:NO]);
}
TEST(KXFileManager, trashFilesOfType_inFolder_) {
    FilesWorld world;
    world.file("a/b.MOV");
    world.file("a/c/d.txt");
    NSMutableArray* list = [KXFileManager trashFilesOfType:@"mov" inFolder:world.path("a")];
    EXPECT_EQ(textOf([list componentsJoinedByString:@" "]), world.at("a/b.MOV"));
    EXPECT_FALSE(world.exists("a/b.MOV"));
    [list addObject:@"mutable"];
    EXPECT_EQ([[KXFileManager trashFilesOfType:nil inFolder:nil] count], 0U);
    EXPECT_EQ([[KXFileManager trashFilesOfType:@"mov" inFolder:nil] count], 0U);
}
TEST(KXFileManager, trashFilesNamed_inFolder_) {
    FilesWorld world;
    world.file("a/b.txt");
    world.file("a/B.txt");
    world.file("a/\xFF/b.txt");
    NSMutableArray* list = [KXFileManager trashFilesNamed:@"b.txt" inFolder:world.path("a")];
    // The path that is not valid UTF-8 is left out, but trashed.
    EXPECT_EQ(textOf([list componentsJoinedByString:@" "]), world.at("a/b.txt"));
    EXPECT_FALSE(world.exists("a/\xFF/b.txt"));
    EXPECT_TRUE(world.exists("a/B.txt"));
    EXPECT_EQ([[KXFileManager trashFilesNamed:nil inFolder:nil] count], 0U);
}

TEST(KXFileManager, removeFile_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager removeFile:world.file("a")]);
    EXPECT_FALSE(world.exists("a"));
    EXPECT_TRUE([KXFileManager removeFile:nil]);
}
TEST(KXFileManager, removeFile_shouldAuth_) {
    FilesWorld world;
    NSString* path = world.file("a");
    expectToolsFor([&] { return [KXFileManager removeFile:path]; },
                   [&](BOOL auth) { return [KXFileManager removeFile:path shouldAuth:auth]; },
                   world, "/bin/rm -Rdf ");
    EXPECT_TRUE([KXFileManager removeFile:nil shouldAuth:NO]);
}
TEST(KXFileManager, removeFile_timeout_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager removeFile:world.file("a") timeout:1]);
    world.refuse();
    EXPECT_FALSE([KXFileManager removeFile:world.file("b") timeout:0]);
    EXPECT_TRUE([KXFileManager removeFile:nil timeout:0]);
}
TEST(KXFileManager, removeFolderIfEmpty_) {
    FilesWorld world;
    world.file("a/.DS_Store");
    world.file("b/c");
    EXPECT_TRUE([KXFileManager removeFolderIfEmpty:world.path("a")]);
    EXPECT_FALSE([KXFileManager removeFolderIfEmpty:world.path("b")]);
    EXPECT_FALSE(world.exists("a"));
    EXPECT_TRUE(world.exists("b"));
    EXPECT_EQ([KXFileManager removeFolderIfEmpty:nil],
              quillmoor::KXFileManager::removeFolderIfEmpty(std::nullopt));
}

TEST(KXFileManager, createDirectory_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager createDirectory:world.path("a/b")]);
    EXPECT_TRUE(std::filesystem::is_directory(world.at("a/b")));
    EXPECT_EQ([KXFileManager createDirectory:nil],
              quillmoor::KXFileManager::createDirectory(std::nullopt));
}
TEST(KXFileManager, createDirectory_shouldAuth_) {
    FilesWorld world;
    NSString* path = world.path("a");
    expectToolsFor([&] { return [KXFileManager createDirectory:path]; },
                   [&](BOOL auth) { return [KXFileManager createDirectory:path shouldAuth:auth]; },
                   world, "/bin/mkdir -p ");
    EXPECT_FALSE([KXFileManager createDirectory:nil shouldAuth:NO]);
}
TEST(KXFileManager, createDirectory_timeout_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager createDirectory:world.path("a") timeout:1]);
    EXPECT_TRUE(world.exists("a"));
    world.refuse();
    EXPECT_FALSE([KXFileManager createDirectory:world.path("b") timeout:0]);
    EXPECT_FALSE([KXFileManager createDirectory:nil timeout:0]);
}
TEST(KXFileManager, createDirectoryStructure_destination_) {
    FilesWorld world;
    NSString* made = [KXFileManager createDirectoryStructure:world.file("a/b")
                                                 destination:world.path("c")];
    EXPECT_EQ(textOf(made), world.at("c") + world.at("a"));
    EXPECT_TRUE(somethingAt(world.at("c") + world.at("a")));
    EXPECT_EQ([KXFileManager createDirectoryStructure:nil destination:world.path("c")], nil);
    EXPECT_EQ([KXFileManager createDirectoryStructure:world.path("a") destination:nil], nil);
}
TEST(KXFileManager, createEmptyFile_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager createEmptyFile:world.path("a")]);
    EXPECT_TRUE(std::filesystem::is_empty(world.at("a")));
    EXPECT_FALSE([KXFileManager createEmptyFile:nil]);
}

TEST(KXFileManager, copyFile_toPath_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager copyFile:world.file("a") toPath:world.path("b")]);
    EXPECT_EQ(readFile(world.at("b")), "text");
    EXPECT_TRUE(world.exists("a"));
    EXPECT_FALSE([KXFileManager copyFile:nil toPath:world.path("c")]);
    EXPECT_FALSE([KXFileManager copyFile:world.path("a") toPath:nil]);
    EXPECT_EQ(world.logged(),
              (StringList{"Error copying file: source path is nil",
                          "Error copying file " + world.at("a") + ": destination path is nil"}));
}
TEST(KXFileManager, copyFile_toPath_shouldAuth_) {
    FilesWorld world;
    NSString* from = world.file("a");
    NSString* to = world.path("b");
    expectToolsFor(
        [&] { return [KXFileManager copyFile:from toPath:to]; },
        [&](BOOL auth) { return [KXFileManager copyFile:from toPath:to shouldAuth:auth]; }, world,
        "/bin/cp -f -p -R ");
    EXPECT_FALSE([KXFileManager copyFile:nil toPath:nil shouldAuth:NO]);
}
TEST(KXFileManager, copyFile_toPath_timeout_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager copyFile:world.file("a") toPath:world.path("b") timeout:1]);
    EXPECT_EQ(readFile(world.at("b")), "text");
    world.refuse();
    EXPECT_FALSE([KXFileManager copyFile:world.path("a") toPath:world.path("c") timeout:0]);
    EXPECT_FALSE([KXFileManager copyFile:nil toPath:nil timeout:0]);
}
TEST(KXFileManager, copyContentsOfDirectory_toPath_timeout_) {
    FilesWorld world;
    world.file("a/b");
    world.file("a/c/d");
    world.folder("e");
    EXPECT_TRUE([KXFileManager copyContentsOfDirectory:world.path("a")
                                                toPath:world.path("e")
                                               timeout:1]);
    EXPECT_TRUE(world.exists("e/b"));
    EXPECT_TRUE(world.exists("e/c/d"));
    EXPECT_TRUE([KXFileManager copyContentsOfDirectory:nil toPath:nil timeout:0]);
}

TEST(KXFileManager, moveFile_toPath_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager moveFile:world.file("a") toPath:world.path("b")]);
    EXPECT_FALSE(world.exists("a"));
    EXPECT_EQ(readFile(world.at("b")), "text");
    EXPECT_FALSE([KXFileManager moveFile:nil toPath:world.path("c")]);
    EXPECT_FALSE([KXFileManager moveFile:world.path("b") toPath:nil]);
}
TEST(KXFileManager, moveFile_toPath_shouldAuth_) {
    FilesWorld world;
    NSString* from = world.file("a");
    NSString* to = world.path("b");
    expectToolsFor(
        [&] { return [KXFileManager moveFile:from toPath:to]; },
        [&](BOOL auth) { return [KXFileManager moveFile:from toPath:to shouldAuth:auth]; }, world,
        "/bin/mv -f ");
    EXPECT_FALSE([KXFileManager moveFile:nil toPath:nil shouldAuth:NO]);
}
TEST(KXFileManager, moveFile_toPath_timeout_) {
    FilesWorld world;
    EXPECT_TRUE([KXFileManager moveFile:world.file("a") toPath:world.path("b") timeout:1]);
    EXPECT_EQ(readFile(world.at("b")), "text");
    world.refuse();
    EXPECT_FALSE([KXFileManager moveFile:world.path("b") toPath:world.path("c") timeout:0]);
    EXPECT_EQ(
        [KXFileManager moveFile:nil toPath:nil timeout:0],
        quillmoor::KXFileManager::moveFile(std::nullopt, std::nullopt, std::chrono::seconds(0)));
}
