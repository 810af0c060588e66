// Threads that no signal is delivered to.
#pragma once

#include <signal.h>

namespace quillmoor::platform::posix {

// During its lifetime every signal is blocked in this thread, and in threads that it starts. A
// thread of the library must never run a handler of the host.
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
