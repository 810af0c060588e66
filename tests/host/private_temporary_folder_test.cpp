#include "host/private_temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

#include "host/ground/host_error.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::host {
namespace {

using ::testing::StartsWith;
namespace fs = std::filesystem;

class PrivateFolder : public ::testing::Test {
  protected:
    PrivateFolder() { ::setenv("TMPDIR", shared_.path().c_str(), 1); }
    ~PrivateFolder() override {
        before_ ? ::setenv("TMPDIR", before_->c_str(), 1) : ::unsetenv("TMPDIR");
    }
    static std::string named() { return std::getenv("TMPDIR"); }

    static std::optional<std::string> currentFolder() {
        const char* folder = std::getenv("TMPDIR");
        return folder != nullptr ? std::optional<std::string>(folder) : std::nullopt;
    }
    std::optional<std::string> before_ = currentFolder();
    test::TempFolder shared_;
};

TEST_F(PrivateFolder, IsPrivateAndNamedInTheEnvironment) {
    const PrivateTemporaryFolder folder;
    EXPECT_THAT(named(), StartsWith(shared_ / "installer-host-"));
    EXPECT_TRUE(fs::is_directory(named()));
    EXPECT_EQ(fs::status(named()).permissions(), fs::perms::owner_all);
}

TEST_F(PrivateFolder, IsRemovedWithTheEmptyFoldersInIt) {
    std::string path;
    {
        const PrivateTemporaryFolder folder;
        path = named();
        fs::create_directory(path + "/empty");
        fs::create_directory(path + "/empty as well");
    }
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(PrivateFolder, FilesThatWereLeftInItStay) {
    std::string path;
    {
        const PrivateTemporaryFolder folder;
        path = named();
        fs::create_directories(path + "/unpacked/application");
        shared_.writeFile(fs::relative(path, shared_.path()).string() + "/file", "kept");
    }
    EXPECT_TRUE(fs::exists(path + "/unpacked/application"));
    EXPECT_EQ(test::readFile(path + "/file"), "kept");
}

TEST_F(PrivateFolder, ALinkInItIsNotFollowedWhenItIsRemoved) {
    const std::string outside = shared_.makeFolder("outside");
    std::string path;
    {
        const PrivateTemporaryFolder folder;
        path = named();
        fs::create_directory_symlink(outside, path + "/link");
    }
    EXPECT_TRUE(fs::is_directory(outside));
    EXPECT_TRUE(fs::is_symlink(path + "/link"));
}

TEST_F(PrivateFolder, ReportsWhyItCannotBeCreated) {
    ::setenv("TMPDIR", "/proc", 1);
    try {
        const PrivateTemporaryFolder folder;
        FAIL();
    } catch (const HostError& error) {
        EXPECT_THAT(error.what(),
                    StartsWith("no folder could be made in the temporary folder “/proc”: "));
    }
    EXPECT_EQ(named(), "/proc");
}

}  // namespace
}  // namespace quillmoor::host
