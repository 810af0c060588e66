#include "quillmoor/platform/linux/desktop/application_search_linux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/platform/support/scoped_environment.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_ {
namespace {

using test::ScopedEnvironment;
using test::ScopedPlatform;
using test::TempFolder;

constexpr char kIdentifier[] = "org.example.Tally";

std::string infoPlist(const std::string& identifier) {
    return "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" + identifier +
           "</string></dict></plist>";
}

class Applications : public testing::Test {
  protected:
    // Makes an application bundle and returns its path.
    std::string makeBundle(const std::string& name, const std::string& identifier = kIdentifier) {
        root_.writeFile(name + "/Contents/Info.plist", infoPlist(identifier));
        return root_ / name;
    }

    std::string makeProgram(const std::string& name) {
        std::string path = root_.writeFile(name, "#!/bin/sh\n");
        ::chmod(path.c_str(), 0755);
        return path;
    }

    // Makes the desktop entry of kIdentifier in the folder `where`.
    void makeEntry(const std::string& where, const std::string& lines) {
        root_.writeFile(where + "/" + kIdentifier + ".desktop",
                        "[Desktop Entry]\nType=Application\n" + lines + "\n");
    }

    OptionalPath find(const std::string& identifier = kIdentifier) {
        return findApplication({{root_ / "Applications", root_ / "opt"},
                                {root_ / "home/applications", root_ / "share/applications"},
                                std::nullopt},
                               identifier);
    }

