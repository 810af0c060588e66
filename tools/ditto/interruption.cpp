#include "tools/ditto/interruption.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>

namespace quillmoor::ditto {
namespace {

std::atomic<int> caught{0};
static_assert(std::atomic<int>::is_always_lock_free);

// A signal handler, which may do no more than this.
void remember(int signal) {
    caught.store(signal, std::memory_order_relaxed);
}

}  // namespace

void watchForInterruption() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        ::sigaction(number, nullptr, &before);
        // As a tool that was started by nohup has it.
        if (before.sa_handler == SIG_IGN) continue;
        struct sigaction action = {};
        action.sa_handler = &remember;
        // System calls are not interrupted: the work looks for the signal between its steps.
        action.sa_flags = SA_RESTART;
        ::sigemptyset(&action.sa_mask);
        ::sigaction(number, &action, nullptr);
    }
    ::signal(SIGXFSZ, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
}

int interruptingSignal() {
    return caught.load(std::memory_order_relaxed);
}

void throwIfInterrupted() {
    if (interruptingSignal() != 0) throw Interrupted();
}

void dieOfSignal(int signal) {
    // By the signal itself and not by an exit status, so that a shell ends its script as well.
    ::signal(signal, SIG_DFL);
    sigset_t only;
    ::sigemptyset(&only);
    ::sigaddset(&only, signal);
    ::sigprocmask(SIG_UNBLOCK, &only, nullptr);
    ::raise(signal);
    ::_exit(128 + signal);  // not reached, unless a debugger holds the signal back
}

}  // namespace quillmoor::ditto
