#include "quillmoor/platform/linux/authorization/launch/launch_programs_linux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>

#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/platform/support/scoped_environment.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using test::ScopedEnvironment;
using testing::ElementsAre;
using testing::Pair;

TEST(LaunchPrograms, AreNotSearchedForInThePath) {
    const test::TempFolder folder;
    folder.writeFile("sh", "#!/bin/sh\n");
    const ScopedEnvironment path("PATH", folder.path());
    EXPECT_EQ(systemProgram("sh"), "/usr/bin/sh");
    EXPECT_EQ(systemProgram("no such program"), std::nullopt);
}

TEST(LaunchPrograms, AreNotLookedForOutsideTheirFolders) {
    EXPECT_EQ(systemProgram("../../etc/passwd"), std::nullopt);
    EXPECT_EQ(systemProgram(""), std::nullopt);
}

TEST(LaunchPrograms, WhoseTextsAreReadGetNothingOfTheEnvironment) {
    const ScopedEnvironment language("LANG", "de_DE.UTF-8");
    const ScopedEnvironment other("LD_PRELOAD_LIKE", "x");
    EXPECT_THAT(plainEnvironment(),
                ElementsAre(Pair("LC_ALL", "C"), Pair("PATH", "/usr/sbin:/usr/bin:/sbin:/bin")));
}

TEST(LaunchPrograms, ThatSpeakToTheUserGetTheUsersLanguage) {
    const ScopedEnvironment all("LC_ALL", "fr_FR.UTF-8");
    const ScopedEnvironment terminal("TERM", "vt100");
    const ScopedEnvironment other("SOMETHING_ELSE", "x");
    const Environment environment = userEnvironment();
    EXPECT_EQ(environment.at("LC_ALL"), "fr_FR.UTF-8");
    EXPECT_EQ(environment.at("TERM"), "vt100");
    EXPECT_EQ(environment.at("PATH"), "/usr/sbin:/usr/bin:/sbin:/bin");
    EXPECT_EQ(environment.count("SOMETHING_ELSE"), 0U);
}

TEST(LaunchPrograms, CannotHelpAConfinedProcess) {
    EXPECT_EQ(test::exitStatusOfFork([] {
                  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
                  return isConfined() ? 7 : 8;
              }),
              7);
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
