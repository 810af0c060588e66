#include "quillmoor/platform/linux/locations/search_paths_linux.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/platform/support/scoped_environment.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_ {
namespace {

using test::ScopedEnvironment;
using test::TempFolder;
using Directory = SearchPathDirectory;
using Domain = SearchPathDomainMask;

constexpr char kGermanFolders[] =
    "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n"
    "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n"
    "XDG_VIDEOS_DIR=\"$HOME/Videos\"\n";

std::string only(const UserDomainFolders& user, Directory directory, Domain domain) {
    const StringList paths = standardFolders(user, directory, domain);
    return paths.size() == 1 ? paths.front() : std::to_string(paths.size()) + " answers";
}

std::string usersOwn(const UserDomainFolders& user, Directory directory) {
    return only(user, directory, Domain::User);
}

// A user of this process's own number, at home in `home`, as the one at the console.
posix::User consoleUser(const TempFolder& home) {
    return {::geteuid(), "al", home.path()};
}

TEST(StandardFolders, OfAUserAreInTheHome) {
    const UserDomainFolders user{"/home/al", "/home/al", "", std::nullopt};
    EXPECT_EQ(usersOwn(user, Directory::Application), "/home/al/Applications");
    EXPECT_EQ(usersOwn(user, Directory::AdminApplication), "/home/al/Applications/Utilities");
    EXPECT_EQ(usersOwn(user, Directory::Library), "/home/al/Library");
    EXPECT_EQ(usersOwn(user, Directory::Documentation), "/home/al/Library/Documentation");
    EXPECT_EQ(usersOwn(user, Directory::Document), "/home/al/Documents");
    EXPECT_EQ(usersOwn(user, Directory::Desktop), "/home/al/Desktop");
    EXPECT_EQ(usersOwn(user, Directory::Caches), "/home/al/Library/Caches");
    EXPECT_EQ(usersOwn(user, Directory::ApplicationSupport),
              "/home/al/Library/Application Support");
    EXPECT_EQ(usersOwn(user, Directory::Movies), "/home/al/Movies");
}

TEST(StandardFolders, OfTheMachineAndTheSystemHaveFixedPaths) {
    const UserDomainFolders user{"/home/al", "/home/al", "", std::nullopt};
    EXPECT_EQ(only(user, Directory::Application, Domain::Local), "/Applications");
    EXPECT_EQ(only(user, Directory::AdminApplication, Domain::Local), "/Applications/Utilities");
    EXPECT_EQ(only(user, Directory::Library, Domain::Local), "/Library");
    EXPECT_EQ(only(user, Directory::Documentation, Domain::Local), "/Library/Documentation");
    EXPECT_EQ(only(user, Directory::Caches, Domain::Local), "/Library/Caches");
    EXPECT_EQ(only(user, Directory::ApplicationSupport, Domain::Local),
              "/Library/Application Support");
    EXPECT_EQ(only(user, Directory::Library, Domain::System), "/System/Library");
    EXPECT_EQ(only(user, Directory::Application, Domain::System), "/System/Applications");
}

TEST(StandardFolders, DocumentsDesktopAndMoviesBelongToUsersOnly) {
    const UserDomainFolders user{"/home/al", "/home/al", "", std::nullopt};
    for (const Directory kind : {Directory::Document, Directory::Desktop, Directory::Movies})
        EXPECT_TRUE(standardFolders(user, kind, Domain::Local | Domain::System).empty());
}

TEST(StandardFolders, OfSeveralDomainsComeUserFirstAndSystemLast) {
    const UserDomainFolders user{"/home/al", "/home/al", "", std::nullopt};
    EXPECT_EQ(
        standardFolders(user, Directory::Library, Domain::System | Domain::Local | Domain::User),
        (StringList{"/home/al/Library", "/Library", "/System/Library"}));
    EXPECT_EQ(
        standardFolders(user, Directory::Movies, Domain::System | Domain::Local | Domain::User),
        (StringList{"/home/al/Movies"}));
}

TEST(StandardFolders, AreEmptyForAnUnknownKind) {
    const UserDomainFolders user{"/home/al", "/home/al", "", std::nullopt};
    EXPECT_TRUE(standardFolders(user, static_cast<Directory>(99), Domain::User).empty());
    EXPECT_TRUE(standardFolders(user, Directory::Library, static_cast<Domain>(4)).empty());
}

TEST(StandardFolders, FollowTheUsersSettingsForThreeKinds) {
    const TempFolder home;
    home.writeFile(".config/user-dirs.dirs", kGermanFolders);
    const ScopedEnvironment environment("HOME", home.path());
    const UserDomainFolders user = foldersOfThisUser();
    EXPECT_EQ(usersOwn(user, Directory::Document), home / "Dokumente");
    EXPECT_EQ(usersOwn(user, Directory::Desktop), home / "Schreibtisch");
    EXPECT_EQ(usersOwn(user, Directory::Movies), home / "Videos");
    EXPECT_EQ(usersOwn(user, Directory::Library), home / "Library");
}

TEST(StandardFolders, ReadTheSettingsInTheConfigurationFolder) {
    const TempFolder home;
    const TempFolder config;
    home.writeFile(".config/user-dirs.dirs", kGermanFolders);
    config.writeFile("user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"/data/docs\"\n");
    const ScopedEnvironment environment("HOME", home.path());
    const ScopedEnvironment configHome("XDG_CONFIG_HOME", config.path());
    EXPECT_EQ(usersOwn(foldersOfThisUser(), Directory::Document), "/data/docs");
    EXPECT_EQ(usersOwn(foldersOfThisUser(), Directory::Desktop), home / "Desktop");
}

TEST(StandardFolders, SettingsThatCannotBeReadLeaveTheUsualNames) {
    const TempFolder home;
    const ScopedEnvironment environment("HOME", home.path());
    EXPECT_EQ(usersOwn(foldersOfThisUser(), Directory::Document), home / "Documents");
    const std::string settings = home.writeFile(".config/user-dirs.dirs", "\xFF\xFE\n\"");
    EXPECT_EQ(usersOwn(foldersOfThisUser(), Directory::Document), home / "Documents");
    ASSERT_EQ(::unlink(settings.c_str()), 0);
    ASSERT_EQ(::mkfifo(settings.c_str(), 0600), 0);
    EXPECT_EQ(usersOwn(foldersOfThisUser(), Directory::Document), home / "Documents");
    ASSERT_EQ(::unlink(settings.c_str()), 0);
    home.writeFile(".config/user-dirs.dirs", kGermanFolders + std::string(64 * 1024, '#'));
    EXPECT_EQ(usersOwn(foldersOfThisUser(), Directory::Document), home / "Documents");
}

TEST(RootsFolders, BeginWithRootsHome) {
    const UserDomainFolders user = foldersOfRoot(std::nullopt);
    EXPECT_EQ(usersOwn(user, Directory::Library), "/var/root/Library");
    EXPECT_EQ(usersOwn(user, Directory::Document), "/var/root/Documents");
    EXPECT_EQ(usersOwn(user, Directory::Desktop), "/var/root/Desktop");
    EXPECT_EQ(usersOwn(user, Directory::Movies), "/var/root/Movies");
    EXPECT_EQ(only(user, Directory::Library, Domain::Local), "/Library");
}

TEST(RootsFolders, HaveTheNamesOfTheConsoleUsersFolders) {
    const TempFolder home;
    home.writeFile(".config/user-dirs.dirs", kGermanFolders);
    const UserDomainFolders user = foldersOfRoot(consoleUser(home));
    EXPECT_EQ(usersOwn(user, Directory::Document), "/var/root/Dokumente");
    EXPECT_EQ(usersOwn(user, Directory::Desktop), "/var/root/Schreibtisch");
    EXPECT_EQ(usersOwn(user, Directory::Library), "/var/root/Library");
}

TEST(RootsFolders, OfAConsoleUserWithoutAHomeHaveTheUsualNames) {
    const TempFolder here;
    here.writeFile(".config/user-dirs.dirs", kGermanFolders);
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(here.path());
    for (const char* home : {"", "relative"}) {
        const UserDomainFolders user = foldersOfRoot(posix::User{::geteuid(), "al", home});
        EXPECT_EQ(usersOwn(user, Directory::Document), "/var/root/Documents");
    }
    std::filesystem::current_path(before);
}

TEST(RootsFolders, IgnoreRootsOwnEnvironment) {
    const TempFolder home;
    const TempFolder config;
    home.writeFile(".config/user-dirs.dirs", kGermanFolders);
    config.writeFile("user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Falsch\"\n");
    const ScopedEnvironment configHome("XDG_CONFIG_HOME", config.path());
    EXPECT_EQ(usersOwn(foldersOfRoot(consoleUser(home)), Directory::Document),
              "/var/root/Dokumente");
}

TEST(RootsFolders, AFolderOutsideTheConsoleUsersHomeLeavesTheUsualName) {
    const TempFolder home;
    home.writeFile(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"/etc\"\nXDG_DESKTOP_DIR=\"" +
                                                 home.path() + "x/D\"\n" + "XDG_VIDEOS_DIR=\"" +
                                                 home.path() + "/Filme\"\n");
    const UserDomainFolders user = foldersOfRoot(consoleUser(home));
    EXPECT_EQ(usersOwn(user, Directory::Document), "/var/root/Documents");
    EXPECT_EQ(usersOwn(user, Directory::Desktop), "/var/root/Desktop");
    EXPECT_EQ(usersOwn(user, Directory::Movies), "/var/root/Filme");
}

TEST(RootsFolders, IgnoreSettingsThatAreALinkOrAnotherUsers) {
    const TempFolder home;
    const TempFolder elsewhere;
    const std::string file = elsewhere.writeFile("theirs", kGermanFolders);
    home.makeLink(".config/user-dirs.dirs", file);
    EXPECT_EQ(usersOwn(foldersOfRoot(consoleUser(home)), Directory::Document),
              "/var/root/Documents");
    posix::User other = consoleUser(elsewhere);
    elsewhere.writeFile(".config/user-dirs.dirs", kGermanFolders);
    other.id += 1;
    EXPECT_EQ(usersOwn(foldersOfRoot(other), Directory::Document), "/var/root/Documents");
}

}  // namespace
}  // namespace quillmoor::platform::linux_
