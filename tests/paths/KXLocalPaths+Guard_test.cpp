#include <gtest/gtest.h>

#include "quillmoor/paths/KXLocalPaths.h"
#include "tests/paths/paths_support.h"

namespace quillmoor {
namespace {

using platform::SearchPathDirectory;
using platform::SearchPathDomainMask;

// Each kind's folder is named by its number: /Users/alice/K5 and /K5.
class Folders : public test::ForwardingLocations, public test::ForwardingProcessInfo {
  public:
    unsigned uid = 501;
    OptionalString console = "alice";
    bool hasFolders = true;
    StringList asked;

    unsigned realUserId() override { return uid; }
    OptionalString consoleUser() override { return console; }
    std::string home = "/Users/alice";
    std::string homeDirectory() override {
        asked.emplace_back("home");
        return ownHome();
    }
    OptionalPath homeDirectoryForUser(const OptionalString& name) override {
        if (!name) return "/var/root";
        return "/Users/" + *name;
    }
    StringList searchPaths(SearchPathDirectory directory, SearchPathDomainMask domain) override {
        const std::string kind = "/K" + std::to_string(static_cast<unsigned>(directory));
        const bool user = domain == SearchPathDomainMask::User;
        asked.push_back((user                                    ? "user"
                         : domain == SearchPathDomainMask::Local ? ""
                                                                 : "system") +
                        kind);
        if (!hasFolders) return {};
        if (domain == SearchPathDomainMask::System) return {"/Core" + kind};
        return {(user ? ownHome() : "") + kind};
    }

  private:
    std::string ownHome() const { return uid == 0 ? "/var/root" : home; }
};

class Guard : public ::testing::Test {
  protected:
    Guard() {
        platform_->locations = &folders_;
        platform_->processInfo = &folders_;
    }
    static bool broad(const OptionalPath& path) {
        return KXLocalPaths::isPathSystemDirectory(path, ExactMatch::No);
    }
    static bool exact(const OptionalPath& path) {
        return KXLocalPaths::isPathSystemDirectory(path, ExactMatch::Yes);
    }
    static bool both(const OptionalPath& path) { return broad(path) && exact(path); }
    static bool either(const OptionalPath& path) { return broad(path) || exact(path); }

