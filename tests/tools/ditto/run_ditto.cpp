#include "tests/tools/ditto/run_ditto.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <stdexcept>

#include "tests/support/temp_folder.h"

namespace quillmoor::test {
namespace fs = std::filesystem;
namespace {

struct Child {
    pid_t process;
    int errors;
    int output;
};

// Reads both streams at once: the tool would wait if one of them was full.
void readBoth(const Child& child, DittoResult& result) {
    std::array<pollfd, 2> streams = {pollfd{child.output, POLLIN, 0},
                                     pollfd{child.errors, POLLIN, 0}};
    const std::array<std::string*, 2> texts = {&result.output, &result.errors};
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        ::poll(streams.data(), streams.size(), -1);
        for (std::size_t i = 0; i < streams.size(); ++i) {
            if (streams[i].fd < 0 || streams[i].revents == 0) continue;
            std::array<char, 4096> buffer = {};
            const ssize_t got = ::read(streams[i].fd, buffer.data(), buffer.size());
            if (got > 0)
                texts[i]->append(buffer.data(), static_cast<std::size_t>(got));
            else
                streams[i].fd = -1;
        }
    }
}

constexpr int kErrorRoom = 4096;

Child startDitto(const std::vector<std::string>& arguments, const std::function<void()>& prepare) {
    std::vector<char*> list = {const_cast<char*>(DITTO_PATH)};
    for (const std::string& argument : arguments)
        list.push_back(const_cast<char*>(argument.c_str()));
    list.push_back(nullptr);
    std::array<int, 2> output = {};
    std::array<int, 2> errors = {};
    if (::pipe2(output.data(), O_CLOEXEC) != 0 || ::pipe2(errors.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("pipe2");
    ::fcntl(errors[1], F_SETPIPE_SZ, kErrorRoom);
    const pid_t process = ::fork();
    if (process == 0) {
        ::dup2(output[1], STDOUT_FILENO);
        ::dup2(errors[1], STDERR_FILENO);
        if (prepare) prepare();
        ::execv(DITTO_PATH, list.data());
        ::_exit(127);
    }
    ::close(output[1]);
    ::close(errors[1]);
    return {process, errors[0], output[0]};
}

DittoResult finish(const Child& child) {
    DittoResult result;
    readBoth(child, result);
    ::close(child.output);
    ::close(child.errors);
    int status = 0;
    while (::waitpid(child.process, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    return result;
}

}  // namespace

DittoResult runDitto(const std::vector<std::string>& arguments,
                     const std::function<void()>& prepare) {
    return finish(startDitto(arguments, prepare));
}

std::function<void()> withDescriptors(unsigned count) {
    return [count] {
        ::close_range(STDERR_FILENO + 1, ~0U, 0);
        const rlimit most = {count, count};
        ::setrlimit(RLIMIT_NOFILE, &most);
    };
}

DittoResult pauseDitto(std::vector<std::string> arguments,
                       const std::function<void(pid_t)>& inTheMiddle) {
    arguments.insert(arguments.begin(), "-V");
    const Child child = startDitto(arguments, {});
    // With this much in the pipe, another line does not fit.
    for (int waiting = 0; waiting < kErrorRoom - 300;) {
        ::ioctl(child.errors, FIONREAD, &waiting);
        siginfo_t ended = {};
        if (::waitid(P_PID, static_cast<id_t>(child.process), &ended,
                     WEXITED | WNOHANG | WNOWAIT) != 0 ||
            ended.si_pid != 0)
            break;
        ::usleep(1000);
    }
    inTheMiddle(child.process);
    return finish(child);
}

DittoResult interruptDitto(const std::vector<std::string>& arguments, int signal) {
    return pauseDitto(arguments, [signal](pid_t process) { ::kill(process, signal); });
}

std::vector<std::string> describeTree(const std::string& folder) {
    std::vector<std::string> lines;
    for (const auto& item : fs::recursive_directory_iterator(folder)) {
        struct stat info = {};
        if (::lstat(item.path().c_str(), &info) != 0) throw std::runtime_error("lstat");
        std::string line = item.path().string().substr(folder.size() + 1);
        line += '|' + std::to_string(info.st_mode) + '|' + std::to_string(info.st_mtim.tv_sec);
        if (S_ISLNK(info.st_mode)) line += '|' + fs::read_symlink(item.path()).string();
        if (S_ISREG(info.st_mode)) line += '|' + readFile(item.path().string());
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

void setDate(const std::string& path, std::int64_t seconds) {
    const std::array<timespec, 2> dates = {timespec{seconds, 0}, timespec{seconds, 0}};
    if (::utimensat(AT_FDCWD, path.c_str(), dates.data(), AT_SYMLINK_NOFOLLOW) != 0)
        throw std::runtime_error("utimensat");
}

}  // namespace quillmoor::test
