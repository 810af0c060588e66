#include "tests/authorization/probe_session.h"

#include <spawn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <thread>
#include <vector>

#include "bench/support/table.h"
#include "quillmoor/auth/KXAuthorization.h"

namespace quillmoor::probe {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

double microseconds(const std::function<void()>& work) {
    const auto begin = Clock::now();
    work();
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

std::ptrdiff_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

// The descriptors of a tool are released after its end, when the next one is started.
std::ptrdiff_t settledDescriptors(KXAuthorization& session, std::ptrdiff_t expected) {
    for (const auto limit = Clock::now() + 5s; Clock::now() < limit;) {
        session.authExecTask("/bin/true", {}, Async::No);
        if (openDescriptors() <= expected) break;
        std::this_thread::sleep_for(10ms);
    }
    return openDescriptors();
}

void startAuthorized() {
    if (KXAuthorization::sharedController()->authExecTask("/bin/true", {}) != 0) std::abort();
}

pid_t startBare() {
    char tool[] = "/bin/true";
    char* const arguments[] = {tool, nullptr};
    pid_t child = -1;
    if (::posix_spawn(&child, tool, nullptr, nullptr, arguments, environ) != 0) std::abort();
    return child;
}

// A process that starts the tool on request and replies: the minimum for a start by another
// process.
class OtherStarter {
  public:
    OtherStarter() {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) std::abort();
        near_ = ends[0];
        child_ = ::fork();
        if (child_ == 0) {
            ::close(ends[0]);
            ::signal(SIGCHLD, SIG_IGN);
            char byte = 0;
            while (::read(ends[1], &byte, 1) == 1 && startBare() > 0 &&
                   ::write(ends[1], &byte, 1) == 1)
                continue;
            ::_exit(0);
        }
        ::close(ends[1]);
    }
    ~OtherStarter() {
        ::close(near_);
        ::waitpid(child_, nullptr, 0);
    }
    OtherStarter(const OtherStarter&) = delete;
    OtherStarter& operator=(const OtherStarter&) = delete;

    void start() const {
        char byte = 0;
        if (::write(near_, &byte, 1) != 1 || ::read(near_, &byte, 1) != 1) std::abort();
    }

  private:
    int near_ = -1;
    pid_t child_ = -1;
};

// Each finds the processors idle, as most starts do.
double microsecondsFromIdle(const std::function<void()>& work) {
    std::this_thread::sleep_for(1ms);
    return microseconds(work);
}

}  // namespace

std::string callSession(const StringList& words) {
    KXAuthorization& session = *KXAuthorization::sharedController();
    const std::string& call = words.at(1);
    const auto path = [&](std::size_t index) { return OptionalPath(words.at(index)); };
    const auto answer = [](bool yes) { return yes ? "YES" : "NO"; };
    if (call == "start") return answer(session.authStart());
    if (call == "startWithUser") return answer(session.authStartWithUser(words.at(2), words.at(3)));
    if (call == "isAuthorized") return answer(session.isAuthorized());
    if (call == "end") return session.authEnd(), "ended";
    if (call == "remove") return answer(session.authRemoveFile(path(2)));
    if (call == "trash") return answer(session.authTrashFile(path(2)));
    if (call == "trashContents") return answer(session.authTrashFolderContents(path(2)));
    if (call == "move") return answer(session.authMoveFile(path(2), path(3)));
    if (call == "moveContents") return answer(session.authMoveFolderContents(path(2), path(3)));
    if (call == "copy") return answer(session.authCopyFile(path(2), path(3)));
    if (call == "create") return answer(session.authCreateDir(path(2)));
    return "unknown";
}

// Microseconds of an authorized start, of a bare one, and of a bare one by another process.
std::string compareStarts(const StringList& words) {
    const OtherStarter other;
    std::vector<double> ours, bare, others;
    for (int left = std::stoi(words.at(1)); left > 0; --left) {
        ours.push_back(microsecondsFromIdle(startAuthorized));
        pid_t child = -1;
        bare.push_back(microsecondsFromIdle([&child] { child = startBare(); }));
        ::waitpid(child, nullptr, 0);
        others.push_back(microsecondsFromIdle([&other] { other.start(); }));
    }
    return std::to_string(bench::median(ours)) + " " + std::to_string(bench::median(bare)) + " " +
           std::to_string(bench::median(others));
}

std::string startMany(const StringList& words) {
    const rlim_t most = std::stoul(words.at(2));
    const rlimit limit{most, most};
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) return "no limit";
    KXAuthorization& session = *KXAuthorization::sharedController();
    const std::ptrdiff_t before = openDescriptors();
    int failures = 0;
    const auto begin = Clock::now();
    for (int left = std::stoi(words.at(1)); left > 0; --left)
        if (session.authExecTask("/bin/true", {}) != 0) ++failures;
    const std::chrono::duration<double> taken = Clock::now() - begin;
    constexpr std::ptrdiff_t kOfLatestTool = 2;
    const std::ptrdiff_t after = settledDescriptors(session, before + kOfLatestTool);
    return std::to_string(failures) + " " + std::to_string(after - before - kOfLatestTool) + " " +
           std::to_string(taken.count());
}

}  // namespace quillmoor::probe
