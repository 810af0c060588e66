// What every back-end owes to those who register applications.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "quillmoor/platform/applications.h"
#include "tests/contract/services/back_end.h"
#include "tests/platform/support/scoped_environment.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

namespace fs = std::filesystem;
using test::ScopedEnvironment;

constexpr char kIdentifier[] = "org.example.contract-of-registration";

// An ordinary user, even where root runs the test, whose application folders hold nothing.
class OrdinaryUser : public test::ForwardingProcessInfo {
  public:
    unsigned realUserId() override { return 501; }
};

class NoApplications : public test::ForwardingLocations {
  public:
    StringList searchPaths(SearchPathDirectory, SearchPathDomainMask) override { return {}; }
};

class RegistrationContract : public testing::TestWithParam<BackEnd> {
  protected:
    RegistrationContract() {
        platform_->processInfo = &user_;
        platform_->locations = &locations_;
    }

    Applications& applications() { return *GetParam().platform().applications; }
    OptionalPath found() { return applications().absolutePathForAppBundle(kIdentifier); }

    std::string makeApplication(const std::string& name) const {
        folder_.writeFile(name + "/Contents/Info.plist",
                          "<plist><dict><key>CFBundleIdentifier</key><string>" +
                              std::string(kIdentifier) +
                              "</string><key>CFBundleExecutable</key><string>run</string>"
                              "</dict></plist>");
        fs::permissions(folder_.writeFile(name + "/Contents/MacOS/run", "#!/bin/sh\n"),
                        fs::perms::owner_all);
        return folder_ / name;
    }

    const test::TempFolder folder_;
    const ScopedEnvironment home_{"HOME", folder_.makeFolder("home")};
    const ScopedEnvironment data_{"XDG_DATA_HOME", folder_ / "home/data"};
    const ScopedEnvironment others_{"XDG_DATA_DIRS", folder_ / "none"};
    OrdinaryUser user_;
    NoApplications locations_;
    test::ScopedPlatform platform_;
};

TEST_P(RegistrationContract, ARegisteredApplicationIsFoundWhereverItIs) {
    EXPECT_EQ(found(), std::nullopt);
    for (const std::string& name :
         {std::string("Tally.app"), std::string("out of the \"way'/T.app")}) {
        const std::string application = makeApplication(name);
        EXPECT_EQ(applications().registerApplication(application), 0);
        EXPECT_EQ(found(), application);
    }
}

TEST_P(RegistrationContract, DoesNotFindARemovedApplication) {
    const std::string application = makeApplication("Tally.app");
    ASSERT_EQ(applications().registerApplication(application), 0);
    fs::remove_all(application);
    EXPECT_EQ(found(), std::nullopt);
}

TEST_P(RegistrationContract, ChangesNothingForAMissingItemOrAnotherThanAnApplication) {
    const std::string application = makeApplication("Tally.app");
    ASSERT_EQ(applications().registerApplication(application), 0);
    for (const std::string& path :
         {folder_ / "missing.app", folder_.makeFolder("folder"), folder_.makeFolder("Empty.app"),
          folder_.writeFile("file.app", "text"), folder_.makeLink("dangling.app", "nowhere"),
          std::string(), application + '\0'})
        EXPECT_NE(applications().registerApplication(path), 0) << path;
    EXPECT_EQ(found(), application);
}

INSTANTIATE_TEST_SUITE_P(All, RegistrationContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
