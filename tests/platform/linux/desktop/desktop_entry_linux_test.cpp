#include "quillmoor/platform/linux/desktop/desktop_entry_linux.h"

#include <gtest/gtest.h>

namespace quillmoor::platform::linux_ {
namespace {

TEST(DesktopEntry, ReadsItsOwnGroupOnly) {
    const DesktopEntry entry = parseDesktopEntry(
        "# comment\nExec=before\n[Desktop Entry]\nType=Application\n Exec = /bin/a b %U \n"
        "TryExec=/bin/a\n#Hidden=true\nName[de]=x=y\n\n[Desktop Action new]\nExec=/bin/c\n");
    EXPECT_TRUE(entry.isApplication);
    EXPECT_FALSE(entry.isHidden);
    EXPECT_EQ(entry.exec, "/bin/a b %U");
    EXPECT_EQ(entry.tryExec, "/bin/a");
}

TEST(DesktopEntry, WhatIsMissingStaysUnset) {
    const DesktopEntry entry = parseDesktopEntry("[Desktop Entry]\nType=Link\nNoDisplay=true");
    EXPECT_FALSE(entry.isApplication);
    EXPECT_FALSE(entry.isHidden);
    EXPECT_EQ(entry.exec, std::nullopt);
    EXPECT_EQ(entry.tryExec, std::nullopt);
}

TEST(DesktopEntry, IsHiddenOnlyForTheValueTrue) {
    EXPECT_TRUE(parseDesktopEntry("[Desktop Entry]\nHidden=true\r\n").isHidden);
    EXPECT_FALSE(parseDesktopEntry("[Desktop Entry]\nHidden=false\n").isHidden);
}

TEST(DesktopEntry, ValuesHaveEscapesOfTheirOwn) {
    EXPECT_EQ(parseDesktopEntry("[Desktop Entry]\nExec=a\\sb\\\\c\\t\\n\\r\\q\\").exec,
              "a b\\c\t\n\r\\q\\");
}

TEST(ProgramInExec, IsTheFirstWord) {
    EXPECT_EQ(programInExec("/usr/bin/app --new %U"), "/usr/bin/app");
    EXPECT_EQ(programInExec("app"), "app");
    EXPECT_EQ(programInExec("  app\t%f"), "app");
}

TEST(ProgramInExec, MayBeQuoted) {
    EXPECT_EQ(programInExec("\"/opt/My App/run\" %U"), "/opt/My App/run");
    EXPECT_EQ(programInExec(R"("/opt/a\"b\$c\`d\\e" x)"), "/opt/a\"b$c`d\\e");
}

TEST(ProgramInExec, IsNilWithoutAProgram) {
    for (const char* exec : {"", "   ", "\"\"", "\"/opt/open", "\""})
        EXPECT_EQ(programInExec(exec), std::nullopt) << exec;
}

}  // namespace
}  // namespace quillmoor::platform::linux_
