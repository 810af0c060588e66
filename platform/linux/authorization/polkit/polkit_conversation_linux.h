// The dialogue with the program that checks passwords for polkit.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/launch_child_linux.h"
#include "quillmoor/platform/linux/authorization/channel/secret_linux.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// One attempt to authenticate: sends the password for one prompt, once. By a socket, since other
// processes of the user could open a pipe or a terminal through /proc. Never waits.
class PolkitConversation {
  public:
    enum class Outcome {
        Undecided,
        Granted,  // already reported to polkit
        Refused,
        Failed  // the program ended before it asked for the password, or cannot be reached
    };

    // `socket` is connected to the program. `program` is null when the system started it.
    PolkitConversation(posix::Descriptor socket, std::unique_ptr<LaunchChild> program,
                       std::string_view password)
        : socket_(std::move(socket)), program_(std::move(program)), line_(password, "\n") {}
    // Ends the program, unless it has granted the request.
    ~PolkitConversation();
    PolkitConversation(const PolkitConversation&) = delete;
    PolkitConversation& operator=(const PolkitConversation&) = delete;

    // Sends text that is not secret. False when it cannot be sent.
    bool say(std::string_view text);
    // Readable when the program has written.
    int descriptor() const { return socket_.get(); }
    // Reads what the program has written and sends the response.
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