    TempFolder root_;
};

TEST_F(Applications, ABundleIsFoundByItsIdentifier) {
    makeBundle("Applications/A.app", "org.example.Other");
    const std::string path = makeBundle("Applications/B \n'x.app");
    EXPECT_EQ(find(), path);
    EXPECT_EQ(find("org.example.None"), std::nullopt);
}

TEST_F(Applications, CaseOfLettersDoesNotMatterInAnIdentifier) {
    const std::string path = makeBundle("Applications/B.APP", "ORG.example.tally");
    EXPECT_EQ(find(), path);
    EXPECT_EQ(find("org.example.Tall"), std::nullopt);
}

TEST_F(Applications, ABundleMayLieOneFolderDeeper) {
    const std::string path = makeBundle("Applications/Utilities/B.app");
    EXPECT_EQ(find(), path);
}

TEST_F(Applications, ABundleTwoFoldersDeeperOrInAnotherBundleIsNotFound) {
    makeBundle("Applications/Maker/Tools/B.app");
    makeBundle("Applications/Other.app/B.app");
    EXPECT_EQ(find(), std::nullopt);
}

TEST_F(Applications, TheEarlierFolderWins) {
    makeBundle("opt/B.app");
    EXPECT_EQ(find(), root_ / "opt/B.app");
    makeBundle("Applications/Utilities/Z.app");
    EXPECT_EQ(find(), root_ / "Applications/Utilities/Z.app");
    makeBundle("Applications/Z.app");
    EXPECT_EQ(find(), root_ / "Applications/Z.app");
}

TEST_F(Applications, ALinkToABundleIsOneAndADanglingLinkIsNone) {
    makeBundle("elsewhere/B.app");
    root_.makeFolder("Applications");
    root_.makeLink("Applications/A.app", "missing");
    EXPECT_EQ(find(), std::nullopt);
    root_.makeLink("Applications/B.app", "../elsewhere/B.app");
    EXPECT_EQ(find(), root_ / "Applications/B.app");
}

TEST_F(Applications, IgnoreAFolderThatIsNotABundle) {
    makeBundle("Applications/B.application");
    makeBundle("Applications/.B.app");
    root_.writeFile("Applications/File.app", infoPlist(kIdentifier));
    root_.writeFile("Applications/Damaged.app/Contents/Info.plist", "<plist><dict>");
    root_.makeFolder("Applications/Empty.app");
    EXPECT_EQ(find(), std::nullopt);
}

TEST_F(Applications, FindNothingForAnIdentifierThatCannotBeAName) {
    makeBundle("Applications/B.app", "");
    EXPECT_EQ(find(""), std::nullopt);
    root_.writeFile("x.desktop", "[Desktop Entry]\nType=Application\nExec=/bin/sh\n");
    root_.makeFolder("home/applications");
    EXPECT_EQ(find("../../x"), std::nullopt);
    EXPECT_EQ(find(kIdentifier + std::string("\0", 1)), std::nullopt);
}

TEST_F(Applications, ADesktopEntryNamesItsProgram) {
    const std::string program = makeProgram("bin/my tally");
    makeEntry("share/applications", "Exec=\"" + program + "\" --new %U");
    EXPECT_EQ(find(), program);
}

TEST_F(Applications, FindADesktopEntrysProgramInThePath) {
    const std::string program = makeProgram("bin/tally");
    const ScopedEnvironment path("PATH", root_ / "bin");
    makeEntry("share/applications", "TryExec=tally\nExec=tally %U");
    EXPECT_EQ(find(), program);
}

TEST_F(Applications, FindTheBundleOfAProgram) {
    makeBundle("far/Tally.app");
    const std::string program = makeProgram("far/Tally.app/Contents/Linux/tally");
    makeEntry("share/applications", "Exec=" + program);
    EXPECT_EQ(find(), root_ / "far/Tally.app");
}

TEST_F(Applications, ADesktopEntryDoesNotNameAnotherApplication) {
    makeBundle("far/Other.app", "org.example.Other");
    makeEntry("home/applications", "Exec=" + makeProgram("far/Other.app/Contents/Linux/other"));
    EXPECT_EQ(find(), std::nullopt);
    makeEntry("share/applications", "Exec=/bin/sh");
    EXPECT_EQ(find(), "/bin/sh");
}

TEST_F(Applications, AConsoleUsersEntryNamesABundleOnlyAndHidesNothing) {
    ApplicationFolders folders{{}, {root_ / "share/applications"}, root_ / "console"};
    const auto found = [&] { return findApplication(folders, kIdentifier); };
    makeEntry("share/applications", "Exec=/bin/sh");
    makeEntry("console", "Exec=" + makeProgram("bin/tally"));
    EXPECT_EQ(found(), "/bin/sh");
    makeEntry("console", "Hidden=true\nExec=/bin/sh");
    EXPECT_EQ(found(), "/bin/sh");
    makeBundle("far/Other.app", "org.example.Other");
    makeEntry("console", "Exec=" + makeProgram("far/Other.app/Contents/Linux/other"));
    EXPECT_EQ(found(), "/bin/sh");
    makeBundle("far/Tally.app");
    makeEntry("console", "Exec=" + makeProgram("far/Tally.app/Contents/Linux/tally"));
    EXPECT_EQ(found(), root_ / "far/Tally.app");
}

TEST_F(Applications, FindTheBundleOfALinkedProgram) {
    makeBundle("far/Tally.app");
    const std::string program = makeProgram("far/Tally.app/Contents/Linux/tally");
    root_.makeFolder("bin");
    makeEntry("share/applications", "Exec=" + root_.makeLink("bin/tally", program));
    EXPECT_THAT(find(), testing::Optional(testing::EndsWith("/far/Tally.app")));
}

TEST_F(Applications, ABundleComesBeforeADesktopEntry) {
    makeEntry("home/applications", "Exec=/bin/sh");
    const std::string path = makeBundle("opt/Tally/Tally.app");
    EXPECT_EQ(find(), path);
}

TEST_F(Applications, AnEntryWithoutItsProgramIsNotInstalled) {
    makeEntry("home/applications", "Exec=" + (root_ / "missing"));
    EXPECT_EQ(find(), std::nullopt);
    makeEntry("home/applications", "TryExec=" + (root_ / "missing") + "\nExec=/bin/sh");
    EXPECT_EQ(find(), std::nullopt);
    makeEntry("home/applications", "Exec=");
    EXPECT_EQ(find(), std::nullopt);
    makeEntry("home/applications", "Type=Link\nExec=/bin/sh");
    EXPECT_EQ(find(), std::nullopt);
    makeEntry("share/applications", "Exec=/bin/sh");
    EXPECT_EQ(find(), "/bin/sh");
}

TEST_F(Applications, AHiddenEntryHidesTheLaterOnes) {
    makeEntry("share/applications", "Exec=/bin/sh");
    EXPECT_EQ(find(), "/bin/sh");
    makeEntry("home/applications", "Hidden=true\nExec=/bin/sh");
    EXPECT_EQ(find(), std::nullopt);
    makeEntry("home/applications", "NoDisplay=true\nExec=/bin/sh");
    EXPECT_EQ(find(), "/bin/sh");
}

class FakeProcessInfo : public test::ForwardingProcessInfo {
  public:
    explicit FakeProcessInfo(unsigned user) : user_(user) {}
    unsigned realUserId() override { return user_; }

