// SIGINT, SIGTERM and SIGHUP: the work stops at its next step, takes back what it wrote, and only
// then does the process die of the signal.
#pragma once

#include <exception>

namespace quillmoor::ditto {

class Interrupted : public std::exception {
  public:
    const char* what() const noexcept override { return "interrupted"; }
};

// Signals that were ignored before stay ignored. A file that outgrows the process's limit becomes
// an error of the write instead of a deadly signal, and so does a reader of the messages that ends:
// the work goes on without it.
void watchForInterruption();

// The signal that came, or 0. From any thread.
int interruptingSignal();

// Throws Interrupted once a signal has come.
void throwIfInterrupted();

[[noreturn]] void dieOfSignal(int signal);

}  // namespace quillmoor::ditto
