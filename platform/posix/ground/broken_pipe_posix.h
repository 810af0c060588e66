// Writing to a pipe whose reading end is closed.
#pragma once

#include <pthread.h>
#include <signal.h>

namespace quillmoor::platform::posix {

// During its lifetime a write of this thread to a pipe without a reader fails with EPIPE and raises
// no SIGPIPE: the signal is blocked, and one that the write caused is removed. A SIGPIPE that was
// pending before stays pending. The disposition of SIGPIPE belongs to the host and is not changed.
class BrokenPipeGuard {
  public:
    BrokenPipeGuard() : wasPending_(isPending()) {
        ::sigemptyset(&brokenPipe_);
        ::sigaddset(&brokenPipe_, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &brokenPipe_, &previous_);
    }
    ~BrokenPipeGuard() {
        if (!wasPending_ && isPending()) {
            int signal = 0;
            ::sigwait(&brokenPipe_, &signal);
        }
        ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    }
    BrokenPipeGuard(const BrokenPipeGuard&) = delete;
    BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

  private:
    static bool isPending() {
        sigset_t pending;
        ::sigpending(&pending);
        return ::sigismember(&pending, SIGPIPE) == 1;
    }

    bool wasPending_;
    sigset_t brokenPipe_;
    sigset_t previous_;
};

}  // namespace quillmoor::platform::posix
