// What a tool that runs with rights finds in its environment.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_::authorization {

// Tells a program that it was started with rights, and for which user.
inline constexpr char kAuthorizedUid[] = "KX_AUTHORIZED_UID";

// The super-user's, and nothing of the user's who asked.
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
