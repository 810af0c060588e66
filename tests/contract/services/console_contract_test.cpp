#include "quillmoor/platform/console.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/contract/services/back_end.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

class ConsoleContract : public testing::TestWithParam<BackEnd> {
  protected:
    Console& console() { return *GetParam().platform().console; }

    // What `work` writes to the standard stream of this number.
    std::string written(int stream, const std::function<void()>& work) const {
        std::fflush(stdout);
        const std::string path = folder_ / "output";
        const int before = ::dup(stream);
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
        ::dup2(file, stream);
        work();
        std::fflush(stdout);
        ::dup2(before, stream);
        ::close(file);
        ::close(before);
        return test::readFile(path);
    }

    test::TempFolder folder_;
};

TEST_P(ConsoleContract, ALogLineIsDatedAndEndsWithTheText) {
    const std::string line = written(STDERR_FILENO, [&] { console().log("50% of %@ \xff"); });
    EXPECT_TRUE(line.ends_with(" 50% of %@ \xff\n")) << line;
    // 2026-11-21 03:36:12
    ASSERT_GT(line.size(), 19U);
    const std::string form = "dddd-dd-dd dd:dd:dd";
    for (std::size_t at = 0; at < form.size(); ++at) {
        const bool isDigit = line[at] >= '0' && line[at] <= '9';
        EXPECT_EQ(isDigit, form[at] == 'd') << line;
        EXPECT_TRUE(isDigit || line[at] == form[at]) << line;
    }
}

TEST_P(ConsoleContract, ALogLineGoesToStandardErrorAlone) {
    EXPECT_EQ(written(STDOUT_FILENO, [&] { console().log("text"); }), "");
}

TEST_P(ConsoleContract, LogLinesOfSeveralThreadsDoNotMix) {
    const std::string body(300, 'x');
    const std::string text = written(STDERR_FILENO, [&] {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int j = 0; j < 25; ++j) console().log(body);
            });
        for (std::thread& each : threads) each.join();
    });
    std::istringstream lines(text);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        EXPECT_TRUE(line.ends_with(" " + body)) << line;
        EXPECT_LT(line.size(), 2 * body.size()) << line;
    }
    EXPECT_EQ(count, 100);
}

TEST_P(ConsoleContract, PrintedTextIsWrittenAsItIs) {
    EXPECT_EQ(written(STDOUT_FILENO, [&] { console().print("50% %s\\n\xff"); }), "50% %s\\n\xff");
    EXPECT_EQ(written(STDOUT_FILENO, [&] { console().print(""); }), "");
    EXPECT_EQ(written(STDERR_FILENO, [&] { console().print("text"); }), "");
}

TEST_P(ConsoleContract, APutStringEndsItsLine) {
    EXPECT_EQ(written(STDOUT_FILENO, [&] { console().putString("50% %s"); }), "50% %s\n");
    EXPECT_EQ(written(STDOUT_FILENO, [&] { console().putString(""); }), "\n");
}

INSTANTIATE_TEST_SUITE_P(All, ConsoleContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
