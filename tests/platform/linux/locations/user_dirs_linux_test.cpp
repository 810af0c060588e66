#include "quillmoor/platform/linux/locations/user_dirs_linux.h"

#include <gtest/gtest.h>

namespace quillmoor::platform::linux_ {
namespace {

OptionalPath documents(const std::string& value) {
    return userDir("XDG_DOCUMENTS_DIR=" + value + "\n", "DOCUMENTS", "/home/al");
}

TEST(UserDir, ExpandsTheUsersHome) {
    EXPECT_EQ(documents("\"$HOME/Dokumente\""), "/home/al/Dokumente");
    EXPECT_EQ(documents("\"$HOME/Meine \\\"Akten\\\"/x\""), "/home/al/Meine \"Akten\"/x");
    EXPECT_EQ(documents("\"$HOME//Dokumente//\""), "/home/al/Dokumente");
}

TEST(UserDir, AnAbsolutePathStaysAsItIs) {
    EXPECT_EQ(documents("\"/data/docs/\""), "/data/docs");
}

TEST(UserDir, MayHaveAnyBytesInItsName) {
    EXPECT_EQ(documents("\"$HOME/\xFF e\xCC\x81\""), "/home/al/\xFF e\xCC\x81");
}

TEST(UserDir, IsNilForTheHomeItself) {
    for (const char* value :
         {"\"$HOME/\"", "\"$HOME\"", "\"/home/al\"", "\"/home/al//\"", "\"/\"", "\"/home\""})
        EXPECT_EQ(documents(value), std::nullopt) << value;
}

TEST(UserDir, IsNilForAnUnusablePath) {
    for (const char* value : {"\"Documents\"", "\"$HOMEX/a\"", "\"~/a\"", "\"\"", "\"$HOME/../b\"",
                              "\"$HOME/./b\"", "\"/data/..\"", "\"$OTHER/a\""})
        EXPECT_EQ(documents(value), std::nullopt) << value;
}

TEST(UserDir, IsNilForAMissingKind) {
    EXPECT_EQ(userDir("XDG_DESKTOP_DIR=\"$HOME/Tisch\"", "DOCUMENTS", "/home/al"), std::nullopt);
    EXPECT_EQ(userDir("XDG_DESKTOP_DIR=\"$HOME/Tisch\"", "DESKTOP", "/home/al"), "/home/al/Tisch");
}

TEST(UserDir, AHomeThatIsTheRootFolderHasFoldersToo) {
    EXPECT_EQ(userDir("XDG_DESKTOP_DIR=\"$HOME/Tisch\"", "DESKTOP", "/"), "/Tisch");
}

}  // namespace
}  // namespace quillmoor::platform::linux_
