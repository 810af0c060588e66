#include "tools/version-check/private_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::version_check {
namespace {

class FakeLocations : public test::ForwardingLocations {
  public:
    std::string temporary;
    std::string temporaryDirectory() override { return temporary; }
};

class PrivateFolderTest : public ::testing::Test {
  protected:
    PrivateFolderTest() {
        locations_.temporary = folder_.path();
        platform_->locations = &locations_;
    }

    test::TempFolder folder_;
    FakeLocations locations_;
    test::ScopedPlatform platform_;
};

TEST_F(PrivateFolderTest, IsNewInTheTemporaryFolderAndTheUsersAlone) {
    const ::mode_t before = ::umask(0);
    const PrivateFolder one;
    const PrivateFolder other;
    ::umask(before);
    EXPECT_NE(one.path(), other.path());
    EXPECT_TRUE(one.path().starts_with(folder_ / "version-check-")) << one.path();
    struct stat info {};
    ASSERT_EQ(::stat(one.path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0700U);
}

TEST_F(PrivateFolderTest, IsRemovedWithItsContents) {
    std::string path;
    {
        const PrivateFolder folder;
        path = folder.path();
        std::filesystem::create_directories(path + "/a/b");
        std::filesystem::create_symlink(folder_.writeFile("target"), path + "/link");
    }
    EXPECT_FALSE(test::somethingAt(path));
    EXPECT_TRUE(test::somethingAt(folder_ / "target"));
}

TEST_F(PrivateFolderTest, IsKeptOnRequest) {
    std::string path;
    {
        PrivateFolder folder;
        folder.keep();
        path = folder.path();
    }
    EXPECT_TRUE(test::somethingAt(path));
}

TEST_F(PrivateFolderTest, IsNotMadeWhereOthersCouldExchangeIt) {
    for (const ::mode_t shared : {0777U, 0770U, 0702U}) {
        ASSERT_EQ(::chmod(folder_.path().c_str(), shared), 0);
        EXPECT_THROW(PrivateFolder(), std::runtime_error) << std::oct << shared;
        EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
    }
    for (const ::mode_t safe : {0755U, 01777U}) {
        ASSERT_EQ(::chmod(folder_.path().c_str(), safe), 0);
        EXPECT_NO_THROW(PrivateFolder()) << std::oct << safe;
    }
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder to another user";
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
    ASSERT_EQ(::chown(folder_.path().c_str(), 65534, 65534), 0);
    EXPECT_THROW(PrivateFolder(), std::runtime_error);
    ASSERT_EQ(::chmod(folder_.path().c_str(), 01777), 0);
    EXPECT_NO_THROW(PrivateFolder());
}

TEST_F(PrivateFolderTest, WithoutATemporaryFolderIsAnError) {
    locations_.temporary = folder_ / "gone";
    try {
        const PrivateFolder folder;
        FAIL() << folder.path();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), ENOENT);
        EXPECT_NE(std::string(error.what()).find(folder_ / "gone"), std::string::npos);
    }
}

}  // namespace
}  // namespace quillmoor::version_check
