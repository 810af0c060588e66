// Rights that were granted, and the helper that has them.
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
    // Has another helper started; sets `channel` on success only.
    using Renewal = std::function<AuthorizationStatus(std::optional<Channel>& channel)>;

    // Without a renewal the rights are gone when the helper is.
    explicit Grant(Channel channel, Renewal renewal = nullptr);

    // The helper has not gone, as far as can be told without asking it.
    bool isHeld() const { return channel_.isOpen(); }

    // As Channel::execute(). When the helper has gone before the tool was named to it, the renewal
    // is asked once, and its failure answered; in a child made by fork it never is. A helper that
    // goes later may have started the tool: that is kAuthorizationDenied.
    AuthorizationStatus execute(const std::string& tool, const StringList& arguments,
                                std::shared_ptr<AuthorizedToolStream>& stream);

  private:
    AuthorizationStatus renew();

    Channel channel_;
    Renewal renewal_;
    pid_t holder_;
};

}  // namespace quillmoor::platform::linux_::authorization
