#include "quillmoor/platform/applications.h"

#include <gtest/gtest.h>

#include "quillmoor/platform/platform.h"
#include "tests/platform/support/scoped_environment.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using test::TempFolder;

class OneHome : public test::ForwardingLocations {
  public:
    explicit OneHome(std::string home) : home_(std::move(home)) {}
    StringList searchPaths(SearchPathDirectory, SearchPathDomainMask domain) override {
        return domain == SearchPathDomainMask::User ? StringList{home_ + "/Applications"}
                                                    : StringList{};
    }
    OptionalString consoleUser() override { return "al"; }
    OptionalPath homeDirectoryForUser(const OptionalString&) override { return home_; }

  private:
    std::string home_;
};

TEST(LinuxApplications, AnApplicationInTheUsersFolderIsFoundAndForgottenAgain) {
    const TempFolder home;
    OneHome locations(home.path());
    test::ScopedPlatform fake;
    fake->locations = &locations;
    const std::string identifier = "org.example.a-product-that-nobody-has";
    Applications& applications = *native().applications;
    EXPECT_EQ(applications.absolutePathForAppBundle(identifier), std::nullopt);
    home.writeFile("Applications/Tally.app/Contents/Info.plist",
                   "<plist><dict><key>CFBundleIdentifier</key><string>" + identifier +
                       "</string></dict></plist>");
    EXPECT_EQ(applications.absolutePathForAppBundle(identifier), home / "Applications/Tally.app");
    std::remove((home / "Applications/Tally.app/Contents/Info.plist").c_str());
    EXPECT_EQ(applications.absolutePathForAppBundle(identifier), std::nullopt);
}

class OrdinaryUser : public test::ForwardingProcessInfo {
  public:
    unsigned realUserId() override { return 1000; }
};

TEST(LinuxApplications, ADesktopEntryInTheUsersDataFolderIsFound) {
    const TempFolder home;
    OneHome locations(home.path());
    OrdinaryUser user;
    test::ScopedPlatform fake;
    fake->locations = &locations;
    fake->processInfo = &user;
    const test::ScopedEnvironment data("XDG_DATA_HOME", home / ".local/share");
    home.writeFile(".local/share/applications/org.example.unheard-of.desktop",
                   "[Desktop Entry]\nType=Application\nExec=/bin/sh -c x\n");
    EXPECT_EQ(native().applications->absolutePathForAppBundle("org.example.unheard-of"), "/bin/sh");
}

}  // namespace
}  // namespace quillmoor::platform
