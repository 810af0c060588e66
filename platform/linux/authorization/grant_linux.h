// A granted authorization and its helper.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/linux/authorization/channel/channel_linux.h"

namespace quillmoor::platform::linux_::authorization {

// Used by one thread at a time.
class Grant {
  public:
    // Starts another helper; sets `channel` on success only.
    using Renewal = std::function<AuthorizationStatus(std::optional<Channel>& channel)>;

    // Without a renewal the authorization ends with the helper.
    explicit Grant(Channel channel, Renewal renewal = nullptr);

    // True while the helper runs, as far as can be determined without a message to it.
    bool isHeld() const { return channel_.isOpen(); }

    // As Channel::execute(). When the helper ended before the request was sent, the renewal is
    // called once, and its failure returned; never in a child made by fork. A helper that ends
    // later may have started the tool: that is kAuthorizationDenied, and not tried again.
    AuthorizationStatus execute(const std::string& tool, const StringList& arguments,
                                std::shared_ptr<AuthorizedToolStream>& stream);

  private:
    AuthorizationStatus renew();

    Channel channel_;
    Renewal renewal_;
    pid_t holder_;
};

}  // namespace quillmoor::platform::linux_::authorization
