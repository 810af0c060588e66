// Starting the helper through sudo and su.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/linux/authorization/channel/launch_wait_linux.h"
#include "quillmoor/platform/linux/authorization/channel/rendezvous_linux.h"
#include "quillmoor/platform/posix/ground/users_posix.h"

namespace quillmoor::platform::linux_::authorization {

// Does not ask the user. The caller's own password is passed to sudo, root's to su, and any other
// user's to su and then, as that user, to sudo. `wasAsked` is set to whether any of them asked for
// the password. kAuthorizationInteractionNotAllowed where the programs needed are missing.
AuthorizationStatus launchWithPassword(Rendezvous& rendezvous, const posix::User& user,
                                       std::string_view password, std::optional<Channel>& channel,
                                       bool& wasAsked);

// True when the password is this user's. False also where that cannot be determined.
bool isPasswordOf(const posix::User& user, std::string_view password);

}  // namespace quillmoor::platform::linux_::authorization
