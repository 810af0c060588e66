// The connection to a helper that runs as root.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// The helper runs as long as its channel exists, and no longer than this process. Used by one
// thread at a time. In a child made by fork every channel is closed; the parent's are not affected.
class Channel {
  public:
    // Makes a channel of a connected socket, whose peer the caller has checked to be the helper.
    // Waits for its greeting; nil when none arrives within five seconds, or a different one.
    static std::optional<Channel> greet(posix::Descriptor socket);

    Channel(Channel&& other) noexcept;
    Channel& operator=(Channel&& other) noexcept;
    ~Channel();

    // True while the helper runs, as far as can be determined without a message to it.
    bool isOpen() const;

    // Asks the helper to start `tool`, and waits for its reply.
    // kAuthorizationToolExecuteFailure when the tool cannot be started: it is missing, is not a
    // program, or has too many arguments. kAuthorizationDenied when the helper has ended.
    AuthorizationStatus execute(const std::string& tool, const StringList& arguments,
                                std::shared_ptr<AuthorizedToolStream>& stream);

  private:
    struct Socket;
    explicit Channel(std::unique_ptr<Socket> socket);

    std::unique_ptr<Socket> socket_;
};

}  // namespace quillmoor::platform::linux_::authorization
