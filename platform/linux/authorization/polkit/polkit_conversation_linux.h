// The program that checks a password for polkit, and what is said to it.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/launch_child_linux.h"
#include "quillmoor/platform/linux/authorization/channel/secret_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// One attempt to authenticate: it answers one prompt for a password, once. Its socket can be opened
// by no other process, which a pipe or a terminal could be. Never waits.
class PolkitConversation {
  public:
    enum class Outcome {
        Undecided,
        Granted,  // already reported to polkit
        Refused,
        Failed  // the program ended before it wanted the password, or cannot be reached
    };

    // `socket` is connected to the program. `program` may be null when somebody else started it.
    PolkitConversation(posix::Descriptor socket, std::unique_ptr<LaunchChild> program,
                       std::string_view password)
        : socket_(std::move(socket)), program_(std::move(program)), line_(password, "\n") {}
    // Ends the program, unless it has granted the request.
    ~PolkitConversation();
    PolkitConversation(const PolkitConversation&) = delete;
    PolkitConversation& operator=(const PolkitConversation&) = delete;

    // Sends text that is no secret. False when it cannot be sent.
    bool say(std::string_view text);
    // Where the program's texts come from.
    int descriptor() const { return socket_.get(); }
    // Takes what the program has written and answers it.
    Outcome proceed();

    bool wasAsked() const { return wasAsked_; }

  private:
    Outcome hear(std::string_view text);
    Outcome hearLine(std::string_view line);

    posix::Descriptor socket_;
    std::unique_ptr<LaunchChild> program_;
    Secret line_;
    std::string heard_;
    bool wasAsked_ = false;
    Outcome outcome_ = Outcome::Undecided;
};

}  // namespace quillmoor::platform::linux_::authorization
