#include <fcntl.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <string>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/broken_pipe_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/ground/thread_id_posix.h"
#include "quillmoor/platform/posix/run_loop/console_posix.h"

namespace quillmoor::platform {
namespace {

void writeToStandardError(std::string_view text) {
    // Standard error may be a pipe whose reader has ended: that must not end the process.
    const posix::BrokenPipeGuard guard;
    while (!text.empty()) {
        const ssize_t written = posix::systemCalls().write(STDERR_FILENO, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

// 2026-11-21 03:36:12.123
std::string localTime() {
    timeval now{};
    ::gettimeofday(&now, nullptr);
    std::tm parts{};
    ::localtime_r(&now.tv_sec, &parts);
    std::array<char, 64> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
    std::snprintf(text.data() + length, text.size() - length, ".%03d",
                  static_cast<int>(now.tv_usec / 1000));
    return text.data();
}

std::string programName() {
    const OptionalPath executable = nativeBundles()->mainBundle()->executablePath();
    return executable ? lastPathComponent(*executable) : "?";
}

class PosixConsole : public Console {
  public:
    void log(std::string_view text) override {
        if (posix::logToSystem(text)) return;
        // Never destroyed: threads may log while the process exits.
        static const auto& name = *new std::string(programName());
        // One text and so usually one write: lines of several threads are not mixed.
        std::string line = localTime();
        line.append(" ").append(name).append("[").append(std::to_string(::getpid()));
        line.append(":").append(std::to_string(posix::currentThreadId())).append("] ");
        line.append(text).append("\n");
        writeToStandardError(line);
        if (posix::systemCalls().faccessat(AT_FDCWD, "/dev/log", W_OK, 0) == 0) {
            // Without openlog(3), whose settings are the whole process's and so the host's.
            ::syslog(LOG_USER | LOG_NOTICE, "%s", std::string(text).c_str());
        }
    }

    // Flushed at once: what is printed here reports a failure, which may end the process.
    void print(std::string_view text) override {
        const posix::BrokenPipeGuard guard;
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout);
    }

    void putString(std::string_view text) override {
        std::string line(text);
        line.push_back('\n');
        print(line);
    }
};

}  // namespace

Console* nativeConsole() {
    static auto* const console = new PosixConsole;
    return console;
}

}  // namespace quillmoor::platform
