// Launches of one process, one after the other.
#pragma once

#include <mutex>

namespace quillmoor::platform::linux_::authorization {

// Waits until no other thread of this process has a turn, then has it. polkit sends every request
// that concerns this process to the one agent that serves it: an agent with a password must not be
// asked what the user is to be asked on another thread. A child made by fork waits for none of the
// threads it does not have.
class LaunchTurn {
  public:
    LaunchTurn();

  private:
    std::unique_lock<std::mutex> lock_;
};

}  // namespace quillmoor::platform::linux_::authorization
