#include "quillmoor/base/paths.h"

#include <gtest/gtest.h>

#include <set>

namespace quillmoor {
namespace {

TEST(PathComponents, OfAnEmptyPathAndOfSlashesOnly) {
    EXPECT_EQ(pathComponents(""), StringList{});
    EXPECT_EQ(pathComponents("/"), StringList{"/"});
    EXPECT_EQ(pathComponents("//"), StringList{"/"});
}

TEST(PathComponents, DoubledAndTrailingSlashesGiveNoComponent) {
    EXPECT_EQ(pathComponents("/a/b"), (StringList{"/", "a", "b"}));
    EXPECT_EQ(pathComponents("/a//b"), (StringList{"/", "a", "b"}));
    EXPECT_EQ(pathComponents("a/b/"), (StringList{"a", "b"}));
    EXPECT_EQ(pathComponents("/Volumes/"), (StringList{"/", "Volumes"}));
}

TEST(PathComponents, KeepsTildeAndDots) {
    EXPECT_EQ(pathComponents("~/x"), (StringList{"~", "x"}));
    EXPECT_EQ(pathComponents("."), StringList{"."});
}

TEST(ComponentsJoined, TreatsTheRootLikeAnyOtherComponent) {
    EXPECT_EQ(componentsJoined({"/", "Volumes", "D"}, "/"), "//Volumes/D");
    EXPECT_EQ(componentsJoined({}, "/"), "");
}

TEST(AppendPathComponent, PutsExactlyOneSlashBetween) {
    EXPECT_EQ(appendPathComponent("/tmp", "x"), "/tmp/x");
    EXPECT_EQ(appendPathComponent("/tmp/", "x"), "/tmp/x");
    EXPECT_EQ(appendPathComponent("/tmp//", "//x"), "/tmp/x");
    EXPECT_EQ(appendPathComponent("/", "x"), "/x");
    EXPECT_EQ(appendPathComponent("/tmp", "/Library"), "/tmp/Library");
    EXPECT_EQ(appendPathComponent("/Backup", "/U/al/M"), "/Backup/U/al/M");
}

TEST(AppendPathComponent, ToAnEmptyPathGivesTheComponent) {
    EXPECT_EQ(appendPathComponent("", "x"), "x");
    EXPECT_EQ(appendPathComponent("", "/x"), "/x");
}

TEST(AppendPathComponent, DropsTrailingSlashesAndEmptyComponents) {
    EXPECT_EQ(appendPathComponent("/tmp", "x/"), "/tmp/x");
    EXPECT_EQ(appendPathComponent("/tmp", ""), "/tmp");
    EXPECT_EQ(appendPathComponent("/tmp/", "/"), "/tmp");
    EXPECT_EQ(appendPathComponent("/", ""), "/");
}

TEST(AppendPathComponent, NormalisesNothingInside) {
    EXPECT_EQ(appendPathComponent("/a//b", "c"), "/a//b/c");
    EXPECT_EQ(appendPathComponent("/a/..", "./c"), "/a/.././c");
}

TEST(AppendPathComponent, OfNilIsNil) {
    EXPECT_EQ(appendPathComponent("x", std::nullopt), std::nullopt);
    EXPECT_EQ(appendPathComponent(std::nullopt, "x"), std::nullopt);
}

TEST(LastPathComponent, IgnoresTrailingSlashes) {
    EXPECT_EQ(lastPathComponent("/a/b"), "b");
    EXPECT_EQ(lastPathComponent("/tmp/"), "tmp");
    EXPECT_EQ(lastPathComponent("scratch///"), "scratch");
    EXPECT_EQ(lastPathComponent("a"), "a");
}

TEST(LastPathComponent, OfTheRootIsTheRoot) {
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(lastPathComponent("//"), "/");
    EXPECT_EQ(lastPathComponent(""), "");
}

TEST(DeleteLastPathComponent, GivesTheParentFolder) {
    EXPECT_EQ(deleteLastPathComponent("/a/b"), "/a");
    EXPECT_EQ(deleteLastPathComponent("/a/b/"), "/a");
    EXPECT_EQ(deleteLastPathComponent("/tmp"), "/");
    EXPECT_EQ(deleteLastPathComponent("/tmp/"), "/");
    EXPECT_EQ(deleteLastPathComponent("a/b"), "a");
}

TEST(DeleteLastPathComponent, OfOneComponentGivesAnEmptyPath) {
    EXPECT_EQ(deleteLastPathComponent("/"), "/");
    EXPECT_EQ(deleteLastPathComponent("a"), "");
    EXPECT_EQ(deleteLastPathComponent(""), "");
}

TEST(PathExtension, IsWhatFollowsTheLastFullStop) {
    EXPECT_EQ(pathExtension("a.tar.gz"), "gz");
    EXPECT_EQ(pathExtension("a."), "");
    EXPECT_EQ(pathExtension("a"), "");
    EXPECT_EQ(pathExtension("a..b"), "b");
    EXPECT_EQ(pathExtension("a.b c"), "b c");
    EXPECT_EQ(pathExtension("s.bundle/"), "bundle");
}

TEST(PathExtension, OfAHiddenNameIsEmpty) {
    EXPECT_EQ(pathExtension(".bashrc"), "");
    EXPECT_EQ(pathExtension("/a/.b.c"), "c");
    EXPECT_EQ(pathExtension("/x.y/z"), "");
    for (const char* path : {".", "..", "/", ""}) EXPECT_EQ(pathExtension(path), "") << path;
}

TEST(DeletePathExtension, RemovesTheLastExtension) {
    EXPECT_EQ(deletePathExtension("a.tar.gz"), "a.tar");
    EXPECT_EQ(deletePathExtension("/a/.b.c"), "/a/.b");
    EXPECT_EQ(deletePathExtension("s.bundle/"), "s");
    EXPECT_EQ(deletePathExtension("a..b"), "a.");
}

TEST(DeletePathExtension, LeavesANameWithoutExtensionUnchanged) {
    for (const char* path : {"a.", "a", ".bashrc", "/x.y/z", ".", "..", "/", ""})
        EXPECT_EQ(deletePathExtension(path), path);
}

TEST(AppendPathExtension, IsAddedAtTheEnd) {
    EXPECT_EQ(appendPathExtension("a", "txt"), "a.txt");
    EXPECT_EQ(appendPathExtension("a/", "txt"), "a.txt");
}

TEST(StampedPath, PutsTheStampBeforeTheExtension) {
    EXPECT_EQ(stampedPath("/T/a.txt", "20240131235959", "txt"), "/T/a_20240131235959.txt");
}

TEST(StampedPath, WithoutAnExtensionEndsInAFullStop) {
    EXPECT_EQ(stampedPath("/T/report", "20240131235959", ""), "/T/report_20240131235959.");
}

std::string uniqueBeside(const char* path) {
    const std::set<std::string> taken = {path};
    return uniqueFilename(path, [&](const std::string& name) { return taken.contains(name); });
}

TEST(UniqueFilename, NumbersTheNameBeforeItsLastExtension) {
    EXPECT_EQ(uniqueBeside("/t/a.txt"), "/t/a 2.txt");
    EXPECT_EQ(uniqueBeside("/t/.bashrc"), "/t/.bashrc 2");
    EXPECT_EQ(uniqueBeside("/t/a.tar.gz"), "/t/a.tar 2.gz");
    EXPECT_EQ(uniqueBeside("/t/Dir/"), "/t/Dir 2");
}

TEST(UniqueFilename, CountsUntilANameIsFree) {
    const std::set<std::string> taken = {"/t/a.txt", "/t/a 2.txt"};
    const auto exists = [&](const std::string& name) { return taken.contains(name); };
    EXPECT_EQ(uniqueFilename("/t/a.txt", exists), "/t/a 3.txt");
    EXPECT_EQ(uniqueFilename("/t/b.txt", exists), "/t/b.txt");
}

}  // namespace
}  // namespace quillmoor
