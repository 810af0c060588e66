#include "quillmoor/platform/locations.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <span>
#include <string>

#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/ground/users_posix.h"
#include "tests/platform/support/scoped_environment.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using test::ScopedEnvironment;
using test::TempFolder;

Locations& locations() {
    return *native().locations;
}

std::string cacheFolder() {
    std::array<char, 1024> buffer{};
    const std::size_t size = locations().confstr(kDarwinUserCacheDirectory, buffer);
    return size == 0 ? "none" : std::string(buffer.data(), size - 1);
}

TEST(LinuxLocations, TheCacheFolderIsTheDesktopsOwn) {
    const ScopedEnvironment home("HOME", "/home/al/");
    EXPECT_EQ(cacheFolder(), "/home/al/.cache");
    const ScopedEnvironment cache("XDG_CACHE_HOME", "/fast/cache//");
    EXPECT_EQ(cacheFolder(), "/fast/cache");
    const ScopedEnvironment relative("XDG_CACHE_HOME", "cache");
    EXPECT_EQ(cacheFolder(), "/home/al/.cache");
}

TEST(LinuxLocations, TheTemporaryFolderIsTheEnvironmentsIfThereIsOne) {
    const TempFolder folder;
    {
        const ScopedEnvironment temporary("TMPDIR", folder.path() + "//");
        EXPECT_EQ(locations().temporaryDirectory(), folder.path());
    }
    for (const std::string& value :
         {folder / "missing", folder.writeFile("file"), std::string("relative"), std::string()}) {
        const ScopedEnvironment temporary("TMPDIR", value);
        EXPECT_EQ(locations().temporaryDirectory(), "/tmp") << value;
    }
    const ScopedEnvironment none("TMPDIR", nullptr);
    EXPECT_EQ(locations().temporaryDirectory(), "/tmp");
}

TEST(LinuxLocations, ALinkToAFolderMayBeTheTemporaryFolder) {
    const TempFolder folder;
    const std::string link = folder.makeLink("link", folder.makeFolder("real"));
    const ScopedEnvironment temporary("TMPDIR", link);
    EXPECT_EQ(locations().temporaryDirectory(), link);
}

TEST(LinuxLocations, TheUserIsTheOneThatTheProcessRunsFor) {
    const ScopedEnvironment user("USER", "somebody else");
    const ScopedEnvironment sudo("SUDO_USER", "somebody else");
    EXPECT_EQ(locations().userName(), posix::userWithId(::geteuid())->name);
}

TEST(RootLocations, NameAnUnknownUserByTheEnvironmentElseByNumber) {
    if (::getuid() != 0) GTEST_SKIP() << "needs root, which can become any user";
    constexpr uid_t kUnknown = 4242424;
    const auto nameWith = [](const char* value) {
        const ScopedEnvironment user("USER", value);
        EXPECT_EQ(::seteuid(kUnknown), 0);
        const std::string name = locations().userName();
        EXPECT_EQ(::seteuid(0), 0);
        return name;
    };
    EXPECT_EQ(nameWith("somebody"), "somebody");
    EXPECT_EQ(nameWith(""), "4242424");
    EXPECT_EQ(nameWith(nullptr), "4242424");
}

TEST(LinuxLocations, ReturnRootsHomeWithoutAName) {
    EXPECT_EQ(locations().homeDirectoryForUser(std::nullopt), posix::userWithId(0)->home);
}

TEST(RootLocations, BeginUserFoldersWithRootsHome) {
    if (::getuid() != 0) GTEST_SKIP() << "for root";
    EXPECT_EQ(locations().searchPaths(SearchPathDirectory::Library, SearchPathDomainMask::User),
              (StringList{"/var/root/Library"}));
}

TEST(UserLocations, UserFoldersBeginWithTheHome) {
    if (::getuid() == 0) GTEST_SKIP() << "for an ordinary user";
    const ScopedEnvironment home("HOME", "/home/al");
    EXPECT_EQ(locations().searchPaths(SearchPathDirectory::Library, SearchPathDomainMask::User),
              (StringList{"/home/al/Library"}));
}

}  // namespace
}  // namespace quillmoor::platform
