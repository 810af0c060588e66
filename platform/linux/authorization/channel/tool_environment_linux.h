// The environment of a tool that runs as root.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_::authorization {

// Set for a tool that was started by authorization; its value is the client's user id.
inline constexpr char kAuthorizedUid[] = "KX_AUTHORIZED_UID";

// Root's environment, without anything from the client's, which could mislead the tool.
inline Environment toolEnvironment(const std::string& authorizedUid) {
    return {{"PATH", "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"},
            {"HOME", "/root"},
            {"USER", "root"},
            {"LOGNAME", "root"},
            {"SHELL", "/bin/sh"},
            {"LANG", "C.UTF-8"},
            {kAuthorizedUid, authorizedUid}};
}

}  // namespace quillmoor::platform::linux_::authorization
