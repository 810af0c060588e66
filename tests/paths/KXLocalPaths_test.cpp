#include "quillmoor/paths/KXLocalPaths.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/paths/paths_support.h"

namespace quillmoor {
namespace {

using platform::SearchPathDirectory;
using platform::SearchPathDomainMask;

// A Mac with the user alice; the test sets the user of the process.
class FakeMac : public test::ForwardingLocations, public test::ForwardingProcessInfo {
  public:
    unsigned uid = 501;
    OptionalString console = "alice";
    std::string cache = "/var/folders/xy/C/";
    std::string rootsHome = "/var/root";
    bool hasFolders = true;
    SearchPathDirectory askedDirectory{};
    SearchPathDomainMask askedDomain{};

    unsigned realUserId() override { return uid; }
    OptionalString consoleUser() override { return console; }
    std::string ownHome = "/Users/alice";  // of an ordinary user
    std::string homeDirectory() override { return uid == 0 ? rootsHome : ownHome; }
    std::string userName() override { return uid == 0 ? "root" : "alice"; }
    OptionalPath homeDirectoryForUser(const OptionalString& name) override {
        if (!name) return rootsHome;
        if (*name == "alice") return "/Users/alice";
        return std::nullopt;
    }
    std::size_t confstr(int name, std::span<char> buffer) override {
        if (name != 65538 || cache.empty()) return 0;
        const std::size_t fits = std::min(cache.size(), buffer.size() - 1);
        std::memcpy(buffer.data(), cache.data(), fits);
        buffer[fits] = '\0';
        return cache.size() + 1;
    }
    StringList searchPaths(SearchPathDirectory directory, SearchPathDomainMask domain) override {
        askedDirectory = directory;
        askedDomain = domain;
        if (!hasFolders) return {};
        StringList found;
        if (contains(domain, SearchPathDomainMask::User))
            found.push_back(homeDirectory() + folder(directory));
        if (contains(domain, SearchPathDomainMask::Local)) found.push_back(folder(directory));
        if (contains(domain, SearchPathDomainMask::System))
            found.push_back("/System" + folder(directory));
        return found;
    }

  private:
    static std::string folder(SearchPathDirectory directory) {
        switch (directory) {
            case SearchPathDirectory::Application:
                return "/Applications";
            case SearchPathDirectory::AdminApplication:
                return "/Applications/Utilities";
            case SearchPathDirectory::Library:
                return "/Library";
            case SearchPathDirectory::Documentation:
                return "/Library/Documentation";
            case SearchPathDirectory::Document:
                return "/Documents";
            case SearchPathDirectory::Desktop:
                return "/Desktop";
            case SearchPathDirectory::Caches:
                return "/Library/Caches";
            case SearchPathDirectory::ApplicationSupport:
                return "/Library/Application Support";
            case SearchPathDirectory::Movies:
                return "/Movies";
        }
        return "";
    }
};

class LocalPaths : public ::testing::Test {
  protected:
    LocalPaths() {
        platform_->locations = &mac_;
        platform_->processInfo = &mac_;
    }
    void becomeRoot() { mac_.uid = 0; }

    FakeMac mac_;
    test::ScopedPlatform platform_;
};

TEST_F(LocalPaths, OfAnOrdinaryUserComeFromTheSystem) {
    EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), "/Users/alice/Library");
    EXPECT_EQ(KXLocalPaths::userDirectory(), "/Users/alice");
    EXPECT_EQ(KXLocalPaths::username(), "alice");
    EXPECT_EQ(KXLocalPaths::trashDirectory(), "/Users/alice/.Trash");
}

TEST_F(LocalPaths, OfAnOrdinaryUserAreNeverRewritten) {
    for (const char* home : {"/var/root", "/private/var/root"}) {
        mac_.ownHome = home;
        EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), std::string(home) + "/Library");
        EXPECT_EQ(KXLocalPaths::userDirectory(), home);
    }
}

