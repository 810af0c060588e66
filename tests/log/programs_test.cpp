// Whole programs that log, and the files that they leave however they end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"

namespace quillmoor {
namespace {

namespace fs = std::filesystem;

// Runs the program with its log in `home`; returns the status of waitpid.
int runProgram(const test::TempFolder& home, const std::string& mode, const std::string& count) {
    const pid_t child = ::fork();
    if (child == 0) {
        const std::string output = home / "output";
        if (std::freopen(output.c_str(), "w", stdout) == nullptr) ::_exit(126);
        if (std::freopen("/dev/null", "w", stderr) == nullptr) ::_exit(126);
        ::execl(KX_LOG_PROGRAM, "log_program", mode.c_str(), home.path().c_str(), count.c_str(),
                static_cast<char*>(nullptr));
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
}

// Root's newest generation would be in the machine's own library: these tests are skipped for root.
#define SKIP_FOR_ROOT() \
    if (::geteuid() == 0) GTEST_SKIP() << "as root the log is the machine's own"

std::vector<std::string> lines(const std::string& path) {
    std::vector<std::string> found;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) found.push_back(line);
    return found;
}

std::string newest(const test::TempFolder& home) {
    return home / "Library/Logs/Quillmoor/log_program.1.log";
}

std::string lastMessage(const test::TempFolder& home) {
    const auto all = lines(newest(home));
    return all.empty() ? "" : all.back().substr(28);
}

TEST(LoggingProgram, ThatEndsNormallyLosesNothing) {
    SKIP_FOR_ROOT();
    const test::TempFolder home;
    EXPECT_EQ(runProgram(home, "end", "19"), 0);
    EXPECT_EQ(lastMessage(home), "line 18");
}

TEST(LoggingProgram, ThatDiesOfAPlatformExceptionLeavesItsReason) {
    SKIP_FOR_ROOT();
    const test::TempFolder home;
    const int status = runProgram(home, "platform", "1000");
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
    EXPECT_EQ(lastMessage(home), "dying of a platform exception");
    EXPECT_EQ(lines(newest(home)).size(), 4U + 1000U + 1U);
    EXPECT_EQ(test::readFile(home / "output"), "dying of a platform exception\n");
}

TEST(LoggingProgram, ThatDiesOfAStandardExceptionLeavesItsText) {
    SKIP_FOR_ROOT();
    const test::TempFolder home;
    runProgram(home, "standard", "1");
    EXPECT_EQ(lastMessage(home), "dying of a standard exception");
}

TEST(LoggingProgram, ThatDiesOfAnyOtherObjectLeavesItsType) {
    SKIP_FOR_ROOT();
    const test::TempFolder home;
    runProgram(home, "other", "1");
    EXPECT_EQ(lastMessage(home), "int");
}

TEST(LoggingProgram, ThatAbortsWithoutAnExceptionReportsNone) {
    SKIP_FOR_ROOT();
    const test::TempFolder home;
    const int status = runProgram(home, "nothing", "1");
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
    EXPECT_EQ(test::readFile(home / "output"), "");
}

// A second thread that dies meanwhile is not reported, and must not end the program.
void expectWholeLogOfTheFirst(const std::string& secondDiesOf) {
    const test::TempFolder home;
    const int status = runProgram(home, "second " + secondDiesOf, "17800");
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
    EXPECT_EQ(test::readFile(home / "output"), "dying of a platform exception\n");
    std::size_t linesOfProgram = 0;
    bool hasReason = false;
    for (const auto& entry : fs::directory_iterator(home / "Library/Logs/Quillmoor"))
        for (const std::string& line : lines(entry.path())) {
            linesOfProgram += line.find(" - line ") != std::string::npos ? 1 : 0;
            hasReason |= line.ends_with(" - dying of a platform exception");
        }
    EXPECT_EQ(linesOfProgram, 17800U);
    EXPECT_TRUE(hasReason);
}

TEST(LoggingProgram, ThatDiesOnTwoThreadsAtOnceLosesNothing) {
    SKIP_FOR_ROOT();
    expectWholeLogOfTheFirst("throws");
}

TEST(LoggingProgram, WhoseSecondThreadTerminatesMeanwhileLosesNothing) {
    SKIP_FOR_ROOT();
    expectWholeLogOfTheFirst("terminates");
}

TEST(LoggingProgram, ThatDiesWhileOthersLogEndsAndKeepsItsReason) {
    SKIP_FOR_ROOT();
    const test::TempFolder home;
    const int status = runProgram(home, "flood", "0");
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
    bool hasReason = false;
    for (const auto& entry : fs::directory_iterator(home / "Library/Logs/Quillmoor"))
        for (const std::string& line : lines(entry.path()))
            hasReason |= line.ends_with(" - dying of a platform exception");
    EXPECT_TRUE(hasReason);
}

TEST(LoggingProgram, ThatIsKilledLeavesWholeLinesExceptTheLast) {
    SKIP_FOR_ROOT();
    const test::TempFolder home;
    const int status = runProgram(home, "killed", "0");
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    const std::regex whole(
        "[-0-9]{10} [:0-9]{8} \\+0000 - "
        "(thread [01] line [0-9]+: some words to make it longer|Log .*|Path: .*|System: .*|"
        "Running in .*)");
    std::size_t checked = 0;
    for (const auto& entry : fs::directory_iterator(home / "Library/Logs/Quillmoor")) {
        auto all = lines(entry.path());
        if (!all.empty()) all.pop_back();
        // Only every hundredth is checked: the expression is slow.
        for (std::size_t i = 0; i < all.size(); i += 100, ++checked)
            ASSERT_TRUE(std::regex_match(all[i], whole)) << all[i];
        for (const std::string& line : all) ASSERT_EQ(line.compare(19, 9, " +0000 - "), 0) << line;
    }
    EXPECT_GT(checked, 0U);
}

TEST(LoggingProgram, ItsForkedChildDropsTheQueueAndEnds) {
    SKIP_FOR_ROOT();
    const test::TempFolder home;
    EXPECT_EQ(runProgram(home, "fork", "0"), 0);
    EXPECT_EQ(lastMessage(home), "line 2");
    EXPECT_EQ(lines(newest(home)).size(), 4U + 3U);
    EXPECT_EQ(test::readFile(home / "output"), "");
}

TEST(LoggingProgram, ThatEndsLeavesItsToolsRunning) {
    const test::TempFolder home;
    EXPECT_EQ(runProgram(home, "tools", "0"), 0);
    for (const char* name : {"returned", "asynchronous"}) {
        const pid_t tool = std::atoi(test::readFile(home / name).c_str());
        ASSERT_GT(tool, 0) << name;
        EXPECT_EQ(::kill(tool, 0), 0) << name;
        ::kill(tool, SIGKILL);
    }
}

TEST(LoggingProgram, ThatEndsDoesNotReleaseItsAuthorization) {
    SKIP_FOR_ROOT();
    const test::TempFolder home;
    EXPECT_EQ(runProgram(home, "rights", "0"), 0);
}

#ifdef KX_BUNDLE_CODE
TEST(LoadingTheBundle, StartsNothing) {
    const test::TempFolder home;
    EXPECT_EQ(runProgram(home, "load", KX_BUNDLE_CODE), 0);
    const fs::directory_iterator entries(home.path());
    EXPECT_EQ(std::distance(entries, fs::directory_iterator()), 1);  // its output
}
#endif

TEST(LoggingProgram, WithEightThreadsLosesNoLineAcrossGenerations) {
    SKIP_FOR_ROOT();
    const test::TempFolder home;
    constexpr int kThreads = 8;
    constexpr int kLines = KX_LOG_LINES;
    home.makeFolder("aside");  // the program keeps removed generations there
    EXPECT_EQ(runProgram(home, "threads", std::to_string(kLines)), 0);
    for (const auto& entry : fs::directory_iterator(home / "Library/Logs/Quillmoor"))
        fs::rename(entry.path(), home / ("aside/" + entry.path().filename().string()));

    // Files in the order of their first thread 0 line; each thread's lines must then count up.
    struct File {
        int first[kThreads];
        std::vector<std::pair<int, int>> entries;
    };
    std::vector<File> files;
    for (const auto& entry : fs::directory_iterator(home / "aside")) {
        File file{{-1, -1, -1, -1, -1, -1, -1, -1}, {}};
        for (const std::string& line : lines(entry.path())) {
            int thread = -1;
            int number = -1;
            const char* text = line.c_str() + 28;
            if (std::sscanf(text, "thread %d line %d: some words", &thread, &number) != 2) continue;
            ASSERT_TRUE(line.ends_with(": some words to make it longer")) << line;
            if (file.first[thread] < 0) file.first[thread] = number;
            file.entries.emplace_back(thread, number);
        }
        files.push_back(std::move(file));
    }
    for (int thread = 0; thread < kThreads; ++thread) {
        std::vector<const File*> order;
        for (const File& file : files)
            if (file.first[thread] >= 0) order.push_back(&file);
        std::sort(order.begin(), order.end(), [thread](const File* a, const File* b) {
            return a->first[thread] < b->first[thread];
        });
        int expected = 0;
        for (const File* file : order)
            for (const auto& [owner, number] : file->entries) {
                if (owner != thread) continue;
                ASSERT_EQ(number, expected++) << "thread " << thread;
            }
        EXPECT_EQ(expected, kLines) << "thread " << thread;
    }
}

}  // namespace
}  // namespace quillmoor
