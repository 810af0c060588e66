#include "quillmoor/platform/linux/authorization/helper/process_hardening_linux.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/platform/linux/authorization/support/authorization_fixtures.h"

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

class ProcessHardening : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "about root";
    }
};

bool leadsTo(int descriptor, const char* path) {
    char target[PATH_MAX] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    return ::readlink(link.c_str(), target, sizeof target - 1) > 0 &&
           std::strcmp(target, path) == 0;
}

bool isDefault(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL;
}

// Runs in a child of the test, since it cannot be undone. Returns the number of the first check
// that fails.
int leaveAll() {
    const gid_t groups[] = {4, 24};
    ::setenv("LD_PRELOAD", "/lost.so", 1);
    ::umask(0);
    ::signal(SIGTERM, SIG_IGN);
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_SETMASK, &all, nullptr);
    const int inherited = ::open("/dev/zero", O_RDWR);
    if (inherited < 0 || ::setgroups(2, groups) != 0 || ::chdir("/tmp") != 0) return 1;

    if (!hardenProcess()) return 2;
    if (::prctl(PR_GET_DUMPABLE) != 0) return 3;
    if (environ != nullptr && *environ != nullptr) return 4;
    char folder[PATH_MAX] = {};
    if (::getcwd(folder, sizeof folder) == nullptr || std::strcmp(folder, "/") != 0) return 5;
    if (::getgroups(0, nullptr) != 0 || ::getuid() != 0 || ::getgid() != 0) return 6;
    if (::umask(0) != 022) return 7;
    if (::fcntl(inherited, F_GETFD) >= 0) return 8;
    if (!leadsTo(STDIN_FILENO, "/dev/null") || !leadsTo(STDOUT_FILENO, "/dev/null")) return 9;
    if (leadsTo(STDERR_FILENO, "/dev/null")) return 10;
    sigset_t blocked;
    ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
    if (::sigismember(&blocked, SIGTERM) != 0 || !isDefault(SIGTERM)) return 11;
    if (isDefault(SIGPIPE) || isDefault(SIGCHLD)) return 12;
    rlimit core{1, 1};
    if (::getrlimit(RLIMIT_CORE, &core) != 0 || core.rlim_max != 0) return 13;
    return ::getsid(0) == ::getpid() ? 0 : 14;
}

TEST_F(ProcessHardening, ResetsEverythingInherited) {
    EXPECT_EQ(test::exitStatusOfFork(leaveAll), 0);
}

TEST_F(ProcessHardening, OpensTheNullDeviceWithoutAStandardError) {
    EXPECT_EQ(test::exitStatusOfFork([] {
                  ::close(STDERR_FILENO);
                  return hardenProcess() && leadsTo(STDERR_FILENO, "/dev/null") ? 0 : 1;
              }),
              0);
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization::helper
