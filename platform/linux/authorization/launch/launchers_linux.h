// The ways to start the helper as root.
#pragma once

#include <optional>
#include <string_view>

#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/linux/authorization/channel/channel_linux.h"
#include "quillmoor/platform/linux/authorization/channel/rendezvous_linux.h"

namespace quillmoor::platform::linux_::authorization {

// Both wait until the helper has connected or the launch has failed, and return the result;
// `channel` is set on success only. Calls from several threads are served one after another. A
// rendezvous is used for one call.

// Asks the user: the desktop's dialog, or a prompt on the program's own terminal.
// kAuthorizationInteractionNotAllowed at once where neither can appear.
AuthorizationStatus launchWithDialog(Rendezvous& rendezvous, std::optional<Channel>& channel);

// Does not ask the user. Neither text may have a NUL or a newline.
AuthorizationStatus launchWithCredentials(Rendezvous& rendezvous, std::string_view user,
                                          std::string_view password,
                                          std::optional<Channel>& channel);

}  // namespace quillmoor::platform::linux_::authorization
