#include "quillmoor/platform/linux/authorization/grant_linux.h"

#include <unistd.h>

#include <utility>

namespace quillmoor::platform::linux_::authorization {

Grant::Grant(Channel channel, Renewal renewal)
    : channel_(std::move(channel)), renewal_(std::move(renewal)), holder_(::getpid()) {}

AuthorizationStatus Grant::execute(const std::string& tool, const StringList& arguments,
                                   std::shared_ptr<AuthorizedToolStream>& stream) {
    // Before anything is sent: a request that was sent may have started the tool, and must not be
    // repeated.
    if (!channel_.isOpen())
        if (const AuthorizationStatus status = renew(); status != kAuthorizationSuccess)
            return status;
    return channel_.execute(tool, arguments, stream);
}

AuthorizationStatus Grant::renew() {
    // A child made by fork has no channel any more. The user was not asked on its behalf.
    if (!renewal_ || ::getpid() != holder_) return kAuthorizationDenied;
    std::optional<Channel> channel;
    const AuthorizationStatus status = renewal_(channel);
    if (status == kAuthorizationSuccess) channel_ = *std::move(channel);
    return status;
}

}  // namespace quillmoor::platform::linux_::authorization
