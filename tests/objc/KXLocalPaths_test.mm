#import "objc/KXLocalPaths.h"

#include "quillmoor/paths/KXLocalPaths.h"
#include "tests/objc/objc_support.h"

using Paths = quillmoor::KXLocalPaths;
using quillmoor::UserDomain;
using quillmoor::test::string;
using quillmoor::test::textOf;

// The same as the C++ operation's, for both domains, which must differ where they can.
#define EXPECT_SAME_IN_BOTH_DOMAINS(query)                                              \
    EXPECT_EQ(textOf([KXLocalPaths query:YES]), textOf(Paths::query(UserDomain::Yes))); \
    EXPECT_EQ(textOf([KXLocalPaths query:NO]), textOf(Paths::query(UserDomain::No)));   \
    EXPECT_NE(Paths::query(UserDomain::Yes), Paths::query(UserDomain::No))
#define EXPECT_SAME(query) EXPECT_EQ(textOf([KXLocalPaths query]), textOf(Paths::query()))

TEST(KXLocalPaths, pathForDirectory_forUserDomain_) {
    EXPECT_EQ(textOf([KXLocalPaths pathForDirectory:NSLibraryDirectory
                                      forUserDomain:NSUserDomainMask]),
              textOf(Paths::libraryDirectory(UserDomain::Yes)));
    EXPECT_EQ(textOf([KXLocalPaths pathForDirectory:NSLibraryDirectory
                                      forUserDomain:NSLocalDomainMask]),
              "/Library");
    EXPECT_EQ([KXLocalPaths pathForDirectory:static_cast<NSSearchPathDirectory>(999)
                               forUserDomain:NSUserDomainMask],
              nil);
}
TEST(KXLocalPaths, applicationDirectory_) {
    EXPECT_SAME_IN_BOTH_DOMAINS(applicationDirectory);
}
TEST(KXLocalPaths, adminApplicationDirectory_) {
    EXPECT_SAME_IN_BOTH_DOMAINS(adminApplicationDirectory);
}
TEST(KXLocalPaths, documentDirectory_) {
    EXPECT_SAME_IN_BOTH_DOMAINS(documentDirectory);
}
TEST(KXLocalPaths, libraryDirectory_) {
    EXPECT_SAME_IN_BOTH_DOMAINS(libraryDirectory);
}
TEST(KXLocalPaths, prefsDirectory_) {
    EXPECT_SAME_IN_BOTH_DOMAINS(prefsDirectory);
}
TEST(KXLocalPaths, cacheDirectory_) {
    EXPECT_SAME_IN_BOTH_DOMAINS(cacheDirectory);
}
TEST(KXLocalPaths, appSupportDirectory_) {
    EXPECT_SAME_IN_BOTH_DOMAINS(appSupportDirectory);
}
TEST(KXLocalPaths, logDirectory_) {
    EXPECT_SAME_IN_BOTH_DOMAINS(logDirectory);
}
TEST(KXLocalPaths, movieDirectory) {
    EXPECT_SAME(movieDirectory);
}
TEST(KXLocalPaths, desktopDirectory) {
    EXPECT_SAME(desktopDirectory);
}
TEST(KXLocalPaths, systemLibraryDirectory) {
    EXPECT_EQ(textOf([KXLocalPaths systemLibraryDirectory]), "/System/Library");
}
TEST(KXLocalPaths, localDocumentationDirectory) {
    EXPECT_SAME(localDocumentationDirectory);
}
TEST(KXLocalPaths, trashDirectory) {
    EXPECT_SAME(trashDirectory);
}
TEST(KXLocalPaths, darwinCacheDirectory) {
    EXPECT_SAME(darwinCacheDirectory);
}
TEST(KXLocalPaths, userDirectory) {
    EXPECT_SAME(userDirectory);
}
TEST(KXLocalPaths, username) {
    EXPECT_SAME(username);
}
TEST(KXLocalPaths, currentConsoleUser) {
    EXPECT_SAME(currentConsoleUser);
}

TEST(KXLocalPaths, isPathOnTimeMachineVolume_) {
    EXPECT_TRUE([KXLocalPaths isPathOnTimeMachineVolume:@"/Volumes/Disk/Backups.backupdb/host"]);
    EXPECT_FALSE([KXLocalPaths isPathOnTimeMachineVolume:@"/Backups.backupdb/x"]);
    EXPECT_FALSE([KXLocalPaths isPathOnTimeMachineVolume:nil]);
}

TEST(KXLocalPaths, isPathSystemDirectory_exactMatch_) {
    EXPECT_TRUE([KXLocalPaths isPathSystemDirectory:@"/Users/Shared" exactMatch:YES]);
    EXPECT_TRUE([KXLocalPaths isPathSystemDirectory:@"/usr/local/bin" exactMatch:NO]);
    EXPECT_FALSE([KXLocalPaths isPathSystemDirectory:@"/usr/local/bin" exactMatch:YES]);
    EXPECT_FALSE([KXLocalPaths isPathSystemDirectory:nil exactMatch:NO]);
}
TEST(KXLocalPaths, isPathSystemDirectory_) {
    EXPECT_TRUE([KXLocalPaths isPathSystemDirectory:@"/usr/local/bin"]);
    EXPECT_FALSE([KXLocalPaths isPathSystemDirectory:@"/Volumes/"]);
    EXPECT_FALSE([KXLocalPaths isPathSystemDirectory:nil]);
}

TEST(KXLocalPaths, tempDirectory) {
    EXPECT_EQ(textOf([KXLocalPaths tempDirectory]), Paths::tempDirectory());
}
TEST(KXLocalPaths, uuid) {
    EXPECT_GT([[KXLocalPaths uuid] length], 0U);
    EXPECT_NE(textOf([KXLocalPaths uuid]), textOf([KXLocalPaths uuid]));
}
TEST(KXLocalPaths, randomString_) {
    EXPECT_EQ([[KXLocalPaths randomString:0] length], 0U);
    NSMutableString* text = [KXLocalPaths randomString:8];
    NSCharacterSet* others = [[NSCharacterSet
        characterSetWithCharactersInString:@"abcdefghijklmnopqrstuvwxyz0123456789"] invertedSet];
    EXPECT_EQ([text length], 8U);
    EXPECT_EQ([text rangeOfCharacterFromSet:others].length, 0U);
    [text appendString:@"!"];
    EXPECT_EQ([text length], 9U);
}
TEST(KXLocalPaths, tempFile) {
    NSString* path = [KXLocalPaths tempFile];
    EXPECT_EQ(textOf([path stringByDeletingLastPathComponent]), Paths::tempDirectory());
    EXPECT_FALSE([[NSFileManager defaultManager] fileExistsAtPath:path]);
}

TEST(LocalPaths, HasNoFolderWhosePathIsNotValidUtf8) {
    ::setenv("HOME", "/tmp/\xFF", 1);
    EXPECT_TRUE(Paths::libraryDirectory(UserDomain::Yes).has_value());
    if (::getuid() != 0) EXPECT_EQ([KXLocalPaths libraryDirectory:YES], nil);
}
