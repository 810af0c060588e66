// The obsolete calls of the authorization services, which are looked up when they are needed, by
// type and name.
#pragma once

#include <Security/Authorization.h>

#include <cstdio>

namespace quillmoor::platform::macos {

inline constexpr char kExecuteWithPrivileges[] = "AuthorizationExecuteWithPrivileges";
using ExecuteWithPrivileges = OSStatus (*)(::AuthorizationRef reference, const char* tool,
                                           ::AuthorizationFlags options, char* const* arguments,
                                           std::FILE** pipe);

inline constexpr char kCopyPrivilegedReference[] = "AuthorizationCopyPrivilegedReference";
using CopyPrivilegedReference = OSStatus (*)(::AuthorizationRef* reference,
                                             ::AuthorizationFlags flags);

}  // namespace quillmoor::platform::macos
