// What a program writes that was started with KX_TRACE in its environment.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio.h>

#include <array>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "tests/platform/support/captured_trace.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using testing::Contains;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::StartsWith;

class Trace : public testing::Test {
  protected:
    // Runs the program in the folder, with a shell's words before and after it, and returns what it
    // writes to standard output.
    std::string run(const std::string& before, const std::string& after) {
        const std::string command =
            "cd '" + folder_.path() + "' && " + before + " " TRACED_PROGRAM " " + after;
        FILE* const output = ::popen(command.c_str(), "r");
        std::string text;
        std::array<char, 4096> buffer{};
        while (const std::size_t got = ::fread(buffer.data(), 1, buffer.size(), output))
            text.append(buffer.data(), got);
        EXPECT_EQ(::pclose(output), 0) << command << "\n" << text;
        return text;
    }

    test::TempFolder folder_;
};

TEST_F(Trace, ShowsTheCallsOfAMove) {
    folder_.writeFile("a");
    const std::string text = run("KX_TRACE=fs", "move a \"b\nc\" 2>&1");
    EXPECT_TRUE(test::somethingAt(folder_ / "b\nc"));
    std::istringstream lines(text);
    const std::regex format(R"(kx\[\d+/\d+\] fs \w+\(.*\) = .+ \(\d+ us\))");
    for (std::string line; std::getline(lines, line);)
        EXPECT_TRUE(std::regex_match(line, format)) << line;
    EXPECT_THAT(test::traceLines(text),
                Contains(ContainsRegex(
                    R"x(^fs renameNoReplace\("a" in [0-9]+, "b\\x0ac" in [0-9]+\) = 0$)x")));
}

TEST_F(Trace, ShowsNothingThatWasNotAskedFor) {
    folder_.writeFile("a");
    EXPECT_EQ(run("env -u KX_TRACE", "move a b 2>&1"), "");
    EXPECT_EQ(run("KX_TRACE=", "move b a 2>&1"), "");
    EXPECT_EQ(run("KX_TRACE=process,authorization", "move a b 2>&1"), "");
}

TEST_F(Trace, ShowsChildren) {
    const auto lines = test::traceLines(run("KX_TRACE=process", "start /bin/true 2>&1"));
    ASSERT_FALSE(lines.empty());
    EXPECT_THAT(lines.front(), StartsWith("process posix_spawn(\"/bin/true\", 0 arguments) = 0"));
    EXPECT_THAT(lines, Contains(testing::HasSubstr(" exited 0")));
}

TEST_F(Trace, ShowsWhatTheSessionAsks) {
    EXPECT_THAT(test::traceLines(run("KX_TRACE=authorization", "rights 2>&1")),
                ElementsAre("authorization create(nil, nil, 0) = 0", "authorization free(0) = 0"));
}

TEST_F(Trace, ReportsAnUnknownAreaAndShowsTheRest) {
    folder_.writeFile("a");
    const std::string text = run("KX_TRACE=nonesuch,fs", "remove a 2>&1");
    EXPECT_THAT(text, StartsWith("kx: KX_TRACE: no such area: \"nonesuch\"; there are fs, process "
                                 "and authorization\n"));
    EXPECT_THAT(text, ContainsRegex("fs unlinkat"));
}

TEST_F(Trace, GoesOnInTheChildOfAFork) {
    folder_.writeFile("a");
    folder_.writeFile("b");
    const std::string text = run("KX_TRACE=fs", "fork a b 2>&1");
    EXPECT_FALSE(test::somethingAt(folder_ / "b"));
    std::istringstream lines(text);
    std::set<std::string> processes;
    for (std::string line; std::getline(lines, line);)
        processes.insert(line.substr(0, line.find('/')));
    EXPECT_EQ(processes.size(), 2U) << text;
    EXPECT_THAT(text, ContainsRegex("fs unlinkat\\(\"b\" in [0-9]+, 0\\) = 0"));
}

// The file that is opened gets standard error's number.
TEST_F(Trace, WritesIntoNoFileWhereStandardErrorIsClosed) {
    EXPECT_EQ(run("KX_TRACE=fs", "open file missing 2>&-"), "");
    EXPECT_EQ(test::readFile(folder_ / "file"), "");
}

}  // namespace
}  // namespace quillmoor::platform
