#include "quillmoor/platform/linux/ground/environment_linux.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "quillmoor/platform/posix/ground/users_posix.h"
#include "tests/platform/support/scoped_environment.h"

namespace quillmoor::platform::linux_ {
namespace {

using test::ScopedEnvironment;

TEST(Environment, OnlyAnAbsolutePathIsAPath) {
    const ScopedEnvironment absolute("KX_A", "/some where//");
    const ScopedEnvironment relative("KX_B", "some");
    const ScopedEnvironment empty("KX_C", "");
    EXPECT_EQ(absolutePathInEnvironment("KX_A"), "/some where");
    EXPECT_EQ(absolutePathInEnvironment("KX_B"), std::nullopt);
    EXPECT_EQ(absolutePathInEnvironment("KX_C"), std::nullopt);
    EXPECT_EQ(absolutePathInEnvironment("KX_MISSING"), std::nullopt);
}

TEST(Environment, TheRootFolderKeepsItsSlash) {
    const ScopedEnvironment root("KX_A", "///");
    EXPECT_EQ(absolutePathInEnvironment("KX_A"), "/");
}

TEST(Environment, TheHomeIsTheOneInTheEnvironment) {
    const ScopedEnvironment home("HOME", "/else where/");
    EXPECT_EQ(homeOfThisProcess(), "/else where");
}

TEST(Environment, WithoutAnAbsoluteHomeThePasswordDatabaseSpeaks) {
    const auto user = posix::userWithId(::geteuid());
    ASSERT_TRUE(user.has_value());
    for (const char* value : {static_cast<const char*>(nullptr), "", "relative"}) {
        const ScopedEnvironment home("HOME", value);
        EXPECT_EQ(homeOfThisProcess(), user->home);
    }
}

TEST(RootEnvironment, WhomTheDatabaseDoesNotKnowIsAtHomeInTheRootFolder) {
    if (::getuid() != 0) GTEST_SKIP() << "needs root, which can become any user";
    constexpr uid_t kUnknown = 4242424;
    const ScopedEnvironment home("HOME", nullptr);
    ASSERT_EQ(::seteuid(kUnknown), 0);
    const std::string found = homeOfThisProcess();
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_EQ(found, "/");
}

TEST(Environment, AListOfFoldersLeavesOutWhatIsNotAbsolute) {
    const ScopedEnvironment list("KX_LIST", "/a/:relative::/b c:.");
    EXPECT_EQ(foldersInEnvironment("KX_LIST", "/x"), (StringList{"/a", "/b c"}));
}

TEST(Environment, AMissingOrEmptyListIsTheStandardOne) {
    EXPECT_EQ(foldersInEnvironment("KX_MISSING", "/x:/y"), (StringList{"/x", "/y"}));
    const ScopedEnvironment empty("KX_LIST", "");
    EXPECT_EQ(foldersInEnvironment("KX_LIST", "/x"), (StringList{"/x"}));
}

}  // namespace
}  // namespace quillmoor::platform::linux_
