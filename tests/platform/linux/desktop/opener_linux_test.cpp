#include "quillmoor/platform/linux/desktop/opener_linux.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <sstream>
#include <thread>

#include "tests/platform/support/scoped_environment.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_ {
namespace {

using test::ScopedEnvironment;
using test::somethingAt;
using test::TempFolder;

// Waits up to ten seconds.
bool eventually(const std::function<bool()>& condition) {
    for (int i = 0; i < 1000; ++i) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
}

class Opener : public testing::Test {
  protected:
    // A program that writes `facts`, a shell word, and then its process number, into result().
    std::string makeProgram(const std::string& name, const std::string& facts = "$0:$*") {
        std::string path =
            root_.writeFile(name, "#!/bin/sh\nexec 3>'" + result() + "'\nprintf '%s\\n' \"" +
                                      facts + "\" >&3\nprintf '%s' \"$$\" >&3\n");
        ::chmod(path.c_str(), 0755);
        return path;
    }

    std::string makeApplication(const std::string& name, const std::string& executable) {
        root_.writeFile(name + "/Contents/Info.plist",
                        "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>" +
                            executable + "</string></dict></plist>");
        return root_ / name;
    }

    std::string result() const { return root_ / "result"; }

    // What the program wrote, without its number; "nothing" when no program did.
    std::string facts() {
        const auto complete = [this] {
            text_ = test::readFile(result());
            const std::size_t newline = text_.rfind('\n');
            return newline != std::string::npos && newline + 1 < text_.size();
        };
        if (!eventually(complete)) return "nothing";
        return text_.substr(0, text_.rfind('\n'));
    }
    std::string processNumber() const { return text_.substr(text_.rfind('\n') + 1); }

    TempFolder root_;

