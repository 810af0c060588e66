#include "quillmoor/platform/linux/ground/programs_linux.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "tests/platform/support/scoped_environment.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_ {
namespace {

using test::ScopedEnvironment;
using test::TempFolder;

std::string makeProgram(const TempFolder& folder, const std::string& name) {
    std::string path = folder.writeFile(name, "#!/bin/sh\n");
    ::chmod(path.c_str(), 0755);
    return path;
}

// As the system knows the folder, should the way to it lead through links.
std::string canonical(const std::string& path) {
    char resolved[PATH_MAX];
    return ::realpath(path.c_str(), resolved) != nullptr ? resolved : path;
}

TEST(Programs, AreRegularFilesThatMayBeExecuted) {
    const TempFolder folder;
    const std::string program = makeProgram(folder, "a program");
    EXPECT_TRUE(isProgram(program));
    EXPECT_TRUE(isProgram(folder.makeLink("link", program)));
    EXPECT_FALSE(isProgram(folder.writeFile("plain")));
    EXPECT_FALSE(isProgram(folder.path()));
    EXPECT_FALSE(isProgram(folder / "missing"));
    EXPECT_FALSE(isProgram(folder.makeLink("dangling", "missing")));
    EXPECT_FALSE(isProgram(""));
    EXPECT_FALSE(isProgram(program + std::string("\0x", 2)));
}

TEST(Programs, APlainNameIsLookedForInTheFoldersOfThePath) {
    const TempFolder folder;
    folder.writeFile("one/tool");
    const std::string second = makeProgram(folder, "two/tool");
    makeProgram(folder, "three/tool");
    const ScopedEnvironment path("PATH", "relative::" + (folder / "one") + ":" + (folder / "two") +
                                             ":" + (folder / "three"));
    EXPECT_EQ(findProgram("tool"), second);
    EXPECT_EQ(findProgram("missing"), std::nullopt);
    EXPECT_EQ(findProgram("two/tool"), std::nullopt);
    EXPECT_EQ(findProgram("../two/tool"), std::nullopt);
    EXPECT_EQ(findProgram(""), std::nullopt);
    EXPECT_EQ(findProgram(second), second);
    EXPECT_EQ(findProgram(folder / "one/tool"), std::nullopt);
}

TEST(Programs, WithoutAPathTheUsualFoldersAreSearched) {
    const ScopedEnvironment path("PATH", nullptr);
    EXPECT_TRUE(findProgram("sh").has_value());
}

TEST(TrustedProgram, CanBeReplacedByRootAndThisUserOnly) {
    const TempFolder folder;
    const std::string program = makeProgram(folder, "bin/tool");
    EXPECT_EQ(trustedProgram(program), canonical(program));
    EXPECT_EQ(trustedProgram("/bin/sh"), canonical("/bin/sh"));
}

TEST(TrustedProgram, IsReturnedWithoutLinks) {
    const TempFolder folder;
    const std::string program = makeProgram(folder, "bin/tool");
    EXPECT_EQ(trustedProgram(folder.makeLink("link", program)), canonical(program));
}

TEST(TrustedProgram, MayNotBeWritableByOthers) {
    const TempFolder folder;
    const std::string program = makeProgram(folder, "bin/tool");
    for (const mode_t mode : {0775U, 0757U, 0777U}) {
        ASSERT_EQ(::chmod(program.c_str(), mode), 0);
        EXPECT_EQ(trustedProgram(program), std::nullopt) << mode;
    }
}

TEST(TrustedProgram, MayNotLieBelowAFolderThatOthersCanChange) {
    const TempFolder folder;
    const std::string program = makeProgram(folder, "bin/deep/tool");
    for (const char* name : {"bin", "bin/deep"}) {
        const std::string parent = folder / name;
        for (const mode_t mode : {0775U, 0757U}) {
            ASSERT_EQ(::chmod(parent.c_str(), mode), 0);
            EXPECT_EQ(trustedProgram(program), std::nullopt) << parent << " " << mode;
        }
        ASSERT_EQ(::chmod(parent.c_str(), 0755), 0);
    }
    EXPECT_NE(trustedProgram(program), std::nullopt);
}

TEST(TrustedProgram, MayBeBelowAStickyFolder) {
    const TempFolder folder;
    const std::string program = makeProgram(folder, "shared/ours/tool");
    ASSERT_EQ(::chmod((folder / "shared").c_str(), 01777), 0);
    EXPECT_NE(trustedProgram(program), std::nullopt);
}

TEST(TrustedProgram, IsNothingButAnAbsolutePathToAProgram) {
    const TempFolder folder;
    EXPECT_EQ(trustedProgram("bin/sh"), std::nullopt);
    EXPECT_EQ(trustedProgram(""), std::nullopt);
    EXPECT_EQ(trustedProgram(folder / "missing"), std::nullopt);
    EXPECT_EQ(trustedProgram(folder.writeFile("plain")), std::nullopt);
}

TEST(RootTrustedProgram, MayNotBelongToAnotherUserNorLieInTheirFolder) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can change owners";
    const TempFolder folder;
    const std::string program = makeProgram(folder, "shared/theirs/tool");
    ASSERT_EQ(::chown(program.c_str(), 65534, 65534), 0);
    EXPECT_EQ(trustedProgram(program), std::nullopt);
    ASSERT_EQ(::chown(program.c_str(), 0, 0), 0);
    EXPECT_NE(trustedProgram(program), std::nullopt);
    ASSERT_EQ(::chown((folder / "shared/theirs").c_str(), 65534, 65534), 0);
    EXPECT_EQ(trustedProgram(program), std::nullopt);
    ASSERT_EQ(::chmod((folder / "shared").c_str(), 01777), 0);
    EXPECT_EQ(trustedProgram(program), std::nullopt);
}

}  // namespace
}  // namespace quillmoor::platform::linux_
