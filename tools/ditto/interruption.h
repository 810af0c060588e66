// SIGINT, SIGTERM and SIGHUP: the work stops at its next step and removes what it wrote; then the
// process ends by the signal.
#pragma once

#include <exception>

namespace quillmoor::ditto {

class Interrupted : public std::exception {
  public:
    const char* what() const noexcept override { return "interrupted"; }
};

// Installs the handlers. Signals that the caller ignores stay ignored. SIGXFSZ and SIGPIPE are
// ignored: a file beyond the process's size limit is an error of the write, and the work continues
// without a reader of the messages.
void watchForInterruption();

// Returns the signal that was received, or 0. May be called from any thread.
int interruptingSignal();

// Throws Interrupted if a signal was received.
void throwIfInterrupted();

// Ends the process by `signal`, so that the caller sees what ended it.
[[noreturn]] void dieOfSignal(int signal);

}  // namespace quillmoor::ditto
