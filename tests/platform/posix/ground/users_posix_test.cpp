#include "quillmoor/platform/posix/ground/users_posix.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace quillmoor::platform::posix {
namespace {

TEST(Users, FindRootByNumberAndByName) {
    const std::optional<User> byId = userWithId(0);
    ASSERT_TRUE(byId.has_value());
    const passwd* expected = ::getpwuid(0);
    ASSERT_NE(expected, nullptr);
    EXPECT_EQ(byId->name, expected->pw_name);
    EXPECT_EQ(byId->home, expected->pw_dir);
    const std::optional<User> byName = userWithName(byId->name);
    ASSERT_TRUE(byName.has_value());
    EXPECT_EQ(byName->id, 0U);
    EXPECT_EQ(byName->home, byId->home);
}

TEST(Users, AreNilForAnUnknownUser) {
    EXPECT_EQ(userWithName("no such user, surely"), std::nullopt);
    EXPECT_EQ(userWithId(4242424), std::nullopt);
}

TEST(Users, AreNilForAnEmptyNameAndOneWithANul) {
    const std::optional<User> root = userWithId(0);
    ASSERT_TRUE(root.has_value());
    EXPECT_EQ(userWithName(""), std::nullopt);
    EXPECT_EQ(userWithName(root->name + std::string("\0x", 2)), std::nullopt);
}

}  // namespace
}  // namespace quillmoor::platform::posix
