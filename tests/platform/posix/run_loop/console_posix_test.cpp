#include "quillmoor/platform/console.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <sstream>
#include <thread>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using posix::Descriptor;
using test::TempFolder;

Console& console() {
    return *native().console;
}

// Standard output or error led elsewhere for as long as this lives.
class Redirected {
  public:
    Redirected(int stream, int target) : stream_(stream), before_(::dup(stream)) {
        std::fflush(stdout);
        ::dup2(target, stream);
    }
    ~Redirected() {
        std::fflush(stdout);
        ::dup2(before_.get(), stream_);
    }
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;

  private:
    int stream_;
    Descriptor before_;
};

// What `work` writes to `stream`.
std::string written(int stream, const std::function<void()>& work) {
    const TempFolder folder;
    const std::string path = folder / "output";
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    {
        const Redirected redirected(stream, file.get());
        work();
    }
    return test::readFile(path);
}

TEST(PosixConsole, ALogLineBearsDateProgramProcessAndThread) {
    const std::string line = written(STDERR_FILENO, [] { console().log("50% of it\nis %@ here"); });
    const std::string program =
        lastPathComponent(*native().bundles->mainBundle()->executablePath());
    const std::string head = " " + program + "[" + std::to_string(::getpid()) + ":" +
                             std::to_string(::gettid()) + "] 50% of it\nis %@ here\n";
    ASSERT_GT(line.size(), head.size());
    const std::string date = line.substr(0, line.size() - head.size());
    EXPECT_THAT(date, testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}"
                                            "[.][0-9]{3}"))
        << line;
    EXPECT_EQ(line.substr(date.size()), head);
}

TEST(PosixConsole, LogLinesOfSeveralThreadsDoNotMix) {
    const std::string body(300, 'x');
    const std::string text = written(STDERR_FILENO, [&] {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int j = 0; j < 50; ++j) console().log(body);
            });
        }
        for (std::thread& each : threads) each.join();
    });
    std::istringstream lines(text);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        EXPECT_TRUE(line.ends_with("] " + body)) << line;
    EXPECT_EQ(count, 200);
}

TEST(PosixConsole, LosesALogLineWithoutAReader) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    ::close(ends[0]);
    const Descriptor writing(ends[1]);
    const auto before = std::signal(SIGPIPE, SIG_DFL);
    {
        const Redirected redirected(STDERR_FILENO, writing.get());
        console().log("to nobody");
    }
    {
        const Redirected redirected(STDOUT_FILENO, writing.get());
        console().print("to nobody");
        console().putString("to nobody");
    }
    std::clearerr(stdout);
    sigset_t pending;
    sigset_t mask;
    ::sigpending(&pending);
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(::sigismember(&pending, SIGPIPE), 0);
    EXPECT_EQ(::sigismember(&mask, SIGPIPE), 0);
    std::signal(SIGPIPE, before);
}

TEST(PosixConsole, IgnoresAClosedStandardError) {
    const Descriptor before(::dup(STDERR_FILENO));
    ::close(STDERR_FILENO);
    console().log("to nobody");
    ::dup2(before.get(), STDERR_FILENO);
}

TEST(PosixConsole, PrintsTextUnchanged) {
    EXPECT_EQ(written(STDOUT_FILENO,
                      [] {
                          console().print("50% %s\\n");
                          console().print("");
                          console().putString("done %d");
                          console().putString("");
                      }),
              "50% %s\\ndone %d\n\n");
}

TEST(PosixConsole, PrintedTextKeepsItsOrderWithTheProgramsOwn) {
    EXPECT_EQ(written(STDOUT_FILENO,
                      [] {
                          std::printf("one ");
                          console().print("two ");
                          std::puts("three");
                      }),
              "one two three\n");
}

}  // namespace
}  // namespace quillmoor::platform
