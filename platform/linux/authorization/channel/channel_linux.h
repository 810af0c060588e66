// The connection to a helper that runs as the super-user.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_::authorization {

// The helper lives as long as its channel, and no longer than this process. Used by one thread at a
// time. In a child made by fork every channel is closed; the parent's stay.
class Channel {
  public:
    // The end of a connected socket whose other end is a helper that is to be trusted. Waits for
    // its greeting; nil when there is none within a few seconds, or another one than expected.
    static std::optional<Channel> greet(posix::Descriptor socket);

    Channel(Channel&& other) noexcept;
    Channel& operator=(Channel&& other) noexcept;
    ~Channel();

    // The helper has not gone, as far as can be told without asking it.
    bool isOpen() const;

    // Has the helper start `tool`. kAuthorizationToolExecuteFailure when the tool cannot be
    // started: it is missing, is no program, or has more arguments than a tool can be given.
    // kAuthorizationDenied when the helper has gone.
    AuthorizationStatus execute(const std::string& tool, const StringList& arguments,
                                std::shared_ptr<AuthorizedToolStream>& stream);

  private:
    struct Socket;
    explicit Channel(std::unique_ptr<Socket> socket);

    std::unique_ptr<Socket> socket_;
};

}  // namespace quillmoor::platform::linux_::authorization