  private:
    std::string text_;
};

TEST_F(Opener, AnApplicationsProgramIsStarted) {
    const std::string app = makeApplication("A b.app", "Run it");
    const std::string program = makeProgram("A b.app/Contents/Linux/Run it");
    EXPECT_TRUE(openFile(app));
    EXPECT_EQ(facts(), program + ":");
}

TEST_F(Opener, ATrailingSlashAndCapitalsMakeNoDifference) {
    const std::string app = makeApplication("A.APP", "run");
    const std::string program = makeProgram("A.APP/Contents/Linux/run");
    EXPECT_TRUE(openFile(app + "//"));
    EXPECT_EQ(facts(), program + ":");
}

TEST_F(Opener, AnApplicationsProgramIsLookedForInThisOrder) {
    const std::string app = makeApplication("A.app", "run");
    EXPECT_EQ(programOfApplication(app), std::nullopt);
    const std::string only = makeProgram("A.app/Contents/Linux/other");
    EXPECT_EQ(programOfApplication(app), only);
    const std::string mac = makeProgram("A.app/Contents/MacOS/run");
    EXPECT_EQ(programOfApplication(app), mac);
    const std::string linux = makeProgram("A.app/Contents/Linux/run");
    EXPECT_EQ(programOfApplication(app), linux);
    ASSERT_EQ(::chmod(linux.c_str(), 0644), 0);
    EXPECT_EQ(programOfApplication(app), mac);
}

TEST_F(Opener, OfTwoUnnamedProgramsNeitherIsTheApplications) {
    const std::string app = root_.makeFolder("A.app");
    const std::string first = makeProgram("A.app/Contents/Linux/one");
    root_.writeFile("A.app/Contents/Linux/notes.txt");
    EXPECT_EQ(programOfApplication(app), first);
    makeProgram("A.app/Contents/Linux/two");
    EXPECT_EQ(programOfApplication(app), std::nullopt);
}

TEST_F(Opener, AnExecutablesNameMayNotLeadOutOfItsFolder) {
    makeProgram("evil");
    EXPECT_EQ(programOfApplication(makeApplication("A.app", "../../../evil")), std::nullopt);
    EXPECT_EQ(programOfApplication(makeApplication("B.app", "..")), std::nullopt);
}

TEST_F(Opener, FailsForAnApplicationThatCannotBeStarted) {
    EXPECT_FALSE(openFile(root_ / "missing.app"));
    EXPECT_FALSE(openFile(root_ / "missing.txt"));
    EXPECT_FALSE(openFile(root_.makeLink("dangling", "missing")));
    EXPECT_FALSE(openFile(""));
    EXPECT_FALSE(openFile(root_.path() + std::string("\0", 1)));
    EXPECT_FALSE(openFile(makeApplication("Empty.app", "run")));
    const std::string app = makeApplication("Foreign.app", "run");
    const std::string program = root_.writeFile("Foreign.app/Contents/MacOS/run", "\xCF\xFA\xED");
    ASSERT_EQ(::chmod(program.c_str(), 0755), 0);
    EXPECT_FALSE(openFile(app));
}

TEST_F(Opener, PassesADocumentToTheDesktopsOpener) {
    const std::string opener = makeProgram("bin/xdg-open");
    makeProgram("bin/gio");
    const ScopedEnvironment path("PATH", root_ / "bin");
    const std::string document = root_.writeFile("-a 'letter'.txt");
    EXPECT_TRUE(openFile(document));
    EXPECT_EQ(facts(), opener + ":" + document);
}

TEST_F(Opener, AFileNamedLikeAnApplicationIsADocument) {
    const std::string opener = makeProgram("bin/xdg-open");
    const ScopedEnvironment path("PATH", root_ / "bin");
    EXPECT_TRUE(openFile(root_.writeFile("A.app")));
    EXPECT_EQ(facts(), opener + ":" + (root_ / "A.app"));
}

TEST_F(Opener, UsesTheSecondOpenerWithoutTheFirst) {
    const std::string opener = makeProgram("bin/gio");
    const ScopedEnvironment path("PATH", root_ / "bin");
    EXPECT_TRUE(openFile(root_.path()));
    EXPECT_EQ(facts(), opener + ":open " + root_.path());
}

TEST_F(Opener, WithoutAnOpenerNoDocumentIsOpened) {
    const ScopedEnvironment path("PATH", root_.makeFolder("bin"));
    EXPECT_FALSE(openFile(root_.writeFile("letter.txt")));
}

TEST_F(Opener, ARelativePathIsMadeAbsolute) {
    const std::string opener = makeProgram("bin/xdg-open");
    const ScopedEnvironment path("PATH", root_ / "bin");
    root_.writeFile("-x");
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(root_.path());
    const std::string here = std::filesystem::current_path().string();
    EXPECT_TRUE(openFile("-x"));
    std::filesystem::current_path(before);
    EXPECT_EQ(facts(), opener + ":" + here + "/-x");
}

TEST_F(Opener, StartsAProgramInItsOwnSession) {
    // Session and process, working folder, standard streams.
    const std::string program = makeProgram(
        "run",
        "$(cut -d ' ' -f 6 /proc/$$/stat) $(pwd) $(readlink /proc/$$/fd/0 /proc/$$/fd/1 "
        "/proc/$$/fd/2 | tr '\\n' ' ')");
    EXPECT_TRUE(startOnItsOwn(program, {}));
    const std::string written = facts();
    EXPECT_EQ(written, processNumber() + " / /dev/null /dev/null /dev/null ");
}

TEST_F(Opener, AStartedProgramHasTheUsualSignals) {
    const std::string program =
        makeProgram("run", "$(sed -n 's/^Sig[BI][lg][kn]:.//p' /proc/$$/status | tr '\\n' ' ')");
    const auto before = std::signal(SIGHUP, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    EXPECT_TRUE(startOnItsOwn(program, {}));
    ::pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
    std::signal(SIGHUP, before);
    std::istringstream written(facts());
    unsigned long long blockedThere = 1;
    unsigned long long ignoredThere = 1;
    written >> std::hex >> blockedThere >> ignoredThere;
    EXPECT_FALSE(written.fail());
    EXPECT_EQ(blockedThere, 0U);
    // The two beyond the first 31 that the C library keeps for itself stay as they were.
    EXPECT_EQ(ignoredThere & 0x7FFFFFFFU, 0U);
}

TEST_F(Opener, AStartedProgramHasNoOtherDescriptor) {
    const int inherited = ::dup(STDERR_FILENO);  // not close-on-exec
    ASSERT_GT(inherited, 2);
    const std::string gone = "/proc/$$/fd/" + std::to_string(inherited + 100);
    ASSERT_EQ(::dup2(inherited, inherited + 100), inherited + 100);
    const std::string program = makeProgram("run", "$(test -e " + gone + " && echo there)");
    EXPECT_TRUE(startOnItsOwn(program, {}));
    EXPECT_EQ(facts(), "");
    ::close(inherited);
    ::close(inherited + 100);
}

TEST_F(Opener, AStartedProgramIsReapedWhenItEnds) {
    EXPECT_TRUE(startOnItsOwn(makeProgram("run"), {"one two", ""}));
    EXPECT_EQ(facts(), root_ / "run:one two ");
    const std::string process = "/proc/" + processNumber();
    EXPECT_TRUE(eventually([&] { return !somethingAt(process); })) << process;
}

TEST_F(Opener, AProgramIsStartedWhereTheEndOfChildrenIsIgnored) {
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_TRUE(startOnItsOwn(makeProgram("run"), {}));
    EXPECT_EQ(facts(), root_ / "run:");
    std::signal(SIGCHLD, before);
}

TEST_F(Opener, AProgramThatCannotBeStartedIsNotStarted) {
    EXPECT_FALSE(startOnItsOwn(root_ / "missing", {}));
    EXPECT_FALSE(startOnItsOwn(root_.path(), {}));
}

}  // namespace
}  // namespace quillmoor::platform::linux_