    Folders folders_;
    test::ScopedPlatform platform_;
};

TEST_F(Guard, ProtectsTheRoot) {
    EXPECT_TRUE(both("/"));
}

TEST_F(Guard, DoesNotProtectPathsOfLessThanThreeCharacters) {
    EXPECT_FALSE(either("/a"));
    EXPECT_FALSE(either("//"));
    EXPECT_FALSE(either(""));
    EXPECT_FALSE(either(std::nullopt));
    EXPECT_TRUE(folders_.asked.empty());
}

TEST_F(Guard, CountsCharactersAndNotBytes) {
    EXPECT_FALSE(either("/\xC3\xA9"));
    EXPECT_TRUE(folders_.asked.empty());
    EXPECT_FALSE(either("/\xF0\x9F\x98\x80"));  // two units
    EXPECT_FALSE(folders_.asked.empty());
}

TEST_F(Guard, ProtectsSharedUsersAndVolumes) {
    EXPECT_TRUE(both("/Users/Shared"));
    EXPECT_TRUE(both("/Volumes"));
}

TEST_F(Guard, RemovesATrailingSlashWithTheCharacterBeforeIt) {
    EXPECT_FALSE(exact("/Users/Shared/"));
    EXPECT_FALSE(exact("/Volumes/"));
    EXPECT_TRUE(both("/VolumesX/"));
    EXPECT_TRUE(both("/Volumes\xC3\xA9/"));
    EXPECT_FALSE(either("/Volumes\xF0\x9F\x98\x80/"));  // half a character stays
    EXPECT_FALSE(broad("/usr/"));
    EXPECT_TRUE(both("/Volumes//"));
}

// The path without its slash is not compared with "/" and not checked for its length again.
TEST_F(Guard, DoesNotRepeatEarlierTestsAfterRemovingASlash) {
    EXPECT_FALSE(either("/a/"));
    EXPECT_FALSE(either("///"));
    folders_.home = "/a";
    EXPECT_TRUE(both("/ab/"));
}

TEST_F(Guard, ProtectsNoOtherSystemFolders) {
    for (const char* path : {"/etc", "/bin", "/sbin", "/boot", "/opt", "/home", "/tmp", "/root",
                             "/lib", "/dev", "/proc", "/sys", "/srv", "/mnt", "/media", "/run"})
        EXPECT_FALSE(either(path)) << path;
}

TEST_F(Guard, WritesNothingToTheConsole) {
    test::SilentConsole console;
    platform_->console = &console;
    EXPECT_TRUE(both("/"));
    EXPECT_TRUE(both("/Volumes"));
    EXPECT_FALSE(either("/elsewhere"));
    folders_.hasFolders = false;
    EXPECT_FALSE(either("/elsewhere"));
    EXPECT_EQ(console.lines, 0);
}

TEST_F(Guard, MayBeCalledFromAnyThread) {
    platform_->locations = platform::native().locations;
    platform_->processInfo = platform::native().processInfo;
    test::onEightThreads([] {
        for (int i = 0; i < 100; ++i) {
            EXPECT_TRUE(both("/Volumes"));
            EXPECT_FALSE(either("/elsewhere"));
        }
    });
}

TEST_F(Guard, ProtectsTheFoldersOfTheUserAndOfTheMachine) {
    for (const char* kind : {"/K1", "/K4", "/K9", "/K5", "/K13", "/K14"}) {
        EXPECT_TRUE(both(std::string("/Users/alice") + kind)) << kind;
        EXPECT_TRUE(both(kind)) << kind;
    }
    EXPECT_TRUE(both("/Users/alice/K5/Preferences"));
    EXPECT_TRUE(both("/K5/Preferences"));
    EXPECT_TRUE(both("/Users/alice/K12"));  // the desktop
    EXPECT_TRUE(both("/Users/alice"));
    EXPECT_TRUE(both("/Core/K5"));
}

TEST_F(Guard, DoesNotProtectItemsInsideThoseFolders) {
    EXPECT_FALSE(either("/Users/alice/K9/report.txt"));
    ASSERT_TRUE(both("/K1"));
    EXPECT_FALSE(either("/K1/Some.app"));
    EXPECT_FALSE(either("/K5/Preferences/settings.plist"));
    EXPECT_FALSE(either("/Users/alice/K17"));  // movies
    EXPECT_FALSE(either("/Users/alice/.Trash"));
    EXPECT_FALSE(either("/private"));
}

TEST_F(Guard, ProtectsSystemTreesInTheBroadFormOnly) {
    for (const char* path : {"/usr", "/usr/local/bin", "/usrlocal", "/var", "/variety",
                             "/private/var/folders/xy/T/file", "/System", "/Systematic"}) {
        EXPECT_TRUE(broad(path)) << path;
        EXPECT_FALSE(exact(path)) << path;
    }
    EXPECT_TRUE(KXLocalPaths::isPathSystemDirectory("/usr/local/bin"));
}

TEST_F(Guard, ComparesTheTextUnchanged) {
    for (const char* path : {"/volumes", "/Users/./Shared", "/Users//Shared", "~/K5", "/Users/Bob"})
        EXPECT_FALSE(either(path)) << path;
}

TEST_F(Guard, QueriesTheFoldersInTheirOrder) {
    EXPECT_FALSE(exact("/elsewhere"));
    EXPECT_EQ(folders_.asked,
              (StringList{"user/K1", "/K1", "user/K4", "/K4", "user/K9", "/K9", "user/K5", "/K5",
                          "user/K5", "/K5", "user/K13", "/K13", "user/K14", "/K14", "user/K12",
                          "home", "system/K5", "/K8"}));
}

TEST_F(Guard, StopsAtTheFirstMatch) {
    EXPECT_TRUE(exact("/Users/alice/K4"));
    EXPECT_EQ(folders_.asked, (StringList{"user/K1", "/K1", "user/K4"}));
}

TEST_F(Guard, OfRootProtectsTheConsoleUsersFolders) {
    folders_.uid = 0;
    EXPECT_TRUE(both("/Users/alice/K9"));
    EXPECT_TRUE(both("/Users/alice"));
    EXPECT_FALSE(exact("/var/root/K9"));
    folders_.console = "bob";
    EXPECT_FALSE(either("/Users/alice/K9"));
    EXPECT_TRUE(both("/Users/bob/K5/Preferences"));
}

TEST_F(Guard, MissingFoldersProtectNothing) {
    folders_.hasFolders = false;
    EXPECT_FALSE(either("/Users/alice/K9"));
    EXPECT_TRUE(both("/Users/alice"));
    EXPECT_TRUE(both("/Volumes"));
}

}  // namespace
}  // namespace quillmoor
