#include "quillmoor/platform/linux/desktop/entry_text_linux.h"

#include <gtest/gtest.h>

#include "quillmoor/platform/linux/desktop/desktop_entry_linux.h"

namespace quillmoor::platform::linux_ {
namespace {

// What is read back of the entry of `program`.
OptionalString programRead(const std::string& program) {
    const DesktopEntry entry = parseDesktopEntry(desktopEntryText("Tally", program));
    EXPECT_TRUE(entry.isApplication);
    EXPECT_FALSE(entry.isHidden);
    EXPECT_EQ(entry.tryExec, program);
    return programInExec(entry.exec.value_or(""));
}

TEST(EntryText, IsAnEntryOfAnApplication) {
    EXPECT_EQ(desktopEntryText("Tallyframe", "/opt/Tallyframe.app/Contents/Linux/tally"),
              "[Desktop Entry]\nType=Application\nName=Tallyframe\n"
              "TryExec=/opt/Tallyframe.app/Contents/Linux/tally\n"
              "Exec=\"/opt/Tallyframe.app/Contents/Linux/tally\"\n");
}

TEST(EntryText, AProgramIsEscapedForTheFileAndForTheCommandLine) {
    EXPECT_EQ(desktopEntryText("T", "/a b\n\"$`\\%f\t\r"),
              "[Desktop Entry]\nType=Application\nName=T\n"
              "TryExec=/a b\\n\"$`\\\\%f\\t\\r\n"
              "Exec=\"/a b\\n\\\\\"\\\\$\\\\`\\\\\\\\%%f\\t\\r\"\n");
}

TEST(EntryText, AnyProgramIsReadBack) {
    for (const char* program :
         {"/a", "/with blank", "/ends in a blank ", "/two\nlines", "/tab\tand\rreturn",
          "/\"quoted\" 'twice'", "/back\\slash", "/ends in one\\", "/\\n", "/$HOME`id`", "/100%",
          "/%%", "/%f%u", "/x\n[Desktop Entry]\nHidden=true", "/\xff\xfe", "/caf\u00e9", "/;&|#=~"})
        EXPECT_EQ(programRead(program), program) << program;
}

TEST(EntryText, ANameStaysOnItsLine) {
    const std::string text = desktopEntryText("Evil\nExec=/bin/false\r\t\x1b\x7f", "/a");
    EXPECT_NE(text.find("\nName=EvilExec=/bin/false\n"), std::string::npos) << text;
    EXPECT_EQ(programInExec(*parseDesktopEntry(text).exec), "/a");
}

TEST(EntryText, ANameKeepsItsBlanksAndBackslashes) {
    const std::string text = desktopEntryText(" a b\\s ", "/a");
    EXPECT_NE(text.find("\nName=\\sa b\\\\s\\s\n"), std::string::npos) << text;
}

}  // namespace
}  // namespace quillmoor::platform::linux_
