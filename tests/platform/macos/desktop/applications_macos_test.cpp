#include "quillmoor/platform/applications.h"

#include <gtest/gtest.h>

#include <functional>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/native_services.h"
#include "tests/platform/macos/fakes/fake_core_services.h"
#include "tests/platform/macos/fakes/fake_workspace.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

const std::string kNul("/a\0b", 4);

class MacApplicationsTest : public testing::Test {
  protected:
    Applications& applications() { return *nativeApplications(); }
    test::FakeWorkspace workspace_;
    test::TempFolder folder_;
};

TEST_F(MacApplicationsTest, AnApplicationIsFoundByItsIdentifier) {
    workspace_.applications["com.example.app"] = "/Applications/Caf\xC3\xA9.app";
    EXPECT_EQ(applications().absolutePathForAppBundle("com.example.app"),
              "/Applications/Caf\xC3\xA9.app");
    EXPECT_EQ(applications().absolutePathForAppBundle("com.example.other"), std::nullopt);
    for (const std::string& bad : {std::string(), std::string("\xff"), kNul})
        EXPECT_EQ(applications().absolutePathForAppBundle(bad), std::nullopt);
}

TEST_F(MacApplicationsTest, AFileIsOpenedByTheWorkspace) {
    const std::string file = folder_.writeFile("a document");
    EXPECT_TRUE(applications().openFile(file));
    EXPECT_EQ(workspace_.opened, std::vector<std::string>{file});
    workspace_.opens = false;
    EXPECT_FALSE(applications().openFile(file));
    workspace_.opened.clear();
    for (const std::string& bad : {std::string(), std::string("/\xff"), kNul})
        EXPECT_FALSE(applications().openFile(bad));
    EXPECT_TRUE(workspace_.opened.empty());
}

TEST_F(MacApplicationsTest, WithoutTheObsoleteMethodsNothingIsFoundOrOpened) {
    workspace_.applications["com.example.app"] = "/Applications/Some.app";
    workspace_.missing = {"absolutePathForAppBundleWithIdentifier:", "openFile:"};
    EXPECT_EQ(applications().absolutePathForAppBundle("com.example.app"), std::nullopt);
    EXPECT_FALSE(applications().openFile(folder_.writeFile("a document")));
    EXPECT_TRUE(workspace_.opened.empty());
}

TEST_F(MacApplicationsTest, AnApplicationIsRegisteredWithLaunchServices) {
    test::FakeCoreServices services;
    EXPECT_EQ(applications().registerApplication("/Applications/Some.app"), 0);
    EXPECT_EQ(services.registered, std::vector<std::string>{"/Applications/Some.app"});
}

TEST_F(MacApplicationsTest, AChangeIsNoted) {
    applications().noteFileSystemChanged("/Users/alice/file");
    applications().noteFileSystemChanged("");
    EXPECT_EQ(workspace_.noted, std::vector<std::string>{"/Users/alice/file"});
}

TEST_F(MacApplicationsTest, APackageIsWhatTheWorkspaceSays) {
    workspace_.packages = {"/Applications/Some.app"};
    EXPECT_TRUE(applications().isFilePackage("/Applications/Some.app"));
    EXPECT_FALSE(applications().isFilePackage("/Applications"));
    EXPECT_FALSE(applications().isFilePackage(""));
}

TEST_F(MacApplicationsTest, WhatTheWorkspaceRaisesIsThrown) {
    workspace_.raises = true;
    const auto thrown = [](const std::function<void()>& call) -> std::string {
        try {
            call();
        } catch (const Exception& exception) {
            return exception.name() + ": " + exception.reason();
        }
        return "nothing";
    };
    EXPECT_EQ(thrown([&] { applications().absolutePathForAppBundle("a"); }), "Name: a reason");
    EXPECT_EQ(thrown([&] { applications().openFile("/a"); }), "Name: a reason");
    EXPECT_EQ(thrown([&] { applications().noteFileSystemChanged("/a"); }), "Name: a reason");
    EXPECT_EQ(thrown([&] { applications().isFilePackage("/a"); }), "Name: a reason");
}

}  // namespace
}  // namespace quillmoor::platform
