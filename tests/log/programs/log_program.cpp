// A program that logs as it is told: log_program MODE FOLDER [COUNT]. FOLDER stands for the user's
// home. The tests look at what is left when it has ended.
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "log/KXLog.h"
#include "platform/exception.h"
#include "tests/support/forwarding.h"

using quillmoor::KXLog;

namespace {

// Keeps what the log removes.
class KeepingFiles : public quillmoor::test::ForwardingFileManager {
  public:
    explicit KeepingFiles(std::string folder) : folder_(std::move(folder)) {}
    quillmoor::Outcome removeItem(const std::string& path) override {
        return moveItem(path, folder_ + "/" + std::to_string(++kept_) + ".log");
    }

  private:
    std::string folder_;
    int kept_ = 0;
};

void writeLines(int count) {
    for (int i = 0; i < count; ++i) KXLog::fastAppendLog("line %d", i);
}

void logFromThreads(int threads, int lines) {
    std::vector<std::thread> all;
    for (int t = 0; t < threads; ++t)
        all.emplace_back([t, lines] {
            for (int i = 0; i < lines; ++i)
                KXLog::fastAppendLog("thread %d line %d: some words to make it longer", t, i);
        });
    for (std::thread& thread : all) thread.join();
    KXLog::finishWriting();
}

[[noreturn]] void dieOf(const std::string& what) {
    if (what == "platform")
        throw quillmoor::platform::Exception("Bad", "dying of a platform exception");
    if (what == "standard") throw std::runtime_error("dying of a standard exception");
    if (what == "other") throw 42;
    std::abort();
}

// The child has no worker: it must neither hang nor write.
int forkAndLog() {
    writeLines(3);
    const pid_t child = ::fork();
    if (child == 0) {
        KXLog::appendLog("from the child");
        KXLog::finishWriting();
        std::exit(0);
    }
    return child > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    const int count = argc > 3 ? std::atoi(argv[3]) : 0;
    ::setenv("HOME", argc > 2 ? argv[2] : "/nonexistent", 1);
    KXLog::createNewLog();
    KXLog::finishWriting();
    if (mode == "end") {
        writeLines(count);
        return 0;
    }
    if (mode == "killed") {
        std::thread([] { logFromThreads(2, 100'000'000); }).detach();
        ::usleep(50'000);
        std::raise(SIGKILL);
    }
    if (mode == "threads") {
        quillmoor::test::ScopedPlatform platform;
        KeepingFiles files(std::string(argv[2]) + "/aside");
        platform->fileManager = &files;
        logFromThreads(8, count);
        return 0;
    }
    if (mode == "fork") return forkAndLog();
    writeLines(count);
    std::thread([mode] { dieOf(mode); }).join();
}
