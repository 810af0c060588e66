// Threads that no signal is delivered to.
#pragma once

#include <signal.h>

namespace quillmoor::platform::posix {

// Every signal is blocked in this thread while it lives, and in threads that are made meanwhile.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t before_{};
};

}  // namespace quillmoor::platform::posix
