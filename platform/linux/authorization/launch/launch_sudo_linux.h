// The programs of the terminal world that bring rights for a password.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"
#include "quillmoor/platform/linux/authorization/channel/rendezvous_linux.h"
#include "quillmoor/platform/posix/ground/users_posix.h"

namespace quillmoor::platform::linux_::authorization {

// Asks nobody. The caller's own password goes to sudo, the super-user's to su, anybody else's to
// su and then, as that user, to sudo. `wasAsked` tells whether the password was wanted at all.
// kAuthorizationInteractionNotAllowed where the programs that it takes are missing.
AuthorizationStatus launchWithPassword(Rendezvous& rendezvous, const posix::User& user,
                                       std::string_view password, std::optional<Channel>& channel,
                                       bool& wasAsked);

// Whether the password is this user's. NO as well where it cannot be found out.
bool isPasswordOf(const posix::User& user, std::string_view password);

}  // namespace quillmoor::platform::linux_::authorization