TEST_F(LocalPaths, EachOperationQueriesItsKindAndDomain) {
    struct Row {
        OptionalPath (*operation)(UserDomain);
        SearchPathDirectory directory;
        const char* user;
        const char* local;
    };
    const Row rows[] = {
        {KXLocalPaths::applicationDirectory, SearchPathDirectory::Application,
         "/Users/alice/Applications", "/Applications"},
        {KXLocalPaths::adminApplicationDirectory, SearchPathDirectory::AdminApplication,
         "/Users/alice/Applications/Utilities", "/Applications/Utilities"},
        {KXLocalPaths::documentDirectory, SearchPathDirectory::Document, "/Users/alice/Documents",
         "/Documents"},
        {KXLocalPaths::libraryDirectory, SearchPathDirectory::Library, "/Users/alice/Library",
         "/Library"},
        {KXLocalPaths::prefsDirectory, SearchPathDirectory::Library,
         "/Users/alice/Library/Preferences", "/Library/Preferences"},
        {KXLocalPaths::cacheDirectory, SearchPathDirectory::Caches, "/Users/alice/Library/Caches",
         "/Library/Caches"},
        {KXLocalPaths::appSupportDirectory, SearchPathDirectory::ApplicationSupport,
         "/Users/alice/Library/Application Support", "/Library/Application Support"},
        {KXLocalPaths::logDirectory, SearchPathDirectory::Library, "/Users/alice/Library/Logs",
         "/Library/Logs"}};
    for (const Row& row : rows) {
        EXPECT_EQ(row.operation(UserDomain::Yes), row.user);
        EXPECT_EQ(mac_.askedDirectory, row.directory) << row.user;
        EXPECT_EQ(mac_.askedDomain, SearchPathDomainMask::User) << row.user;
        EXPECT_EQ(row.operation(UserDomain::No), row.local);
        EXPECT_EQ(mac_.askedDirectory, row.directory) << row.local;
        EXPECT_EQ(mac_.askedDomain, SearchPathDomainMask::Local) << row.local;
    }
}

TEST_F(LocalPaths, FoldersWithoutADomainArgumentHaveAFixedDomain) {
    EXPECT_EQ(KXLocalPaths::movieDirectory(), "/Users/alice/Movies");
    EXPECT_EQ(KXLocalPaths::desktopDirectory(), "/Users/alice/Desktop");
    EXPECT_EQ(KXLocalPaths::systemLibraryDirectory(), "/System/Library");
    EXPECT_EQ(KXLocalPaths::localDocumentationDirectory(), "/Library/Documentation");
    EXPECT_EQ(mac_.askedDomain, SearchPathDomainMask::Local);
}

TEST_F(LocalPaths, AFolderThatTheSystemLacksIsNil) {
    mac_.hasFolders = false;
    EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), std::nullopt);
    EXPECT_EQ(KXLocalPaths::prefsDirectory(UserDomain::Yes), std::nullopt);
    EXPECT_EQ(KXLocalPaths::logDirectory(UserDomain::No), std::nullopt);
    becomeRoot();
    EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), std::nullopt);
}

TEST_F(LocalPaths, RootGetsTheConsoleUsersFolders) {
    becomeRoot();
    EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), "/Users/alice/Library");
    EXPECT_EQ(KXLocalPaths::prefsDirectory(UserDomain::Yes), "/Users/alice/Library/Preferences");
    EXPECT_EQ(KXLocalPaths::userDirectory(), "/Users/alice");
    EXPECT_EQ(KXLocalPaths::username(), "alice");
    EXPECT_EQ(KXLocalPaths::trashDirectory(), "/Users/alice/.Trash");
}

TEST_F(LocalPaths, RootGetsTheMachinesFoldersUnchanged) {
    becomeRoot();
    EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::No), "/Library");
    EXPECT_EQ(KXLocalPaths::prefsDirectory(UserDomain::No), "/Library/Preferences");
    EXPECT_EQ(KXLocalPaths::systemLibraryDirectory(), "/System/Library");
}

TEST_F(LocalPaths, OnlyExactlyTheUserDomainIsRewritten) {
    becomeRoot();
    EXPECT_EQ(
        KXLocalPaths::pathForDirectory(SearchPathDirectory::Library,
                                       SearchPathDomainMask::User | SearchPathDomainMask::Local),
        "/var/root/Library");
}

TEST_F(LocalPaths, RemovingThePrivateFormOfRootsHomeKeepsItsLastLetter) {
    becomeRoot();
    mac_.rootsHome = "/private/var/root";
    EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), "/Users/alice/t/Library");
}

TEST_F(LocalPaths, RootsHomeIsRemovedAsCharactersNotAsComponents) {
    becomeRoot();
    mac_.rootsHome = "/var/rootless";
    EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), "/Users/alice/less/Library");
}

TEST_F(LocalPaths, BothFormsOfRootsHomeAreRemovedInOrder) {
    becomeRoot();
    mac_.rootsHome = "/var/root/private/var/root";
    EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), "/Users/alice/t/Library");
}

TEST_F(LocalPaths, AnyOtherHomeIsAppendedUnchanged) {
    becomeRoot();
    mac_.rootsHome = "/root";
    EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), "/Users/alice/root/Library");
}

TEST_F(LocalPaths, AtTheLoginScreenThereIsNoUser) {
    becomeRoot();
    mac_.console = "loginwindow";
    EXPECT_EQ(KXLocalPaths::currentConsoleUser(), std::nullopt);
    EXPECT_EQ(KXLocalPaths::username(), std::nullopt);
    EXPECT_EQ(KXLocalPaths::userDirectory(), "/var/root");
}

