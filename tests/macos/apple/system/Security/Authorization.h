// Declarations of the authorization services, for a system that lacks them.
#pragma once

#include <cstddef>
#include <cstdio>

#include "MacTypes.h"

#pragma GCC visibility push(default)
extern "C" {

typedef const struct AuthorizationOpaqueRef* AuthorizationRef;
typedef const char* AuthorizationString;
typedef UInt32 AuthorizationFlags;

typedef struct {
    AuthorizationString name;
    std::size_t valueLength;
    void* value;
    UInt32 flags;
} AuthorizationItem;

typedef struct {
    UInt32 count;
    AuthorizationItem* items;
} AuthorizationItemSet;

typedef AuthorizationItemSet AuthorizationRights;
typedef AuthorizationItemSet AuthorizationEnvironment;

enum : AuthorizationFlags {
    kAuthorizationFlagDefaults = 0,
    kAuthorizationFlagInteractionAllowed = 1 << 0,
    kAuthorizationFlagExtendRights = 1 << 1,
    kAuthorizationFlagPartialRights = 1 << 2,
    kAuthorizationFlagDestroyRights = 1 << 3,
    kAuthorizationFlagPreAuthorize = 1 << 4
};

enum : OSStatus {
    errAuthorizationSuccess = 0,
    errAuthorizationInvalidRef = -60002,
    errAuthorizationDenied = -60005,
    errAuthorizationCanceled = -60006,
    errAuthorizationInteractionNotAllowed = -60007,
    errAuthorizationInternal = -60008,
    errAuthorizationToolExecuteFailure = -60031
};

OSStatus AuthorizationCreate(const AuthorizationRights* rights,
                             const AuthorizationEnvironment* environment, AuthorizationFlags flags,
                             AuthorizationRef* authorization);
OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags);
OSStatus AuthorizationCopyRights(AuthorizationRef authorization, const AuthorizationRights* rights,
                                 const AuthorizationEnvironment* environment,
                                 AuthorizationFlags flags, AuthorizationRights** authorizedRights);
// Obsolete, as in the system's header: what names them does not compile.
[[deprecated]] OSStatus AuthorizationCopyPrivilegedReference(AuthorizationRef* authorization,
                                                             AuthorizationFlags flags);
[[deprecated]] OSStatus AuthorizationExecuteWithPrivileges(AuthorizationRef authorization,
                                                           const char* pathToTool,
                                                           AuthorizationFlags options,
                                                           char* const* arguments,
                                                           FILE** communicationsPipe);
}
#pragma GCC visibility pop
