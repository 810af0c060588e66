// polkit's program that asks for a password on a terminal.
#pragma once

#include <memory>

#include "quillmoor/platform/linux/authorization/channel/launch_child_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// Serves this process only, during its lifetime. Only for a terminal at which a person types: every
// process of the same user can read and write there.
class TerminalAgent {
  public:
    // Waits until it is registered, for at most 10 seconds. It runs on the user's terminal, with
    // this process in the foreground, where no other agent serves the user. It is not registered as
    // a fallback agent, since polkit ignores those outside of login sessions.
    TerminalAgent();
    ~TerminalAgent();
    TerminalAgent(const TerminalAgent&) = delete;
    TerminalAgent& operator=(const TerminalAgent&) = delete;

    bool isRegistered() const { return isRegistered_; }

  private:
    bool start();

    bool isRegistered_ = false;
    std::unique_ptr<LaunchChild> child_;
};

}  // namespace quillmoor::platform::linux_::authorization
