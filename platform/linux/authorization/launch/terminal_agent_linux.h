// The program that asks for a password on a terminal in polkit's name.
#pragma once

#include <memory>

#include "quillmoor/platform/linux/authorization/channel/launch_child_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// Serves this process alone, until the object is gone. Only for a terminal at which a person types:
// every process of the same user can read and write there.
class TerminalAgent {
  public:
    // Waits until it is registered, 10 seconds at the longest. It runs on the user's own terminal,
    // where this process stands in the foreground, for a user whom no other agent serves. It is no
    // fall-back agent, since polkit forgets those outside of login sessions.
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
