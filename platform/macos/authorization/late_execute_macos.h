// The one call of the authorization services that is looked up when it is needed.
#pragma once

#include <Security/Authorization.h>

#include <cstdio>

namespace quillmoor::platform::macos {

inline constexpr char kExecuteWithPrivileges[] = "AuthorizationExecuteWithPrivileges";
using ExecuteWithPrivileges = OSStatus (*)(::AuthorizationRef reference, const char* tool,
                                           ::AuthorizationFlags options, char* const* arguments,
                                           std::FILE** pipe);

}  // namespace quillmoor::platform::macos
