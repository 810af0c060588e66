// Finding and starting the program that checks passwords for polkit.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/linux/authorization/polkit/polkit_conversation_linux.h"

namespace quillmoor::platform::linux_::authorization {

struct PolkitHelper {
    OptionalPath program;  // started by us; runs as root by its setuid bit
    OptionalPath socket;   // or started by the system for each connection

    // This system's own: its program, else its socket.
    static PolkitHelper ofSystem();

    bool exists() const { return program || socket; }
    // Begins to authenticate `user`, a login name, for the request `cookie`. Null when the helper
    // cannot be started.
    std::unique_ptr<PolkitConversation> start(const std::string& user, const std::string& cookie,
                                              std::string_view password) const;
};

// The canonical path of the program at `path` when it belongs to root, has a setuid bit and can be
// replaced by root only; nil otherwise.
OptionalPath setuidProgram(const std::string& path);

}  // namespace quillmoor::platform::linux_::authorization