  private:
    unsigned user_;
};

class FakeLocations : public test::ForwardingLocations {
  public:
    StringList searchPaths(SearchPathDirectory directory, SearchPathDomainMask domain) override {
        EXPECT_EQ(directory, SearchPathDirectory::Application);
        return {domain == SearchPathDomainMask::User ? "/user/Applications" : "/Applications"};
    }
    OptionalString consoleUser() override { return console; }
    OptionalPath homeDirectoryForUser(const OptionalString& name) override {
        return name == "al" ? OptionalPath("/home/al") : std::nullopt;
    }
    OptionalString console;
};

TEST(ApplicationFolders, OfAUserComeBeforeTheMachines) {
    const ScopedEnvironment data("XDG_DATA_HOME", "/data/");
    const ScopedEnvironment shared("XDG_DATA_DIRS", "/s1:relative:/s2/");
    FakeProcessInfo user(1000);
    FakeLocations locations;
    ScopedPlatform fake;
    fake->processInfo = &user;
    fake->locations = &locations;
    const ApplicationFolders folders = applicationFolders();
    EXPECT_EQ(folders.bundles, (StringList{"/user/Applications", "/Applications", "/opt"}));
    EXPECT_EQ(folders.entries,
              (StringList{"/data/applications", "/s1/applications", "/s2/applications"}));
}

TEST(ApplicationFolders, HaveTheirUsualPlacesWithoutAnEnvironment) {
    const ScopedEnvironment home("HOME", "/home/bo");
    FakeProcessInfo user(1000);
    ScopedPlatform fake;
    fake->processInfo = &user;
    EXPECT_EQ(applicationFolders().entries,
              (StringList{"/home/bo/.local/share/applications", "/usr/local/share/applications",
                          "/usr/share/applications"}));
}

TEST(ApplicationFolders, OfRootAreTheConsoleUsers) {
    const ScopedEnvironment data("XDG_DATA_HOME", "/data");
    FakeProcessInfo root(0);
    FakeLocations locations;
    locations.console = "al";
    ScopedPlatform fake;
    fake->processInfo = &root;
    fake->locations = &locations;
    const ApplicationFolders folders = applicationFolders();
    EXPECT_EQ(folders.bundles, (StringList{"/home/al/Applications", "/Applications", "/opt"}));
    EXPECT_EQ(folders.consoleEntries, "/home/al/.local/share/applications");
    EXPECT_EQ(folders.entries.front(), "/usr/local/share/applications");
}

TEST(ApplicationFolders, OfRootAreTheMachinesWithoutAConsoleUser) {
    FakeProcessInfo root(0);
    FakeLocations locations;
    ScopedPlatform fake;
    fake->processInfo = &root;
    fake->locations = &locations;
    for (const OptionalString& console : {OptionalString(), OptionalString("loginwindow")}) {
        locations.console = console;
        EXPECT_EQ(applicationFolders().bundles, (StringList{"/Applications", "/opt"}));
        EXPECT_EQ(applicationFolders().entries.front(), "/usr/local/share/applications");
    }
}

}  // namespace
}  // namespace quillmoor::platform::linux_
