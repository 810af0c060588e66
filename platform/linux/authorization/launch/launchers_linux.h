// Ways to have the helper started as the super-user.
#pragma once

#include <optional>
#include <string_view>

#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/linux/authorization/channel/channel_linux.h"
#include "quillmoor/platform/linux/authorization/channel/rendezvous_linux.h"

namespace quillmoor::platform::linux_::authorization {

// Both wait until the helper has come back, or cannot any more, and answer how that ended;
// `channel` is set on success only. They block; of several threads, one at a time is served. The
// rendezvous is used up by the one call.

// Asks the user: the desktop's dialog, or a prompt on the program's own terminal.
// kAuthorizationInteractionNotAllowed at once where neither can appear.
AuthorizationStatus launchWithDialog(Rendezvous& rendezvous, std::optional<Channel>& channel);

// Asks nobody. Neither text holds a NUL or a line end.
AuthorizationStatus launchWithCredentials(Rendezvous& rendezvous, std::string_view user,
                                          std::string_view password,
                                          std::optional<Channel>& channel);

}  // namespace quillmoor::platform::linux_::authorization
