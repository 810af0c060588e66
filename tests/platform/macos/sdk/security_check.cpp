// Pins the signatures and constants that the back-end relies on. Compiled on Linux it checks the
// declarations in shim/; compiled on a Mac it compares them with the system's own headers. Each
// group names where its values are published.
#include <Security/Authorization.h>

#include <cstddef>
#include <string_view>
#include <type_traits>

#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/macos/authorization/obsolete_calls_macos.h"

// Last: its macros have names of this system's own constants.
#include <Security/AuthorizationTags.h>

namespace quillmoor {
namespace {

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

// https://developer.apple.com/documentation/security/authorization_services, and Authorization.h
// and AuthorizationTags.h of https://github.com/apple-oss-distributions/Security.
static_assert(
    std::is_same_v<decltype(&::AuthorizationCreate),
                   OSStatus (*)(const AuthorizationRights*, const AuthorizationEnvironment*,
                                AuthorizationFlags, AuthorizationRef*)>);
static_assert(std::is_same_v<decltype(&::AuthorizationFree),
                             OSStatus (*)(AuthorizationRef, AuthorizationFlags)>);
static_assert(std::is_same_v<decltype(&::AuthorizationCopyRights),
                             OSStatus (*)(AuthorizationRef, const AuthorizationRights*,
                                          const AuthorizationEnvironment*, AuthorizationFlags,
                                          AuthorizationRights**)>);
static_assert(std::is_same_v<decltype(&::AuthorizationCopyPrivilegedReference),
                             platform::macos::CopyPrivilegedReference>);
static_assert(std::is_same_v<decltype(&::AuthorizationExecuteWithPrivileges),
                             platform::macos::ExecuteWithPrivileges>);
static_assert(std::is_same_v<AuthorizationRef, const AuthorizationOpaqueRef*>);
static_assert(sizeof(AuthorizationItem) == 32 && offsetof(AuthorizationItem, valueLength) == 8 &&
              offsetof(AuthorizationItem, value) == 16 && offsetof(AuthorizationItem, flags) == 24);
static_assert(sizeof(AuthorizationItemSet) == 16 && offsetof(AuthorizationItemSet, items) == 8);
static_assert(kAuthorizationFlagDefaults == platform::kAuthorizationFlagDefaults);
static_assert(kAuthorizationFlagInteractionAllowed ==
              platform::kAuthorizationFlagInteractionAllowed);
static_assert(kAuthorizationFlagExtendRights == platform::kAuthorizationFlagExtendRights);
static_assert(kAuthorizationFlagPreAuthorize == platform::kAuthorizationFlagPreAuthorize);
static_assert(kAuthorizationFlagDestroyRights == 8);
static_assert(errAuthorizationSuccess == platform::kAuthorizationSuccess);
static_assert(errAuthorizationInvalidRef == platform::kAuthorizationInvalidReference);
static_assert(errAuthorizationDenied == platform::kAuthorizationDenied);
static_assert(errAuthorizationCanceled == platform::kAuthorizationCanceled);
static_assert(errAuthorizationInteractionNotAllowed ==
              platform::kAuthorizationInteractionNotAllowed);
static_assert(errAuthorizationInternal == platform::kAuthorizationInternal);
static_assert(errAuthorizationToolExecuteFailure == platform::kAuthorizationToolExecuteFailure);
static_assert(std::string_view(kAuthorizationEnvironmentUsername) == "username");
static_assert(std::string_view(kAuthorizationEnvironmentPassword) == "password");
static_assert(std::string_view(kAuthorizationEnvironmentPrompt) == "prompt");
static_assert(std::string_view(kAuthorizationEnvironmentIcon) == "icon");

}  // namespace
}  // namespace quillmoor
