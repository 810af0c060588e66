#include "quillmoor/platform/posix/trace/traced_calls_posix.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/captured_trace.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class TracedCalls : public testing::Test {
  protected:
    ~TracedCalls() override { exchangeSystemCalls(before_); }

    // The calls below are the system's, but for those that a test replaces beforehand.
    const SystemCalls& trace(const TraceAreas& areas) {
        exchangeSystemCalls(&below_);
        traceSystemCalls(areas);
        return systemCalls();
    }
    static std::string number(const Descriptor& open) { return std::to_string(open.get()); }
    Descriptor open(const std::string& path, int flags) {
        return Descriptor(::open(path.c_str(), flags | O_CLOEXEC));
    }

    const SystemCalls* before_ = &systemCalls();
    SystemCalls below_ = systemCalls();
    test::TempFolder folder_;
    const Descriptor at_ = open(folder_.path(), O_RDONLY | O_DIRECTORY);
    const std::string in_ = "\" in " + number(at_);
};

TEST_F(TracedCalls, NameItemsByTheirFolders) {
    folder_.writeFile("b");
    const SystemCalls& calls = trace({.files = true});
    test::CapturedTrace lines;
    const int at = at_.get();
    calls.mkdirat(at, "a", 0700);
    calls.renameat(at, "missing", at, "c");
    calls.linkat(at, "b", at, "c", 0);
    calls.symlinkat("to\n", at, "link");
    calls.unlinkat(at, "a", AT_REMOVEDIR);
    calls.fchmodat(at, "b", 0600, 0);
    const std::string elsewhere = folder_ / "missing/x";
    calls.unlinkat(AT_FDCWD, elsewhere.c_str(), 0);
    EXPECT_THAT(lines.lines(),
                ElementsAre("fs mkdirat(\"a" + in_ + ", 0700) = 0",
                            "fs renameat(\"missing" + in_ + ", \"c" + in_ + ") = -1 ENOENT",
                            "fs linkat(\"b" + in_ + ", \"c" + in_ + ", 0) = 0",
                            "fs symlinkat(\"to\\x0a\", \"link" + in_ + ") = 0",
                            "fs unlinkat(\"a" + in_ + ", 0x200) = 0",
                            "fs fchmodat(\"b" + in_ + ", 0600, 0) = 0",
                            "fs unlinkat(\"" + elsewhere + "\", 0) = -1 ENOENT"));
}

TEST_F(TracedCalls, ShowHowMuchIsReadAndWrittenAndNotWhat) {
    const Descriptor file = open(folder_.writeFile("file", "secret"), O_RDWR);
    const SystemCalls& calls = trace({.files = true});
    test::CapturedTrace lines;
    std::array<char, 100> buffer{};
    calls.read(file.get(), buffer.data(), buffer.size());
    calls.pwrite(file.get(), "hidden", 6, 2);
    calls.pread(file.get(), buffer.data(), buffer.size(), 3);
    const std::string text = lines.text();
    EXPECT_THAT(test::traceLines(text), ElementsAre("fs read(" + number(file) + ", 100) = 6",
                                                    "fs pwrite(" + number(file) + ", 6, 2) = 6",
                                                    "fs pread(" + number(file) + ", 100, 3) = 5"));
    EXPECT_THAT(text, Not(HasSubstr("secret")));
    EXPECT_THAT(text, Not(HasSubstr("hidden")));
}

TEST_F(TracedCalls, ShowNothingOfWhatGoesThroughAPipe) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const Descriptor reading(ends[0]);
    const Descriptor writing(ends[1]);
    const SystemCalls& calls = trace({.files = true});
    test::CapturedTrace lines;
    std::array<char, 100> buffer{};
    EXPECT_EQ(calls.write(writing.get(), "password", 8), 8);
    EXPECT_EQ(calls.read(reading.get(), buffer.data(), buffer.size()), 8);
    EXPECT_THAT(lines.lines(), IsEmpty());
}

