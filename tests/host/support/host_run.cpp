#include "tests/host/support/host_run.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace quillmoor::test {
namespace {

constexpr std::chrono::seconds kLongest{60};

std::vector<std::string> environmentWith(std::map<std::string, std::string> added) {
    for (const char* none : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        added.try_emplace(none, "");
    std::vector<std::string> all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (!added.contains(text.substr(0, text.find('=')))) all.push_back(text);
    }
    for (const auto& [name, value] : added)
        if (!value.empty()) all.push_back(name + "=" + value);
    return all;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

HostProcess::HostProcess(const TempFolder& folder, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment)
    : outputFile_(folder / "host.out"), errorFile_(folder / "host.err") {
    std::vector<std::string> words{INSTALLER_HOST};
    words.insert(words.end(), arguments.begin(), arguments.end());
    auto variables = environmentWith(environment);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC;
    ::posix_spawn_file_actions_addopen(&actions, 1, outputFile_.c_str(), flags, 0600);
    ::posix_spawn_file_actions_addopen(&actions, 2, errorFile_.c_str(), flags, 0600);
    const int error = ::posix_spawn(&child_, INSTALLER_HOST, &actions, nullptr,
                                    pointersTo(words).data(), pointersTo(variables).data());
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("posix_spawn " + std::string(INSTALLER_HOST));
}

HostProcess::~HostProcess() {
    if (child_ > 0) wait();
}

HostRun HostProcess::wait(int signal) {
    const auto until = std::chrono::steady_clock::now() + kLongest;
    int status = 0;
    while (::waitpid(child_, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > until) signal = SIGKILL;
        ::kill(child_, signal);
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
    }
    child_ = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), readFile(outputFile_),
            readFile(errorFile_)};
}

HostRun runHost(const TempFolder& folder, const std::vector<std::string>& arguments,
                const std::map<std::string, std::string>& environment) {
    return HostProcess(folder, arguments, environment).wait();
}

}  // namespace quillmoor::test
