// Administrator rights: the system's authorization services.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// An authorization session; its contents are known to the back-end only.
struct AuthorizationOpaque;
using AuthorizationRef = AuthorizationOpaque*;

// A right that is requested, or an item of the environment in which it is requested, such as a user
// name.
struct AuthorizationItem {
    std::string name;
    std::optional<std::string_view> value;  // bytes, not owned; nil is none
    std::uint32_t flags = 0;
};

// nil is none.
using AuthorizationItemSet = std::optional<std::vector<AuthorizationItem>>;

using AuthorizationFlags = std::uint32_t;
inline constexpr AuthorizationFlags kAuthorizationFlagDefaults = 0;
inline constexpr AuthorizationFlags kAuthorizationFlagInteractionAllowed = 1;
inline constexpr AuthorizationFlags kAuthorizationFlagExtendRights = 2;
inline constexpr AuthorizationFlags kAuthorizationFlagPreAuthorize = 16;

inline constexpr char kAuthorizationRightAdmin[] = "system.privilege.admin";
inline constexpr char kAuthorizationEnvironmentUsername[] = "username";
inline constexpr char kAuthorizationEnvironmentPassword[] = "password";

using AuthorizationStatus = std::int32_t;
inline constexpr AuthorizationStatus kAuthorizationSuccess = 0;
inline constexpr AuthorizationStatus kAuthorizationInvalidReference = -60002;
inline constexpr AuthorizationStatus kAuthorizationDenied = -60005;    // the request was refused
inline constexpr AuthorizationStatus kAuthorizationCanceled = -60006;  // the user dismissed it
// The user could not be asked: no dialog can appear here, or none was allowed.
inline constexpr AuthorizationStatus kAuthorizationInteractionNotAllowed = -60007;
inline constexpr AuthorizationStatus kAuthorizationInternal = -60008;
inline constexpr AuthorizationStatus kAuthorizationToolExecuteFailure = -60031;

// The stream to a tool that runs as root. Releasing it closes nothing: its descriptors are closed
// once the tool has closed its own ends.
class AuthorizedToolStream {
  public:
    virtual ~AuthorizedToolStream() = default;

    // `fgetc`: waits for a byte of the tool's standard output. Returns 0 to 255, or -1 when the
    // tool has closed it.
    virtual int readCharacter() = 0;

    // Writes all of `bytes` to the tool's standard input, waiting while its pipe is full. Returns
    // false when the tool has closed it; no signal is raised.
    virtual bool write(std::string_view bytes) = 0;
};

// The five calls. Different references may be used on different threads; each reference is used by
// one thread at a time. Output parameters are unchanged after a failure.
class Authorization {
  public:
    virtual ~Authorization() = default;

    // `AuthorizationCreate`: makes a reference without rights. The user is not asked.
    virtual AuthorizationStatus create(const AuthorizationItemSet& rights,
                                       const AuthorizationItemSet& environment,
                                       AuthorizationFlags flags, AuthorizationRef& reference) = 0;

    // `AuthorizationCopyRights`: requests rights. Without interaction, the environment's user name
    // and password are tried. With interaction allowed the user may be asked, and the call waits
    // for the answer; where no dialog can appear it returns at once.
    virtual AuthorizationStatus copyRights(AuthorizationRef reference,
                                           const AuthorizationItemSet& rights,
                                           const AuthorizationItemSet& environment,
                                           AuthorizationFlags flags) = 0;

    // `AuthorizationFree`: ends the reference and releases its rights. Tools that were started with
    // it keep running.
    virtual AuthorizationStatus free(AuthorizationRef reference, AuthorizationFlags flags) = 0;

    // `AuthorizationCopyPrivilegedReference`: the reference that a parent passed to this process
    // when it started it with executeWithPrivileges. Fails where there is none.
    virtual AuthorizationStatus copyPrivilegedReference(AuthorizationFlags flags,
                                                        AuthorizationRef& reference) = 0;

    // `AuthorizationExecuteWithPrivileges`: starts `tool`, an absolute path, as root (on macOS with
    // this process's real user) and does not wait for it. Arguments arrive byte for byte. Its
    // standard input and output are `stream`; standard error and the working folder are this
    // process's. Where root or this process can no longer enter that folder, the tool has an empty
    // one instead, in which relative paths fail. Rights that a dialog granted and that the system
    // has lost are requested once more first, which waits for the user.
    virtual AuthorizationStatus executeWithPrivileges(
        AuthorizationRef reference, const std::string& tool, AuthorizationFlags options,
        const StringList& arguments, std::shared_ptr<AuthorizedToolStream>& stream) = 0;
};

}  // namespace quillmoor::platform
