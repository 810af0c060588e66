// Writing to a pipe that nobody reads.
#pragma once

#include <pthread.h>
#include <signal.h>

namespace quillmoor::platform::posix {

// As long as this lives, a write of this thread to a pipe that nobody reads fails and nothing more:
// the signal that the thread would get is taken back.
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
