#include "quillmoor/platform/linux/authorization/helper/process_hardening_linux.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

// Standard input and output become the null device, and standard error where it is closed.
bool closeDescriptors() {
    // su passes on whatever the user's process had open.
    if (::close_range(STDERR_FILENO + 1, ~0U, 0) != 0) return false;
    // Standard error stays the client's: it shows why the helper refuses.
    const bool hasError = ::fcntl(STDERR_FILENO, F_GETFD) >= 0;
    const int nowhere = ::open("/dev/null", O_RDWR);
    if (nowhere < 0) return false;
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (number == STDERR_FILENO && hasError) break;
        if (::dup2(nowhere, number) < 0) return false;
    }
    if (nowhere > STDERR_FILENO) ::close(nowhere);
    return true;
}

// With SIGCHLD ignored the system reaps the tools: the helper waits for none.
void resetSignals() {
    // Refused for SIGKILL, SIGSTOP and the signals that the C library keeps for itself (signal(2)).
    // An ignored signal survives exec: pkexec leaves SIGPIPE ignored.
    for (int number = 1; number < NSIG; ++number) ::signal(number, SIG_DFL);
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGCHLD, SIG_IGN);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

// Sets as much as the system allows where the hard limit cannot be raised, as in a container.
void setLimit(decltype(RLIMIT_CORE) resource, rlim_t soft, rlim_t hard) {
    rlimit limit{};
    ::getrlimit(resource, &limit);
    const rlimit wanted{soft, std::max(hard, limit.rlim_max)};
    if (::setrlimit(resource, &wanted) == 0) return;
    limit.rlim_cur = std::min(soft, limit.rlim_max);
    ::setrlimit(resource, &limit);
}

// The user's limits could end a tool in the middle of its work.
void resetLimits() {
    constexpr rlim_t kStack = rlim_t{8} << 20;
    // The usual ones. A soft limit above 1024 would mislead tools that use select(2).
    constexpr rlim_t kFiles = 1024;
    constexpr rlim_t kMostFiles = 4096;
    // A launcher such as pkexec keeps them.
    for (const auto resource : {RLIMIT_FSIZE, RLIMIT_CPU, RLIMIT_AS, RLIMIT_DATA})
        setLimit(resource, RLIM_INFINITY, RLIM_INFINITY);
    setLimit(RLIMIT_STACK, kStack, RLIM_INFINITY);
    setLimit(RLIMIT_NOFILE, kFiles, kMostFiles);
    constexpr rlimit kNoCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &kNoCore);
}

// A launcher may have made this process the leader of a process group, for which setsid fails, or
// of a session that has a terminal.
void leaveTerminal() {
    if (::setsid() >= 0) return;
    const posix::Descriptor terminal(::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!terminal) return;
    ::signal(SIGHUP, SIG_IGN);  // which the system sends to the leader's group
    ::ioctl(terminal.get(), TIOCNOTTY);
    ::signal(SIGHUP, SIG_DFL);
}

bool becomeRoot() {
    return ::setgroups(0, nullptr) == 0 && ::setresgid(0, 0, 0) == 0 && ::setresuid(0, 0, 0) == 0;
}

}  // namespace

bool hardenProcess() {
    resetSignals();
    // 022, since the user's own mask could let everyone write to what root's tools make.
    ::umask(S_IWGRP | S_IWOTH);
    leaveTerminal();
    resetLimits();
    // The dumpable flag after the ids, since a change of those resets it (prctl(2)).
    return closeDescriptors() && becomeRoot() && ::chdir("/") == 0 &&
           ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && ::clearenv() == 0;
}

}  // namespace quillmoor::platform::linux_::authorization::helper