TEST_F(LocalPaths, WithoutAConsoleUserTheHomeIsTheSystemsForNoName) {
    becomeRoot();
    mac_.console = std::nullopt;
    EXPECT_EQ(KXLocalPaths::currentConsoleUser(), std::nullopt);
    EXPECT_EQ(KXLocalPaths::username(), std::nullopt);
    EXPECT_EQ(KXLocalPaths::userDirectory(), "/var/root");
    EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), "/var/root/Library");
}

TEST_F(LocalPaths, AConsoleUserWithoutAHomeHasNoFolders) {
    becomeRoot();
    mac_.console = "ghost";
    EXPECT_EQ(KXLocalPaths::userDirectory(), std::nullopt);
    EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), std::nullopt);
    EXPECT_EQ(KXLocalPaths::trashDirectory(), std::nullopt);
}

TEST_F(LocalPaths, AnOrdinaryProcessAtTheLoginScreenKeepsItsUser) {
    mac_.console = "loginwindow";
    EXPECT_EQ(KXLocalPaths::username(), "alice");
    EXPECT_EQ(KXLocalPaths::currentConsoleUser(), std::nullopt);
}

TEST_F(LocalPaths, OnlyTheExactNameMeansTheLoginScreen) {
    mac_.console = "Loginwindow";
    EXPECT_EQ(KXLocalPaths::currentConsoleUser(), "Loginwindow");
}

TEST_F(LocalPaths, TheCacheFolderIsExactlyTheSystems) {
    EXPECT_EQ(KXLocalPaths::darwinCacheDirectory(), "/var/folders/xy/C/");
    mac_.cache.clear();
    EXPECT_EQ(KXLocalPaths::darwinCacheDirectory(), std::nullopt);
}

TEST_F(LocalPaths, ACacheFolderLongerThanTheBufferIsCut) {
    mac_.cache = std::string(3000, 'x');
    EXPECT_EQ(KXLocalPaths::darwinCacheDirectory(), std::string(1023, 'x'));
}

TEST(IsPathOnTimeMachineVolume, NeedsTheVolumesFolderAndTheExactComponent) {
    EXPECT_TRUE(KXLocalPaths::isPathOnTimeMachineVolume("/Volumes/Disk/Backups.backupdb/host"));
    EXPECT_TRUE(KXLocalPaths::isPathOnTimeMachineVolume("/Volumes/Backups.backupdb"));
    EXPECT_FALSE(KXLocalPaths::isPathOnTimeMachineVolume("/Backups.backupdb/x"));
    EXPECT_FALSE(KXLocalPaths::isPathOnTimeMachineVolume("/Volumes/Disk/Backups.backupdbX"));
    EXPECT_FALSE(KXLocalPaths::isPathOnTimeMachineVolume("/Volumes"));
    EXPECT_FALSE(KXLocalPaths::isPathOnTimeMachineVolume(std::nullopt));
}

TEST(IsPathOnTimeMachineVolume, NormalisesNothing) {
    EXPECT_FALSE(KXLocalPaths::isPathOnTimeMachineVolume("//Volumes/Disk/Backups.backupdb"));
    EXPECT_TRUE(KXLocalPaths::isPathOnTimeMachineVolume("/Volumes/../Backups.backupdb"));
}

TEST_F(LocalPaths, WriteNothingToTheConsole) {
    test::SilentConsole console;
    platform_->console = &console;
    const auto askAll = [] {
        KXLocalPaths::prefsDirectory(UserDomain::Yes);
        KXLocalPaths::trashDirectory();
        KXLocalPaths::darwinCacheDirectory();
        KXLocalPaths::username();
        KXLocalPaths::isPathOnTimeMachineVolume("/Volumes/x");
    };
    mac_.hasFolders = false;
    mac_.cache.clear();
    mac_.console = std::nullopt;
    askAll();
    becomeRoot();
    askAll();
    mac_.console = "ghost";
    askAll();
    EXPECT_EQ(console.lines, 0);
}

TEST_F(LocalPaths, MayBeCalledFromAnyThread) {
    platform_->locations = platform::native().locations;
    platform_->processInfo = platform::native().processInfo;
    const OptionalPath library = KXLocalPaths::libraryDirectory(UserDomain::Yes);
    const OptionalString user = KXLocalPaths::username();
    const OptionalPath cache = KXLocalPaths::darwinCacheDirectory();
    test::onEightThreads([&] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(KXLocalPaths::libraryDirectory(UserDomain::Yes), library);
            EXPECT_EQ(KXLocalPaths::username(), user);
            EXPECT_EQ(KXLocalPaths::darwinCacheDirectory(), cache);
        }
    });
}

}  // namespace
}  // namespace quillmoor
