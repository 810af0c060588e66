// Running the launches of one process one after another.
#pragma once

#include <mutex>

namespace quillmoor::platform::linux_::authorization {

// Waits until no other thread of this process has a turn, then holds it during its lifetime. polkit
// sends all requests for this process to the one agent that serves it: an agent with a password
// must not get a request of another thread that is meant for the user. A child made by fork does
// not wait for threads of its parent.
class LaunchTurn {
  public:
    LaunchTurn();

  private:
    std::unique_lock<std::mutex> lock_;
};

}  // namespace quillmoor::platform::linux_::authorization