TEST_F(TracedCalls, ShowNamesThatAreResults) {
    folder_.writeFile("only");
    Descriptor again = open(folder_.path(), O_RDONLY | O_DIRECTORY);
    const std::string opened = number(again);
    const SystemCalls& calls = trace({.files = true});
    test::CapturedTrace lines;
    DIR* const stream = calls.fdopendir(again.release());
    int count = 0;
    errno = 0;
    while (calls.readdir(stream) != nullptr) ++count;
    EXPECT_EQ(errno, 0);
    ::closedir(stream);
    char* const real = calls.realpath("/..", nullptr);
    std::free(real);
    EXPECT_EQ(calls.realpath("/nowhere", nullptr), nullptr);
    EXPECT_EQ(count, 3);
    std::vector<std::string> all = lines.lines();
    ASSERT_EQ(all.size(), 7U);
    EXPECT_EQ(all.front(), "fs fdopendir(" + opened + ") = 0");
    EXPECT_THAT(all, testing::Contains("fs readdir() = \"only\""));
    EXPECT_EQ(all[4], "fs readdir() = null");
    EXPECT_EQ(all[5], "fs realpath(\"/..\") = \"/\"");
    EXPECT_EQ(all[6], "fs realpath(\"/nowhere\") = null ENOENT");
}

TEST_F(TracedCalls, LeaveErrnoAsTheCallDid) {
    below_.fstat = [](int, struct stat*) { return 0; };
    below_.close = [](int) {
        errno = EDQUOT;
        return -1;
    };
    const SystemCalls& calls = trace({.files = true});
    test::CapturedTrace lines;
    struct stat status {};
    errno = EXDEV;
    EXPECT_EQ(calls.fstat(-1, &status), 0);
    EXPECT_EQ(errno, EXDEV);
    EXPECT_EQ(calls.close(-1), -1);
    EXPECT_EQ(errno, EDQUOT);
    EXPECT_THAT(lines.lines(), ElementsAre("fs fstat(-1) = 0", "fs close(-1) = -1 EDQUOT"));
}

TEST_F(TracedCalls, ShowTheirAreaAlone) {
    const SystemCalls& process = trace({.process = true});
    {
        test::CapturedTrace lines;
        process.mkdirat(at_.get(), "a", 0700);
        process.kill(::getpid(), 0);
        EXPECT_THAT(lines.lines(),
                    ElementsAre("process kill(" + std::to_string(::getpid()) + ", 0) = 0"));
    }
    const SystemCalls& files = trace({.files = true});
    test::CapturedTrace lines;
    files.kill(::getpid(), 0);
    EXPECT_THAT(lines.lines(), IsEmpty());
}

TEST_F(TracedCalls, ShowChildrenAndNoneOfTheirArguments) {
    const SystemCalls& calls = trace({.process = true});
    test::CapturedTrace lines;
    std::string shell = "sh";
    std::string option = "-c";
    std::string script = "exit 3 # secret";
    std::array arguments{shell.data(), option.data(), script.data(), static_cast<char*>(nullptr)};
    std::array<char*, 1> environment{nullptr};
    pid_t child = 0;
    ASSERT_EQ(calls.posix_spawn(&child, "/bin/sh", nullptr, nullptr, arguments.data(),
                                environment.data()),
              0);
    siginfo_t info{};
    ASSERT_EQ(calls.waitid(P_PID, static_cast<id_t>(child), &info, WEXITED), 0);
    pid_t none = 0;
    EXPECT_EQ(calls.posix_spawn(&none, "/nowhere/tool", nullptr, nullptr, arguments.data(),
                                environment.data()),
              ENOENT);
    EXPECT_EQ(calls.waitid(P_PID, static_cast<id_t>(child), &info, WEXITED), -1);
    const std::string number = std::to_string(child);
    EXPECT_THAT(
        lines.lines(),
        ElementsAre("process posix_spawn(\"/bin/sh\", 2 arguments) = 0, child " + number,
                    "process waitid(1, " + number + ", 0x4) = 0, child " + number + " exited 3",
                    "process posix_spawn(\"/nowhere/tool\", 2 arguments) = 2 ENOENT",
                    "process waitid(1, " + number + ", 0x4) = -1 ECHILD"));
}

}  // namespace
}  // namespace quillmoor::platform::posix
